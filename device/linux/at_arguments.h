// The values behind the '=' of an AT command: numbers and strings between commas, any of which may
// be left out.
//
// Threads: none. Owns or borrows: borrows the text. Errors: a value that is none is said so, and
// nothing more can be read.
#ifndef DEVICE_LINUX_AT_ARGUMENTS_H_
#define DEVICE_LINUX_AT_ARGUMENTS_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_at_arguments {
  const char* next;  // null behind the last
  bool failed;
} kiv_at_arguments;

kiv_at_arguments kiv_at_arguments_of(const char* text);
// The next value when it is a decimal number; `fallback` when it is left out.
uint32_t kiv_at_next_number(kiv_at_arguments* arguments, uint32_t fallback);
// The next value when it is a string in quotes, its \HH resolved; cut at nothing: one that does not
// fit into `room` with its end is a failure. Empty when it is left out.
void kiv_at_next_text(kiv_at_arguments* arguments, char* out, size_t room);
// Whether all was read and all was right.
bool kiv_at_arguments_end(const kiv_at_arguments* arguments);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_AT_ARGUMENTS_H_
