// One text channel of the agent: what hosts send for a port (AT, shell, HCI, test cases) goes in by
// `take`, what the port says goes out by `kiv_channel_out`. A channel is its structure, whose first
// member is a `kiv_channel`, and its table of calls; `channel_set.h` holds those that the agent
// has.
//
// A channel never blocks and never reads its port while the host has no room: answers are never
// dropped, so they may only be made as fast as the host reads.
//
// Threads: none of its own; all calls come from the agent's thread.
// Owns or borrows: a channel owns its descriptors and children; it borrows nothing after a call.
// Errors: result codes to the host, see `take`.
#ifndef DEVICE_LINUX_CHANNEL_H_
#define DEVICE_LINUX_CHANNEL_H_

#include <poll.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_CHANNEL_MAX_DELAY_MS 60000u
// The longest text of one request; hosts cut lines into pieces of 400 characters.
#define KIV_CHANNEL_MAX_TEXT_BYTES 4096u
// What may wait for its delay or its turn; a host that sends more is told 709.
#define KIV_CHANNEL_MAX_WAITING_BYTES 65536u
#define KIV_CHANNEL_MAX_WAITING_TEXTS 1024u

// The way to the host in session. Without a session answers are thrown away.
typedef struct kiv_channel_out {
  void* context;
  // Queues an indication that is never dropped; copies the text.
  void (*answer)(void* context, uint32_t id, const uint8_t* text, uint32_t text_bytes);
  // The same for a text that was taken and turned out to be none, with the reason. A shell's is the
  // answer that ends the line.
  void (*refuse)(void* context, uint32_t id, uint32_t result, const uint8_t* text,
                 uint32_t text_bytes);
  // Whether the host has read enough of what it was sent. Each time it has, the channel's `watch`
  // is asked anew.
  bool (*has_room)(void* context);
} kiv_channel_out;

typedef struct kiv_channel kiv_channel;

typedef struct kiv_channel_calls {
  // Takes what a host sent. AT and shell: the text alone, its length checked, at most
  // KIV_CHANNEL_MAX_TEXT_BYTES; HCI: the body of the SDT frame; test case: the request's body.
  // `answer_id` is the id for the answers. `delay_ms` is what the host wants to be waited before
  // the text goes on. Returns what the request is confirmed with; a text with another result than 0
  // has done nothing. An answer made in here would overtake the confirmation, so it is for `serve`.
  uint32_t (*take)(kiv_channel* self, uint32_t answer_id, const uint8_t* body, uint32_t body_bytes,
                   uint32_t delay_ms);
  // What to poll for, at most `max` entries; returns their number.
  int (*watch)(kiv_channel* self, struct pollfd* entries, int max);
  // After each poll, with the same entries; also when only a time or a new text is the reason.
  void (*serve)(kiv_channel* self, const struct pollfd* entries, int64_t now_ms);
  // When `serve` must be called by time, on the clock of kiv_board_now_ms; -1 when it need not.
  int64_t (*next_due_ms)(const kiv_channel* self);
  // The host's session is over: forgets its texts and ends what it had started. The port itself
  // stays open.
  void (*end_session)(kiv_channel* self);
  // Ends everything and frees the channel.
  void (*close)(kiv_channel* self);
} kiv_channel_calls;

// The first member of every channel.
struct kiv_channel {
  const kiv_channel_calls* calls;
  kiv_channel_out out;
};

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_CHANNEL_H_
