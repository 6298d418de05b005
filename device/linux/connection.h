// One host at the other end of a pair of descriptors: what it sends is read and answered, what it
// is owed waits in a queue and is written as it takes it. Nothing here ever blocks.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: owns its buffers and, when told so, its descriptors; borrows the agent's set-up.
// Errors: a connection that cannot go on is `over`; the reason, if a person should know it, goes to
// standard error.
#ifndef DEVICE_LINUX_CONNECTION_H_
#define DEVICE_LINUX_CONNECTION_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/agent.h"
#include "device/linux/out_queue.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_connection kiv_connection;

// The session of this connection begins (`accepted`) or is refused or over.
typedef void (*kiv_session_fn)(void* context, kiv_connection* connection, bool accepted);

// A confirmation is on its way out: false when it must not be sent now; else head and length may
// have been changed.
typedef bool (*kiv_confirmation_fn)(void* context, kiv_head* head, const uint8_t* body,
                                    uint32_t* body_bytes);

// One peer: its descriptors, what was read of it, what waits to be written to it.
struct kiv_connection {
  int in;
  int out;
  bool owns_descriptors;
  bool is_socket;    // can be asked not to block, call by call
  bool input_ended;  // what is queued is still written, nothing more is read
  bool over;
  bool in_session;
  int64_t greet_until_ms;  // a connection without a session is finished then; 0: it has time
  int64_t flush_until_ms;  // with input_ended: when to give up writing
  kiv_agent agent;
  kiv_queue queue;
  uint8_t* frame_buffer;
  kiv_session_fn on_session;
  kiv_confirmation_fn on_confirmation;  // null: all are sent as they are
  void* context;
};

// Null when memory is out; the descriptors are then still the caller's.
kiv_connection* kiv_connection_open(int in, int out, bool owns_descriptors,
                                    const kiv_agent_setup* setup, kiv_session_fn on_session,
                                    void* context);
void kiv_connection_close(kiv_connection* connection);

// Which poll events are wanted of `in` and of `out`; 0 for none.
short kiv_connection_wants_in(const kiv_connection* connection);
short kiv_connection_wants_out(const kiv_connection* connection);
// To be called when poll says so (an error or hang-up counts as readable and writable).
void kiv_connection_read(kiv_connection* connection, int64_t now_ms);
void kiv_connection_write(kiv_connection* connection);
// Whether its input ended and all is written, or the time for that is over.
bool kiv_connection_is_finished(const kiv_connection* connection, int64_t now_ms);
// Sends a message past `on_confirmation`.
void kiv_connection_send(kiv_connection* connection, const kiv_head* head, const uint8_t* body,
                         uint32_t body_bytes);
void kiv_connection_indicate(kiv_connection* connection, uint32_t id, const void* body,
                             uint32_t body_bytes);

// Sends an indication that is never dropped; `result` is 0, or why a text was refused.
void kiv_connection_answer(kiv_connection* connection, uint32_t id, uint32_t result,
                           const uint8_t* body, uint32_t body_bytes);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_CONNECTION_H_
