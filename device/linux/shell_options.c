#include <stdlib.h>
#include <string.h>

#include "device/linux/shell_channel.h"

static const uint32_t kMaxSeconds = 86400;
static const uint32_t kMaxOutputBytes = 1073741824;
static const uint32_t kMaxProcesses = 10000;

void kiv_shell_options_init(kiv_shell_options* options) {
  memset(options, 0, sizeof *options);
  options->program = "/bin/sh";
  options->limits.seconds = 60;
  options->limits.output_bytes = 4194304;
  options->limits.processes = 64;
}

bool kiv_shell_read_mode(kiv_shell_options* options, const char* text) {
  static const char kList[] = "list:";
  const size_t list_length = sizeof kList - 1;
  if (strcmp(text, "off") == 0) {
    options->mode = KIV_SHELL_OFF;
  } else if (strcmp(text, "full") == 0) {
    options->mode = KIV_SHELL_FULL;
  } else if (strncmp(text, kList, list_length) == 0 && text[list_length] != '\0') {
    options->mode = KIV_SHELL_LIST;
    options->list_path = text + list_length;
  } else {
    return false;
  }
  return true;
}

// Reads a number from 1 to `most` and what must stand behind it.
static bool read_number(const char** text, uint32_t most, char behind, uint32_t* number) {
  char* end = NULL;
  const char* at = *text;
  if (*at < '0' || *at > '9') return false;
  const unsigned long long value = strtoull(at, &end, 10);
  if (value < 1 || value > most || *end != behind) return false;
  *number = (uint32_t)value;
  *text = behind == '\0' ? end : end + 1;
  return true;
}

bool kiv_shell_read_limits(kiv_shell_limits* limits, const char* text) {
  kiv_shell_limits read;
  if (!read_number(&text, kMaxSeconds, ',', &read.seconds) ||
      !read_number(&text, kMaxOutputBytes, ',', &read.output_bytes) ||
      !read_number(&text, kMaxProcesses, '\0', &read.processes)) {
    return false;
  }
  *limits = read;
  return true;
}
