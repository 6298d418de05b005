#include "device/core/agent.h"

#include <stddef.h>
#include <string.h>

enum { kProtocolVersion = 1, kVariantF9 = 249, kCountsBytes = 20 };
enum { kConsoleText = 0, kLineTest = 1 };

// Ports that hosts know by fixed ids. One that is not turned on says so rather than call its id
// unknown, so that a user learns what to turn on.
static bool is_port(uint32_t id, uint16_t variant) {
  const bool renumbered = variant == kVariantF9;
  const uint32_t at = renumbered ? 0x705u : 0x500Du;
  const uint32_t shell = renumbered ? 0x805u : 0x500Eu;
  return id == at || id == shell || id == 0x7E0Cu || id == 0x500Cu;
}

static void send(kiv_agent* agent, const kiv_head* head, const uint8_t* body, uint32_t body_bytes) {
  agent->owner.send(agent->owner.context, head, body, body_bytes);
}

// The head of the confirmation of `request`.
static kiv_head confirmation_of(const kiv_head* request, uint32_t result) {
  kiv_head head = kiv_head_of(KIV_CNF);
  head.id = request->id;
  head.tag = request->tag;
  head.word16 = request->word16;
  head.word32 = request->word32;
  head.result = result;
  return head;
}

static void confirm(kiv_agent* agent, const kiv_head* request, uint32_t result, const uint8_t* body,
                    uint32_t body_bytes) {
  const kiv_head head = confirmation_of(request, result);
  send(agent, &head, body, body_bytes);
}

// Takes the same time wherever the first difference is.
static bool is_token(const kiv_hello* self, const kiv_hello* host) {
  if (self->token_bytes == 0) return true;
  if (self->token_bytes != host->token_bytes) return false;
  uint8_t difference = 0;
  for (uint32_t i = 0; i < self->token_bytes; ++i) {
    difference |= (uint8_t)(self->token[i] ^ host->token[i]);
  }
  return difference == 0;
}

static void take_hello(kiv_agent* agent, const kiv_message* message) {
  const kiv_agent_setup* setup = agent->setup;
  kiv_hello host;
  if (!kiv_hello_read(&host, KIV_SIDE_HOST, message->body, message->body_bytes)) return;
  kiv_head answer = kiv_head_of(KIV_HELLO);
  answer.tag = message->head.tag;
  if (host.protocol_version == 0) answer.result = KIV_RESULT_VERSION_REFUSED;
  if (answer.result == KIV_RESULT_OK && !is_token(&setup->self, &host)) {
    answer.result = KIV_RESULT_TOKEN_REFUSED;
  }
  kiv_receiver_clear_counts(&agent->receiver);
  agent->owner.session_replaced(agent->owner.context, answer.result == KIV_RESULT_OK);
  if (answer.result != KIV_RESULT_OK) kiv_receiver_reset(&agent->receiver);

  kiv_hello self = setup->self;
  self.protocol_version = kProtocolVersion;
  self.token_bytes = 0;
  uint8_t body[KIV_HELLO_MAX_BYTES];
  const uint32_t body_bytes = kiv_hello_write(&self, KIV_SIDE_AGENT, body);
  send(agent, &answer, body, body_bytes);
}

static void answer_probe(kiv_agent* agent, const kiv_message* message) {
  const kiv_receiver* receiver = &agent->receiver;
  uint8_t body[kCountsBytes];
  kiv_writer writer = kiv_writer_of(body, sizeof body);
  kiv_write_u32(&writer,
                receiver->deframer.damaged + receiver->deframer.stray + receiver->counts.malformed);
  kiv_write_u32(&writer, receiver->counts.lost);
  kiv_write_u32(&writer, receiver->counts.repeated);
  kiv_write_u32(&writer, receiver->counts.abandoned);
  kiv_write_u32(&writer, agent->owner.dropped_indications(agent->owner.context));
  kiv_head head = kiv_head_of(KIV_KEEP_ALIVE);
  head.tag = message->head.tag;
  send(agent, &head, body, writer.used_bytes);
}

static uint32_t take_port(const kiv_agent* agent, const kiv_head* head, const uint8_t* body,
                          uint32_t body_bytes) {
  const kiv_agent_setup* setup = agent->setup;
  if (setup->take_port == NULL) return KIV_RESULT_NOT_ENABLED;
  return setup->take_port(setup->port_context, head, body, body_bytes);
}

static uint32_t run_command(const kiv_agent* agent, const kiv_head* head, const uint8_t* request,
                            uint32_t request_bytes, kiv_writer* reply) {
  const kiv_agent_setup* setup = agent->setup;
  const uint32_t id = head->id;
  for (uint32_t i = 0; i < setup->command_count; ++i) {
    const kiv_command* command = &setup->commands[i];
    if (command->id != id) continue;
    if (request_bytes < command->min_request_bytes) return KIV_RESULT_BODY_SHORT;
    if (request_bytes > command->max_request_bytes) return KIV_RESULT_BODY_LONG;
    const uint32_t result = command->run(setup->command_context, request, request_bytes, reply);
    return reply->failed ? (uint32_t)KIV_RESULT_DEVICE_FAILED : result;
  }
  if (!is_port(id, setup->self.variant)) return KIV_RESULT_UNKNOWN_COMMAND;
  return take_port(agent, head, request, request_bytes);
}

