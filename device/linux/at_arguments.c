#include "device/linux/at_arguments.h"

kiv_at_arguments kiv_at_arguments_of(const char* text) {
  const kiv_at_arguments arguments = {text, false};
  return arguments;
}

// Behind a value: a comma and more, or the end.
static void finish(kiv_at_arguments* arguments, const char* at) {
  arguments->failed = arguments->failed || (*at != ',' && *at != '\0');
  arguments->next = *at == ',' ? at + 1 : NULL;
}

uint32_t kiv_at_next_number(kiv_at_arguments* arguments, uint32_t fallback) {
  const char* at = arguments->next;
  if (at == NULL || arguments->failed) return fallback;
  uint64_t value = 0;
  const char* first = at;
  for (; *at >= '0' && *at <= '9'; ++at) {
    value = value * 10 + (uint64_t)(*at - '0');
    if (value > UINT32_MAX) {
      arguments->failed = true;
      return fallback;
    }
  }
  finish(arguments, at);
  return at == first ? fallback : (uint32_t)value;
}

static int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// One character of a string; -1 when an escape is none.
static int take_character(const char** at) {
  const char c = *(*at)++;
  if (c != '\\') return (unsigned char)c;
  const int high = hex_digit((*at)[0]);
  const int low = high < 0 ? -1 : hex_digit((*at)[1]);
  if (low < 0) return -1;
  *at += 2;
  return high * 16 + low;
}

void kiv_at_next_text(kiv_at_arguments* arguments, char* out, size_t room) {
  const char* at = arguments->next;
  size_t used = 0;
  out[0] = '\0';
  if (at == NULL || arguments->failed) return;
  if (*at == '"') {
    ++at;
    while (*at != '"' && *at != '\0') {
      const int c = take_character(&at);
      if (c <= 0 || used + 1 >= room) {
        arguments->failed = true;
        return;
      }
      out[used++] = (char)c;
      out[used] = '\0';
    }
    if (*at != '"') {
      arguments->failed = true;
      return;
    }
    ++at;
  }
  finish(arguments, at);
}

bool kiv_at_arguments_end(const kiv_at_arguments* arguments) {
  return !arguments->failed && arguments->next == NULL;
}
