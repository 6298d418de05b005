// The conversation of one agent with one host: greeting, probes, requests through a table of
// commands (also behind a routing head), line tests, and what is for a port.
//
// Threads: none of its own; one thread feeds it and hears its call-backs.
// Owns or borrows: borrows its set-up, its buffers and everything those name, for its whole life.
// Errors: go to the host as result codes; what the program must act on goes through the owner.
#ifndef DEVICE_CORE_AGENT_H_
#define DEVICE_CORE_AGENT_H_

#include <stdbool.h>
#include <stdint.h>

#include "device/core/bytes.h"
#include "device/core/receiver.h"
#include "device/core/result_codes.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_ROUTED_ID 0x7000u
#define KIV_ROUTED_HEAD_BYTES 36u

// Runs one command: writes the body of its confirmation, returns a result code. What was written is
// sent only with result 0. The request has a length that its row allows.
typedef uint32_t (*kiv_command_fn)(void* context, const uint8_t* request, uint32_t request_bytes,
                                   kiv_writer* reply);

typedef struct kiv_command {
  uint32_t id;
  uint32_t min_request_bytes;
  uint32_t max_request_bytes;
  kiv_command_fn run;
} kiv_command;

// Takes what is for a port (AT, shell, HCI, test cases): a request, an SDT frame or a raw text for
// the console. A request is confirmed with the result and no body; the others are not confirmed
// unless the result is not 0.
typedef uint32_t (*kiv_take_port_fn)(void* context, const kiv_head* head, const uint8_t* body,
                                     uint32_t body_bytes);

// What an agent says of itself and answers with. Tables and texts must outlive it.
typedef struct kiv_agent_setup {
  kiv_hello self;  // its token is the one asked of the host; none when empty
  const kiv_command* commands;
  uint32_t command_count;
  void* command_context;
  uint8_t* reply_buffer;  // room for the largest confirmation body and a routing head
  uint32_t reply_bytes;
  kiv_take_port_fn take_port;  // null: no port is turned on
  void* port_context;
} kiv_agent_setup;

// What an agent needs of the program around it.
typedef struct kiv_agent_owner {
  void* context;
  uint8_t* (*take_storage)(void* context, uint32_t body_bytes);
  void (*give_back_storage)(void* context, uint8_t* storage);
  // A greeting came (`accepted` says whether the session stands now): forget everything queued and
  // everything that the session before had started.
  void (*session_replaced)(void* context, bool accepted);
  // Whether an answer may be queued that a host may leave unread.
  bool (*has_room)(void* context);
  // Queues a message, copying it; sequence, flags and offset are the queue's business.
  void (*send)(void* context, const kiv_head* head, const uint8_t* body, uint32_t body_bytes);
  // Indications dropped in this session.
  uint32_t (*dropped_indications)(void* context);
} kiv_agent_owner;

typedef struct kiv_agent {
  const kiv_agent_setup* setup;
  kiv_agent_owner owner;
  kiv_receiver receiver;
} kiv_agent;

// `frame_buffer` has KIV_MAX_FRAME_BYTES.
void kiv_agent_init(kiv_agent* agent, const kiv_agent_setup* setup, const kiv_agent_owner* owner,
                    uint8_t* frame_buffer);
// Bytes from the host, in any pieces.
void kiv_agent_feed(kiv_agent* agent, const uint8_t* bytes, uint32_t length_bytes);
// Gives back what a message under way holds. The agent may be thrown away afterwards.
void kiv_agent_end(kiv_agent* agent);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_CORE_AGENT_H_
