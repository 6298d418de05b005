#include "device/linux/notice.h"

#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

// At most PIPE_BUF with the name and the line's end, so that a pipe takes a line whole or not at
// all.
enum { kTextBytes = 4000 };

static kiv_notice_level level_now = KIV_NOTICE_NOTICE;

void kiv_notice_set_level(kiv_notice_level level) { level_now = level; }

kiv_notice_level kiv_notice_get_level(void) { return level_now; }

void kiv_notice(kiv_notice_level level, const char* format, ...) {
  if (level > level_now) return;
  char line[kTextBytes + 16] = "kivagent: ";
  const size_t head_bytes = strlen(line);
  va_list arguments;
  va_start(arguments, format);
  // With several files in one run clang-tidy 14 loses the line above.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  (void)vsnprintf(line + head_bytes, kTextBytes, format, arguments);
  va_end(arguments);
  size_t length_bytes = strlen(line);
  line[length_bytes++] = '\n';
  struct pollfd ready = {STDERR_FILENO, POLLOUT, 0};
  if (poll(&ready, 1, 0) <= 0) return;
  // What cannot be told can be told to nobody.
  const ssize_t written = write(STDERR_FILENO, line, length_bytes);
  (void)written;
}
