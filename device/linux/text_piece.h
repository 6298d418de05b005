// The pieces in which a host sends a line: 400 characters each, the last one with what is left. So
// a shorter piece ends its line, and one of 400 characters may be continued.
//
// Threads: any; no state. Errors: none.
#ifndef DEVICE_LINUX_TEXT_PIECE_H_
#define DEVICE_LINUX_TEXT_PIECE_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_PIECE_CHARS 400u

// Whether the rest of the line may come in another piece. Characters are counted in UTF-8 both ways
// that hosts count, and in bytes for a line that is not UTF-8. A line feed ends any line.
bool kiv_is_full_piece(const uint8_t* text, uint32_t text_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TEXT_PIECE_H_
