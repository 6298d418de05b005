#include "device/linux/token.h"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

// A file of more is not a token's, whatever its first line says.
enum { kMaxFileBytes = 4096 };

static const uint8_t kGreeting[8] = {'K', 'I', 'V', '-', 'T', 'O', 'K', 'N'};

typedef struct place_for_problem {
  char* text;
  size_t capacity_bytes;
  const char* path;
} place_for_problem;

static bool refuse(const place_for_problem* problem, const char* why) {
  (void)snprintf(problem->text, problem->capacity_bytes, "the token file %s %s", problem->path,
                 why);
  return false;
}

static bool refuse_for_error(const place_for_problem* problem, int error) {
  errno = error;  // %m is its text
  (void)snprintf(problem->text, problem->capacity_bytes, "the token file %s cannot be read: %m",
                 problem->path);
  return false;
}

static bool is_private(int file, const place_for_problem* problem) {
  struct stat status;
  if (fstat(file, &status) != 0) return refuse_for_error(problem, errno);
  if (!S_ISREG(status.st_mode)) return refuse(problem, "is not a regular file");
  if (status.st_uid != geteuid()) return refuse(problem, "belongs to another user");
  const mode_t mode = status.st_mode & 07777;
  if (mode != 0600 && mode != 0400) {
    return refuse(problem, "must have mode 0600 or 0400 (chmod 0600 it)");
  }
  return true;
}

static bool take_line(kiv_token* token, const char* text, size_t length_bytes,
                      const place_for_problem* problem) {
  if (length_bytes > kMaxFileBytes) return refuse(problem, "is longer than 4096 bytes");
  const char* end = memchr(text, '\n', length_bytes);
  size_t line_bytes = end == NULL ? length_bytes : (size_t)(end - text);
  if (end != NULL && line_bytes > 0 && text[line_bytes - 1] == '\r') --line_bytes;
  if (line_bytes < KIV_TOKEN_MIN_BYTES || line_bytes > KIV_TOKEN_MAX_BYTES) {
    return refuse(problem, "must have a first line of 16 to 64 characters");
  }
  for (size_t i = 0; i < line_bytes; ++i) {
    if (text[i] < '!' || text[i] >= '~') {
      return refuse(problem, "has a character other than visible ASCII without '~'");
    }
  }
  memcpy(token->bytes, text, line_bytes);
  token->length_bytes = (uint8_t)line_bytes;
  return true;
}

static bool read_file(kiv_token* token, int file, const place_for_problem* problem) {
  char text[kMaxFileBytes + 1];
  size_t used = 0;
  while (used < sizeof text) {
    const ssize_t n = read(file, text + used, sizeof text - used);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return refuse_for_error(problem, errno);
    if (n == 0) break;
    used += (size_t)n;
  }
  const bool good = take_line(token, text, used, problem);
  explicit_bzero(text, sizeof text);
  return good;
}

bool kiv_token_read(kiv_token* token, const char* path, char* problem, size_t problem_bytes) {
  const place_for_problem place = {problem, problem_bytes, path};
  memset(token, 0, sizeof *token);
  // Without blocking, so that a FIFO under that name cannot hold the agent.
  const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) return refuse_for_error(&place, errno);
  const bool good = is_private(file, &place) && read_file(token, file, &place);
  close(file);
  return good;
}

uint32_t kiv_token_wanted_bytes(const kiv_token_check* check) {
  if (check->shown_bytes < KIV_TOKEN_HEAD_BYTES) return KIV_TOKEN_HEAD_BYTES - check->shown_bytes;
  return KIV_TOKEN_HEAD_BYTES + check->shown[sizeof kGreeting] - check->shown_bytes;
}

// Goes over the longest token always, so that neither place nor length shows in the time.
static bool is_equal(const kiv_token* token, const uint8_t* shown, uint8_t shown_bytes) {
  uint8_t padded[KIV_TOKEN_MAX_BYTES] = {0};
  memcpy(padded, shown, shown_bytes);
  uint8_t difference = token->length_bytes ^ shown_bytes;
  for (size_t i = 0; i < sizeof padded; ++i) {
    difference |= (uint8_t)(padded[i] ^ token->bytes[i]);
  }
  return difference == 0;
}

kiv_token_verdict kiv_token_take(kiv_token_check* check, const kiv_token* token,
                                 const uint8_t* bytes, uint32_t length_bytes) {
  if (length_bytes > kiv_token_wanted_bytes(check)) return KIV_TOKEN_WRONG;
  memcpy(check->shown + check->shown_bytes, bytes, length_bytes);
  check->shown_bytes += length_bytes;
  const uint32_t greeted =
      check->shown_bytes < sizeof kGreeting ? check->shown_bytes : (uint32_t)sizeof kGreeting;
  if (memcmp(check->shown, kGreeting, greeted) != 0) return KIV_TOKEN_WRONG;
  if (check->shown_bytes < KIV_TOKEN_HEAD_BYTES) return KIV_TOKEN_UNDECIDED;
  const uint8_t token_bytes = check->shown[sizeof kGreeting];
  if (token_bytes < KIV_TOKEN_MIN_BYTES || token_bytes > KIV_TOKEN_MAX_BYTES) {
    return KIV_TOKEN_WRONG;
  }
  if (check->shown_bytes < KIV_TOKEN_HEAD_BYTES + token_bytes) return KIV_TOKEN_UNDECIDED;
  return is_equal(token, check->shown + KIV_TOKEN_HEAD_BYTES, token_bytes) ? KIV_TOKEN_RIGHT
                                                                           : KIV_TOKEN_WRONG;
}
