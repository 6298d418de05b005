// Frames on the line: one out of a head and a payload, and back out of bytes in any pieces.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: the deframer borrows its buffer for as long as it is fed.
// Errors: what is no frame is dropped and counted, never given on.
#ifndef DEVICE_CORE_FRAME_H_
#define DEVICE_CORE_FRAME_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/head.h"

#ifdef __cplusplus
extern "C" {
#endif

// Room for any frame on the line: every byte escaped, and two flags.
#define KIV_MAX_LINE_BYTES (2u * KIV_MAX_FRAME_BYTES + 2u)

// Returns the number of bytes written, 0 when they do not fit or the payload is too long. With
// KIV_MAX_LINE_BYTES of room every payload of up to KIV_MAX_PAYLOAD_BYTES fits.
uint32_t kiv_frame_encode(const kiv_head* head, const uint8_t* payload, uint32_t payload_bytes,
                          uint8_t* out, uint32_t capacity_bytes);

// Called for each frame whose check sequence is right: its content without the check sequence, at
// least KIV_HEAD_BYTES, valid during the call.
typedef void (*kiv_frame_fn)(void* context, const uint8_t* content, uint32_t content_bytes);

typedef struct kiv_deframer {
  uint8_t* buffer;  // KIV_MAX_FRAME_BYTES
  uint32_t used_bytes;
  bool in_step;   // a flag has been seen
  bool escaped;   // the last byte was an escape
  bool overlong;  // the candidate is over the limit: dropped up to its flag
  uint32_t damaged;
  uint32_t stray;
  kiv_frame_fn on_frame;
  void* context;
} kiv_deframer;

void kiv_deframer_init(kiv_deframer* deframer, uint8_t* buffer, kiv_frame_fn on_frame,
                       void* context);
void kiv_deframer_feed(kiv_deframer* deframer, const uint8_t* bytes, uint32_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_FRAME_H_
