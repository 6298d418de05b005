// The 32 bytes that begin every frame, and the limits of frames and messages.
//
// Threads: any. Owns or borrows: values only. Errors: `kiv_head_is_well_formed`.
#ifndef DEVICE_CORE_HEAD_H_
#define DEVICE_CORE_HEAD_H_

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_WIRE_VERSION 1u
#define KIV_HEAD_BYTES 32u
#define KIV_FCS_BYTES 4u
#define KIV_MIN_FRAME_BYTES (KIV_HEAD_BYTES + KIV_FCS_BYTES)
#define KIV_MAX_FRAME_BYTES 65536u
#define KIV_MAX_PAYLOAD_BYTES (KIV_MAX_FRAME_BYTES - KIV_MIN_FRAME_BYTES)
#define KIV_MAX_BODY_BYTES (64u * 1024u * 1024u)
#define KIV_FLAG_MORE_FOLLOWS 0x01u

typedef enum kiv_kind {
  KIV_HELLO = 1,
  KIV_REQUEST = 2,
  KIV_CNF = 3,
  KIV_IND = 4,
  KIV_SDT = 5,
  KIV_RAW = 6,
  KIV_KEEP_ALIVE = 7
} kiv_kind;

typedef struct kiv_head {
  uint8_t version;
  uint8_t kind;
  uint8_t flags;
  uint32_t id;
  uint16_t tag;
  uint16_t word16;
  uint32_t word32;
  uint32_t result;
  uint32_t sequence;
  uint32_t body_bytes;    // of the whole message
  uint32_t offset_bytes;  // of this frame's payload in the body
} kiv_head;

// A head of this version with all else zero.
kiv_head kiv_head_of(kiv_kind kind);
void kiv_head_write(const kiv_head* head, uint8_t out[KIV_HEAD_BYTES]);
kiv_head kiv_head_read(const uint8_t in[KIV_HEAD_BYTES]);
// Whether version, kind, length, offset and flags can be true of a frame with this payload.
bool kiv_head_is_well_formed(const kiv_head* head, uint32_t payload_bytes);
// Whether both are of one message, apart from offset, flags and sequence.
bool kiv_head_same_message(const kiv_head* first, const kiv_head* next);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_HEAD_H_
