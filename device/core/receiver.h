// Whole messages out of the bytes of one direction: deframing, the check of each head, sequence
// numbers, and the putting together of messages that came in several frames.
//
// Threads: none of its own; an object belongs to one thread. Its call-backs run inside `feed`.
// Owns or borrows: borrows the frame buffer; takes storage for a message of several frames from
// its owner and gives it back behind the delivery, or when the message is given up.
// Errors: nothing wrong is delivered; each wrong thing is counted.
#ifndef DEVICE_CORE_RECEIVER_H_
#define DEVICE_CORE_RECEIVER_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/frame.h"
#include "device/core/head.h"
#include "device/core/hello.h"

#ifdef __cplusplus
extern "C" {
#endif

// A message, valid during its delivery. `body` is null when the message is empty, and also when its
// owner had no storage for it: then `stored` is false.
typedef struct kiv_message {
  kiv_head head;
  const uint8_t* body;
  uint32_t body_bytes;
  bool stored;
} kiv_message;

typedef struct kiv_receiver_owner {
  void* context;
  // Room for a message of several frames; null when there is none.
  uint8_t* (*take_storage)(void* context, uint32_t body_bytes);
  void (*give_back_storage)(void* context, uint8_t* storage);
  void (*deliver)(void* context, const kiv_message* message);
} kiv_receiver_owner;

typedef struct kiv_receive_counts {
  uint32_t malformed;
  uint32_t lost;
  uint32_t repeated;
  uint32_t abandoned;
} kiv_receive_counts;

typedef struct kiv_receiver {
  kiv_deframer deframer;
  kiv_side from;
  kiv_receiver_owner owner;
  kiv_receive_counts counts;
  bool greeted;  // a hello was delivered; until then only a hello is looked at
  uint32_t expected_sequence;
  bool assembling;
  kiv_head first;  // of the message under way
  uint32_t assembled_bytes;
  uint8_t* storage;  // null when the owner had none
} kiv_receiver;

// `from` is the side whose bytes are fed. `frame_buffer` has KIV_MAX_FRAME_BYTES.
void kiv_receiver_init(kiv_receiver* receiver, kiv_side from, uint8_t* frame_buffer,
                       const kiv_receiver_owner* owner);
void kiv_receiver_feed(kiv_receiver* receiver, const uint8_t* bytes, uint32_t length_bytes);
// Gives up a message under way without counting it and waits for a hello again.
void kiv_receiver_reset(kiv_receiver* receiver);
// Starts all counts at 0, those of the deframer too.
void kiv_receiver_clear_counts(kiv_receiver* receiver);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_RECEIVER_H_
