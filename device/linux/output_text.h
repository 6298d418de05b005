// Output of a program on its way into answers: a UTF-8 character is never cut in two, zero bytes
// are left out (a host takes a text up to its first zero byte), all else passes as it is.
//
// Threads: none of its own. Owns or borrows: owns the few bytes it holds back. Errors: none.
#ifndef DEVICE_LINUX_OUTPUT_TEXT_H_
#define DEVICE_LINUX_OUTPUT_TEXT_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_OUTPUT_MAX_HELD_BYTES 3u

// All zero: nothing is held back.
typedef struct kiv_output_text {
  uint8_t held[KIV_OUTPUT_MAX_HELD_BYTES];  // the beginning of a character
  uint32_t held_bytes;
} kiv_output_text;

void kiv_output_reset(kiv_output_text* output);
// Writes what may go out now; `text` has room for KIV_OUTPUT_MAX_HELD_BYTES more than come in.
// Returns its length.
uint32_t kiv_output_add(kiv_output_text* output, const uint8_t* bytes, uint32_t length_bytes,
                        uint8_t* text);
// Nothing follows: writes what was held back.
uint32_t kiv_output_end(kiv_output_text* output, uint8_t text[KIV_OUTPUT_MAX_HELD_BYTES]);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_OUTPUT_TEXT_H_
