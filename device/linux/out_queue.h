// What waits to be written to one host: probe answers first, then confirmations and indications in
// the order in which they arose, cut into frames as the host takes them.
//
// Confirmations, texts and the answers of ports are kept whatever happens. Of the indications only
// the newest KIV_MAX_INDICATIONS wait; older ones are dropped and counted. So a host that does not
// read costs bounded memory as long as it does not go on asking, and `kiv_queue_is_overfull` says
// when it did.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: owns copies of everything queued.
// Errors: pushing says false when memory is out; nothing is queued then.
#ifndef DEVICE_LINUX_OUT_QUEUE_H_
#define DEVICE_LINUX_OUT_QUEUE_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "device/core/frame.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_MAX_INDICATIONS 256u
#define KIV_MAX_PROBE_ANSWERS 64u
#define KIV_MAX_KEPT_BYTES (128u * 1024u * 1024u)
#define KIV_MAX_ANSWER_BYTES (1024u * 1024u)
#define KIV_MAX_KEPT_BEYOND 100000u

typedef struct kiv_queued kiv_queued;

typedef struct kiv_list {
  kiv_queued* first;
  kiv_queued* last;
  uint32_t count;
} kiv_list;

typedef struct kiv_queue {
  kiv_list urgent;  // greeting and probe answers
  kiv_list kept;
  kiv_list indications;
  kiv_queued* under_way;  // some of its frames are written, not all
  uint32_t under_way_offset;
  uint64_t next_stamp;
  uint64_t kept_bytes;
  uint32_t kept_beyond;  // kept messages that were queued when there was no room
  uint32_t next_sequence;
  uint32_t dropped_indications;
  uint8_t* line;  // encoded frames, of which line_written bytes are gone
  uint32_t line_used;
  uint32_t line_written;
  uint32_t cut_bytes;    // of a message in one frame
  uint32_t batch_bytes;  // encoded at a time
} kiv_queue;

// False when memory is out.
bool kiv_queue_init(kiv_queue* queue);
void kiv_queue_destroy(kiv_queue* queue);
// The host is behind a serial line of so many bits a second: frames are cut so that one takes half
// a second (docs/wire-format.md 3), and a probe answer waits for one frame at most.
void kiv_queue_slow_down(kiv_queue* queue, uint32_t baud);
// A new session: forgets all but what is encoded already, and numbers from 0 again.
void kiv_queue_clear(kiv_queue* queue);
bool kiv_queue_push(kiv_queue* queue, const kiv_head* head, const uint8_t* body,
                    uint32_t body_bytes);
// The same for an indication that must not be dropped: the answer of a port.
bool kiv_queue_push_answer(kiv_queue* queue, const kiv_head* head, const uint8_t* body,
                           uint32_t body_bytes);
// Whether a port may be read for more answers. Far below what may be kept, so that a port that
// talks without end costs little memory.
bool kiv_queue_has_room_for_answers(const kiv_queue* queue);
// Whether more may be kept for the host: at most KIV_MAX_KEPT_BYTES wait.
bool kiv_queue_has_room(const kiv_queue* queue);
// The host asked on and on without reading: no promise can be kept to it any more.
bool kiv_queue_is_overfull(const kiv_queue* queue);
bool kiv_queue_is_empty(const kiv_queue* queue);
// The next bytes to write; null when there are none. Valid until the next call with this queue.
const uint8_t* kiv_queue_bytes(kiv_queue* queue, size_t* length_bytes);
void kiv_queue_wrote(kiv_queue* queue, size_t length_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_OUT_QUEUE_H_