static void answer_routed(kiv_agent* agent, const kiv_message* message) {
  kiv_reader inner = kiv_reader_of(message->body, message->body_bytes);
  const uint32_t routed_sequence = kiv_read_u32(&inner);
  (void)kiv_read_bytes(&inner, 4);
  const uint16_t id = kiv_read_u16(&inner);
  (void)kiv_read_bytes(&inner, 2);
  const uint8_t* route = kiv_read_bytes(&inner, 18);
  (void)kiv_read_bytes(&inner, 6);
  if (inner.failed) {
    confirm(agent, &message->head, KIV_RESULT_BODY_SHORT, NULL, 0);
    return;
  }
  kiv_writer whole = kiv_writer_of(agent->setup->reply_buffer, agent->setup->reply_bytes);
  kiv_write_u32(&whole, routed_sequence);
  kiv_write_bytes(&whole, NULL, 4);
  kiv_write_u16(&whole, id);
  kiv_write_bytes(&whole, NULL, 2);
  kiv_write_bytes(&whole, route, 18);
  kiv_write_bytes(&whole, NULL, 6);
  kiv_writer reply = kiv_writer_of(agent->setup->reply_buffer + KIV_ROUTED_HEAD_BYTES,
                                   agent->setup->reply_bytes - KIV_ROUTED_HEAD_BYTES);
  kiv_head inner_head = message->head;
  inner_head.id = id;
  const uint32_t result = run_command(agent, &inner_head, inner.bytes, inner.left_bytes, &reply);
  const uint32_t reply_bytes = result == KIV_RESULT_OK ? reply.used_bytes : 0;
  confirm(agent, &message->head, result, agent->setup->reply_buffer,
          KIV_ROUTED_HEAD_BYTES + reply_bytes);
}

static void answer_request(kiv_agent* agent, const kiv_message* message) {
  if (!message->stored) {
    confirm(agent, &message->head, KIV_RESULT_TOO_LONG, NULL, 0);
  } else if (!agent->owner.has_room(agent->owner.context)) {
    confirm(agent, &message->head, KIV_RESULT_BUSY, NULL, 0);
  } else if (message->head.id == KIV_ROUTED_ID) {
    answer_routed(agent, message);
  } else {
    kiv_writer reply = kiv_writer_of(agent->setup->reply_buffer, agent->setup->reply_bytes);
    const uint32_t result =
        run_command(agent, &message->head, message->body, message->body_bytes, &reply);
    confirm(agent, &message->head, result, agent->setup->reply_buffer,
            result == KIV_RESULT_OK ? reply.used_bytes : 0);
  }
}

static void answer_text(kiv_agent* agent, const kiv_message* message) {
  static const char kNoShell[] = "kivagent: the shell is not turned on\r\n";
  static const char kNotTaken[] = "kivagent: the line was not taken\r\n";
  if (!message->stored || !agent->owner.has_room(agent->owner.context)) return;
  kiv_head head = kiv_head_of(KIV_RAW);
  head.id = message->head.id;
  if (head.id == kLineTest) {
    head.tag = message->head.tag;
    send(agent, &head, message->body, message->body_bytes);
  } else if (head.id == kConsoleText) {
    const uint32_t result = take_port(agent, &message->head, message->body, message->body_bytes);
    if (result == KIV_RESULT_NOT_ENABLED) {
      send(agent, &head, (const uint8_t*)kNoShell, sizeof kNoShell - 1);
    } else if (result != KIV_RESULT_OK) {
      send(agent, &head, (const uint8_t*)kNotTaken, sizeof kNotTaken - 1);
    }
  }
}

static void answer_frame(kiv_agent* agent, const kiv_message* message) {
  uint32_t result = KIV_RESULT_TOO_LONG;
  if (message->stored && !agent->owner.has_room(agent->owner.context)) {
    result = KIV_RESULT_BUSY;
  } else if (message->stored) {
    result = take_port(agent, &message->head, message->body, message->body_bytes);
  }
  if (result != KIV_RESULT_OK) confirm(agent, &message->head, result, NULL, 0);
}

static void take_message(void* context, const kiv_message* message) {
  kiv_agent* agent = context;
  switch (message->head.kind) {
    case KIV_HELLO:
      take_hello(agent, message);
      break;
    case KIV_REQUEST:
      answer_request(agent, message);
      break;
    case KIV_RAW:
      answer_text(agent, message);
      break;
    case KIV_SDT:
      answer_frame(agent, message);
      break;
    case KIV_KEEP_ALIVE:
      answer_probe(agent, message);
      break;
    default:
      break;  // the receiver lets no other kind of a host through
  }
}

static uint8_t* take_storage(void* context, uint32_t body_bytes) {
  const kiv_agent* agent = context;
  return agent->owner.take_storage(agent->owner.context, body_bytes);
}

static void give_back_storage(void* context, uint8_t* storage) {
  const kiv_agent* agent = context;
  agent->owner.give_back_storage(agent->owner.context, storage);
}

void kiv_agent_init(kiv_agent* agent, const kiv_agent_setup* setup, const kiv_agent_owner* owner,
                    uint8_t* frame_buffer) {
  const kiv_receiver_owner receiver_owner = {agent, take_storage, give_back_storage, take_message};
  agent->setup = setup;
  agent->owner = *owner;
  kiv_receiver_init(&agent->receiver, KIV_SIDE_HOST, frame_buffer, &receiver_owner);
}

void kiv_agent_feed(kiv_agent* agent, const uint8_t* bytes, uint32_t length_bytes) {
  kiv_receiver_feed(&agent->receiver, bytes, length_bytes);
}

void kiv_agent_end(kiv_agent* agent) { kiv_receiver_reset(&agent->receiver); }
