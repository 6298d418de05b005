#include "device/linux/channel_set.h"

#include <stddef.h>
#include <string.h>

#include "device/core/bytes.h"
#include "device/core/hello.h"
#include "device/core/result_codes.h"

enum { kConsoleText = 0 };
static const uint16_t kVariantF9 = 249;

// How the messages for a port look on the wire.
typedef struct port_row {
  uint8_t kind;
  uint32_t id;
  uint32_t answer_id;
  uint32_t f9_id;  // on variant 249
  uint32_t f9_answer_id;
  bool has_length;  // the body is a length and the text
  uint32_t ability;
} port_row;

static const port_row kRows[KIV_PORTS] = {
    [KIV_PORT_TEST_CASE] = {KIV_REQUEST, 0x500C, 0xA010, 0x500C, 0xA010, false,
                            KIV_ABILITY_TEST_CASES},
    [KIV_PORT_AT] = {KIV_REQUEST, 0x500D, 0xA011, 0x705, 0x4005, true, KIV_ABILITY_AT},
    [KIV_PORT_SHELL] = {KIV_REQUEST, 0x500E, 0xA012, 0x805, 0x4105, true, KIV_ABILITY_SHELL},
    [KIV_PORT_HCI] = {KIV_SDT, 0x7E0C, 0x7E0C, 0x7E0C, 0x7E0C, false, KIV_ABILITY_HCI}};

static bool is_f9(const kiv_channel_set* set) { return set->variant == kVariantF9; }

// KIV_PORTS when it is for none.
static kiv_port port_of(const kiv_channel_set* set, const kiv_head* head) {
  if (head->kind == KIV_RAW) return head->id == kConsoleText ? KIV_PORT_SHELL : KIV_PORTS;
  int port = 0;
  while (port < KIV_PORTS && (kRows[port].kind != head->kind ||
                              (is_f9(set) ? kRows[port].f9_id : kRows[port].id) != head->id)) {
    ++port;
  }
  return (kiv_port)port;
}

uint32_t kiv_channel_set_answer_id(const kiv_channel_set* set, kiv_port port) {
  return is_f9(set) ? kRows[port].f9_answer_id : kRows[port].answer_id;
}

void kiv_channel_set_add(kiv_channel_set* set, kiv_port port, kiv_channel* channel,
                         const kiv_channel_out* out) {
  set->channels[port] = channel;
  if (channel != NULL) channel->out = *out;
}

uint32_t kiv_channel_set_abilities(const kiv_channel_set* set) {
  uint32_t abilities = 0;
  for (int port = 0; port < KIV_PORTS; ++port) {
    if (set->channels[port] != NULL) abilities |= kRows[port].ability;
  }
  return abilities;
}

// Cuts the length off that stands before a text.
static uint32_t read_text(const uint8_t** body, uint32_t* body_bytes) {
  kiv_reader reader = kiv_reader_of(*body, *body_bytes);
  const uint32_t text_bytes = kiv_read_u32(&reader);
  if (reader.failed || text_bytes > reader.left_bytes) return KIV_RESULT_BODY_SHORT;
  if (text_bytes < reader.left_bytes) return KIV_RESULT_BODY_LONG;
  *body = reader.bytes;
  *body_bytes = text_bytes;
  return KIV_RESULT_OK;
}

uint32_t kiv_channel_set_take(void* context, const kiv_head* head, const uint8_t* body,
                              uint32_t body_bytes) {
  kiv_channel_set* set = context;
  const kiv_port port = port_of(set, head);
  if (port == KIV_PORTS || set->channels[port] == NULL) return KIV_RESULT_NOT_ENABLED;
  const port_row* row = &kRows[port];
  if (row->has_length) {
    const uint32_t result =
        head->kind == KIV_RAW ? (uint32_t)KIV_RESULT_OK : read_text(&body, &body_bytes);
    if (result != KIV_RESULT_OK) return result;
    if (body_bytes > KIV_CHANNEL_MAX_TEXT_BYTES) return KIV_RESULT_BODY_LONG;
  }
  kiv_channel* channel = set->channels[port];
  const uint32_t answer_id = kiv_channel_set_answer_id(set, port);
  const uint32_t delay_ms = head->kind == KIV_REQUEST ? head->word32 : 0;
  return channel->calls->take(channel, answer_id, body, body_bytes, delay_ms);
}

int kiv_channel_set_watch(kiv_channel_set* set, struct pollfd* entries) {
  int count = 0;
  for (int port = 0; port < KIV_PORTS; ++port) {
    kiv_channel* channel = set->channels[port];
    set->watched[port] =
        channel == NULL ? 0
                        : channel->calls->watch(channel, entries + count, KIV_CHANNEL_POLL_ENTRIES);
    count += set->watched[port];
  }
  return count;
}

void kiv_channel_set_serve(kiv_channel_set* set, const struct pollfd* entries, int64_t now_ms) {
  for (int port = 0; port < KIV_PORTS; ++port) {
    kiv_channel* channel = set->channels[port];
    if (channel != NULL) channel->calls->serve(channel, entries, now_ms);
    entries += set->watched[port];
  }
}

int64_t kiv_channel_set_next_due_ms(const kiv_channel_set* set) {
  int64_t next_ms = -1;
  for (int port = 0; port < KIV_PORTS; ++port) {
    const kiv_channel* channel = set->channels[port];
    const int64_t due_ms = channel == NULL ? -1 : channel->calls->next_due_ms(channel);
    if (due_ms >= 0 && (next_ms < 0 || due_ms < next_ms)) next_ms = due_ms;
  }
  return next_ms;
}

void kiv_channel_set_end_session(kiv_channel_set* set) {
  for (int port = 0; port < KIV_PORTS; ++port) {
    kiv_channel* channel = set->channels[port];
    if (channel != NULL) channel->calls->end_session(channel);
  }
}

void kiv_channel_set_close(kiv_channel_set* set) {
  for (int port = 0; port < KIV_PORTS; ++port) {
    if (set->channels[port] != NULL) set->channels[port]->calls->close(set->channels[port]);
    set->channels[port] = NULL;
  }
}
