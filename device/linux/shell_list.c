#include "device/linux/shell_list.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static const char kBlanks[] = " \t";
static const char kMeaningful[] = "|&;<>()$`\\\"'*?[]{}#~!\r\n";

static bool fail(kiv_shell_list* list, const char* path, const char* why) {
  (void)snprintf(list->problem, sizeof list->problem, "list of commands %s: %s", path, why);
  return false;
}

static bool read_all(kiv_shell_list* list, int file, const char* path) {
  struct stat status;
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return fail(list, path, "not a file");
  if (status.st_uid != geteuid() && status.st_uid != 0) {
    return fail(list, path, "belongs to another user");
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    return fail(list, path, "others may write to it");
  }
  if (status.st_size > KIV_SHELL_LIST_MAX_BYTES) return fail(list, path, "longer than 65536 bytes");
  list->text = malloc((size_t)status.st_size + 1);
  if (list->text == NULL) return fail(list, path, "out of memory");
  const ssize_t length = read(file, list->text, (size_t)status.st_size);
  if (length < 0) return fail(list, path, "cannot be read");
  list->end = list->text + length;
  *list->end = '\0';
  return true;
}

// Blanks take a comment's place. A '#' inside a word begins none: such a row is refused below.
static void blank_comment(char* row, const char* end) {
  for (char* at = row; at < end; ++at) {
    if (*at == '#' && (at == row || strchr(kBlanks, at[-1]) != NULL)) {
      memset(at, ' ', (size_t)(end - at));
      return;
    }
  }
}

// Whoever writes a row that allows nothing wanted something else.
static bool check_row(kiv_shell_list* list, const char* path, const char* row, unsigned number) {
  const char* const at = row + strcspn(row, kMeaningful);
  if (*at == '\0') return true;
  char why[96];
  (void)snprintf(why, sizeof why, "line %u allows nothing, since no line with %.*s runs", number,
                 *at == '\r' ? 17 : 1, *at == '\r' ? "a carriage return" : at);
  return fail(list, path, why);
}

// Cuts the text into rows, each ended by a zero.
static bool take_rows(kiv_shell_list* list, const char* path) {
  if (memchr(list->text, '\0', (size_t)(list->end - list->text)) != NULL) {
    return fail(list, path, "has a zero byte");
  }
  unsigned number = 1;
  for (char* row = list->text; row < list->end; ++row, ++number) {
    char* const end = row + strcspn(row, "\n");
    *end = '\0';
    if (end > row && end[-1] == '\r') end[-1] = '\0';
    blank_comment(row, row + strlen(row));
    if (!check_row(list, path, row, number)) return false;
    row = end;
  }
  return true;
}

bool kiv_shell_list_read(kiv_shell_list* list, const char* path) {
  memset(list, 0, sizeof *list);
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return fail(list, path, "cannot be opened");
  const bool ok = read_all(list, file, path);
  close(file);
  return ok && take_rows(list, path);
}

void kiv_shell_list_free(kiv_shell_list* list) {
  free(list->text);
  list->text = NULL;
  list->end = NULL;
}

// The text without the blanks around it.
static const char* trim(const char* text, size_t* length) {
  text += strspn(text, kBlanks);
  *length = strlen(text);
  while (*length > 0 && strchr(kBlanks, text[*length - 1]) != NULL) --*length;
  return text;
}

static bool row_allows(const char* row, size_t row_length, const char* line, size_t line_length) {
  if (row_length == 0 || line_length < row_length) return false;
  if (strncmp(row, line, row_length) != 0) return false;
  if (line_length == row_length) return true;
  const bool one_word = strcspn(row, kBlanks) >= row_length;
  return one_word && strchr(kBlanks, line[row_length]) != NULL;
}

bool kiv_shell_list_allows(const kiv_shell_list* list, const char* line) {
  size_t line_length = 0;
  line = trim(line, &line_length);
  if (line_length == 0 || strcspn(line, kMeaningful) < line_length) return false;
  for (const char* at = list->text; at != NULL && at < list->end; at += strlen(at) + 1) {
    size_t row_length = 0;
    const char* row = trim(at, &row_length);
    if (row_allows(row, row_length, line, line_length)) return true;
  }
  return false;
}

bool kiv_shell_split(char* line, char** words) {
  size_t count = 0;
  for (line += strspn(line, kBlanks); *line != '\0' && count < KIV_SHELL_MAX_WORDS;
       line += strspn(line, kBlanks)) {
    words[count++] = line;
    line += strcspn(line, kBlanks);
    if (*line != '\0') *line++ = '\0';
  }
  words[count] = NULL;
  return *line == '\0';
}
