#include "device/core/receiver.h"

#include <stddef.h>
#include <string.h>

// Kinds that travel from each side, as bits by kind number.
static uint32_t kinds_from(kiv_side side) {
  const uint32_t both = 1u << KIV_HELLO | 1u << KIV_SDT | 1u << KIV_RAW | 1u << KIV_KEEP_ALIVE;
  return both | (side == KIV_SIDE_HOST ? 1u << KIV_REQUEST : 1u << KIV_CNF | 1u << KIV_IND);
}

static void drop_assembly(kiv_receiver* receiver) {
  if (receiver->storage != NULL) {
    receiver->owner.give_back_storage(receiver->owner.context, receiver->storage);
  }
  receiver->storage = NULL;
  receiver->assembling = false;
  receiver->assembled_bytes = 0;
}

static void abandon(kiv_receiver* receiver) {
  if (!receiver->assembling) return;
  ++receiver->counts.abandoned;
  drop_assembly(receiver);
}

static void deliver(kiv_receiver* receiver, const kiv_head* head, const uint8_t* body,
                    bool stored) {
  const kiv_message message = {*head, head->body_bytes == 0 ? NULL : body, head->body_bytes,
                               stored};
  receiver->owner.deliver(receiver->owner.context, &message);
}

// Says whether the frame is new; counts what is missing before it.
static bool accept_sequence(kiv_receiver* receiver, uint32_t sequence) {
  const uint32_t ahead = sequence - receiver->expected_sequence;
  if (ahead >= 0x80000000u) {
    ++receiver->counts.repeated;
    return false;
  }
  if (ahead > 0) {
    receiver->counts.lost += ahead;
    abandon(receiver);
  }
  receiver->expected_sequence = sequence + 1;
  return true;
}

static void take_hello(kiv_receiver* receiver, const kiv_head* head, const uint8_t* payload) {
  kiv_hello hello;
  if (!kiv_hello_read(&hello, receiver->from, payload, head->body_bytes)) {
    ++receiver->counts.malformed;
    return;
  }
  abandon(receiver);
  receiver->greeted = true;
  receiver->expected_sequence = 1;
  deliver(receiver, head, payload, true);
}

static void begin_assembly(kiv_receiver* receiver, const kiv_head* head) {
  receiver->assembling = true;
  receiver->first = *head;
  receiver->assembled_bytes = 0;
  receiver->storage = receiver->owner.take_storage(receiver->owner.context, head->body_bytes);
}

static void take_part(kiv_receiver* receiver, const kiv_head* head, const uint8_t* payload,
                      uint32_t payload_bytes) {
  const bool more = (head->flags & KIV_FLAG_MORE_FOLLOWS) != 0;
  const bool continues = receiver->assembling && kiv_head_same_message(&receiver->first, head) &&
                         head->offset_bytes == receiver->assembled_bytes;
  if (!continues) abandon(receiver);
  if (!continues && head->offset_bytes != 0) {
    ++receiver->counts.malformed;
    return;
  }
  if (!continues && !more) {
    deliver(receiver, head, payload, true);
    return;
  }
  if (!continues) begin_assembly(receiver, head);
  if (receiver->storage != NULL) {
    memcpy(receiver->storage + receiver->assembled_bytes, payload, payload_bytes);
  }
  receiver->assembled_bytes += payload_bytes;
  if (more) return;
  const kiv_head first = receiver->first;
  deliver(receiver, &first, receiver->storage, receiver->storage != NULL);
  drop_assembly(receiver);
}

static void on_frame(void* context, const uint8_t* content, uint32_t content_bytes) {
  kiv_receiver* receiver = context;
  const kiv_head head = kiv_head_read(content);
  const uint8_t* payload = content + KIV_HEAD_BYTES;
  const uint32_t payload_bytes = content_bytes - KIV_HEAD_BYTES;
  const bool well_formed = kiv_head_is_well_formed(&head, payload_bytes) &&
                           (kinds_from(receiver->from) >> head.kind & 1u) != 0;
  if (well_formed && head.kind == KIV_HELLO) {
    take_hello(receiver, &head, payload);
    return;
  }
  if (!well_formed) {
    ++receiver->counts.malformed;
    const bool counts_in_sequence =
        receiver->greeted && head.version == KIV_WIRE_VERSION && head.kind != KIV_HELLO;
    if (counts_in_sequence && accept_sequence(receiver, head.sequence)) abandon(receiver);
    return;
  }
  if (!receiver->greeted || !accept_sequence(receiver, head.sequence)) return;
  if (head.kind == KIV_KEEP_ALIVE) {
    deliver(receiver, &head, payload, true);
  } else {
    take_part(receiver, &head, payload, payload_bytes);
  }
}

void kiv_receiver_init(kiv_receiver* receiver, kiv_side from, uint8_t* frame_buffer,
                       const kiv_receiver_owner* owner) {
  memset(receiver, 0, sizeof *receiver);
  receiver->from = from;
  receiver->owner = *owner;
  kiv_deframer_init(&receiver->deframer, frame_buffer, on_frame, receiver);
}

void kiv_receiver_feed(kiv_receiver* receiver, const uint8_t* bytes, uint32_t length_bytes) {
  kiv_deframer_feed(&receiver->deframer, bytes, length_bytes);
}

void kiv_receiver_reset(kiv_receiver* receiver) {
  drop_assembly(receiver);
  receiver->greeted = false;
}

void kiv_receiver_clear_counts(kiv_receiver* receiver) {
  memset(&receiver->counts, 0, sizeof receiver->counts);
  receiver->deframer.damaged = 0;
  receiver->deframer.stray = 0;
}
