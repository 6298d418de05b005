// The text channels that the agent has: finds the one that a message is for, checks what all have
// in common, and takes part in the poll loop for them.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: owns the channels added to it.
// Errors: result codes to the host.
#ifndef DEVICE_LINUX_CHANNEL_SET_H_
#define DEVICE_LINUX_CHANNEL_SET_H_

#include "device/core/head.h"
#include "device/linux/channel.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum kiv_port {
  KIV_PORT_TEST_CASE,
  KIV_PORT_AT,
  KIV_PORT_SHELL,
  KIV_PORT_HCI,
  KIV_PORTS
} kiv_port;

#define KIV_CHANNEL_POLL_ENTRIES 4
#define KIV_CHANNEL_SET_POLL_ENTRIES (KIV_CHANNEL_POLL_ENTRIES * KIV_PORTS)

// All zero but the variant: no channel.
typedef struct kiv_channel_set {
  uint16_t variant;
  kiv_channel* channels[KIV_PORTS];  // null: not turned on
  int watched[KIV_PORTS];            // entries of each in the last watch
} kiv_channel_set;

// Adds a channel whose calls are set; null adds none.
void kiv_channel_set_add(kiv_channel_set* set, kiv_port port, kiv_channel* channel,
                         const kiv_channel_out* out);
// The id under which a port answers.
uint32_t kiv_channel_set_answer_id(const kiv_channel_set* set, kiv_port port);
// What the greeting says of them.
uint32_t kiv_channel_set_abilities(const kiv_channel_set* set);
// A request, SDT frame or raw text for a port; the result is what a request is confirmed with. A
// `kiv_take_port_fn`: the context is the set.
uint32_t kiv_channel_set_take(void* context, const kiv_head* head, const uint8_t* body,
                              uint32_t body_bytes);
// At most KIV_CHANNEL_SET_POLL_ENTRIES; returns their number.
int kiv_channel_set_watch(kiv_channel_set* set, struct pollfd* entries);
void kiv_channel_set_serve(kiv_channel_set* set, const struct pollfd* entries, int64_t now_ms);
int64_t kiv_channel_set_next_due_ms(const kiv_channel_set* set);
void kiv_channel_set_end_session(kiv_channel_set* set);
void kiv_channel_set_close(kiv_channel_set* set);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_CHANNEL_SET_H_
