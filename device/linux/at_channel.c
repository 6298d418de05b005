#include "device/linux/at_channel.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/core/result_codes.h"
#include "device/linux/at_responder.h"
#include "device/linux/board.h"
#include "device/linux/byte_port.h"
#include "device/linux/delayed_texts.h"
#include "device/linux/notice.h"
#include "kiv_version.h"

typedef struct at_channel {
  kiv_channel base;
  uint32_t answer_id;
  bool has_port;
  kiv_byte_port port;  // with has_port
  kiv_at_responder responder;
  kiv_delayed_texts texts;
  bool was_watched;  // the port stands in the last watch
} at_channel;

static const kiv_at_identity kSelf = {"Kiv", "kivagent built-in AT responder", KIV_VERSION,
                                      "000000000000000"};

static bool has_room(const at_channel* channel) {
  return channel->base.out.has_room(channel->base.out.context);
}

static void answer(const at_channel* channel, const uint8_t* text, size_t text_bytes) {
  channel->base.out.answer(channel->base.out.context, channel->answer_id, text,
                           (uint32_t)text_bytes);
}

// What a modem said. Hosts end a text at its first zero byte, so zeros do not travel.
static void pass_on(const at_channel* channel, const uint8_t* bytes, size_t length_bytes) {
  size_t first = 0;
  for (size_t i = 0; i <= length_bytes; ++i) {
    if (i < length_bytes && bytes[i] != 0) continue;
    if (i > first) answer(channel, bytes + first, i - first);
    first = i + 1;
  }
}

static void responder_said(void* context, const char* bytes, size_t length_bytes) {
  pass_on(context, (const uint8_t*)bytes, length_bytes);
}

static void tell(const at_channel* channel, const char* what, const char* result) {
  char text[PATH_MAX + 64];
  const int length = snprintf(text, sizeof text, "\r\n*** the modem at %s %s\r\n%s\r\n",
                              channel->port.place.path, what, result);
  if (length > 0 && (size_t)length < sizeof text) {
    answer(channel, (const uint8_t*)text, (size_t)length);
  }
}

static uint32_t take(kiv_channel* self, uint32_t answer_id, const uint8_t* body,
                     uint32_t body_bytes, uint32_t delay_ms) {
  at_channel* channel = (at_channel*)self;
  channel->answer_id = answer_id;
  return kiv_delayed_push(&channel->texts, body, body_bytes, delay_ms, kiv_board_now_ms());
}

// Whether the first text can go on as soon as its time has come.
static bool can_go_on(const at_channel* channel) {
  const kiv_delayed_text* text = channel->texts.first;
  if (text == NULL || !has_room(channel)) return false;
  return !channel->has_port || channel->port.file < 0 ||
         kiv_byte_port_has_room(&channel->port, text->text_bytes);
}

static int watch(kiv_channel* self, struct pollfd* entries, int max) {
  at_channel* channel = (at_channel*)self;
  const int count = !channel->has_port || max < 1
                        ? 0
                        : kiv_byte_port_watch(&channel->port, entries, has_room(channel));
  channel->was_watched = count > 0;
  return count;
}

static void write_texts(at_channel* channel, int64_t now_ms) {
  while (can_go_on(channel)) {
    kiv_delayed_text* text = kiv_delayed_take(&channel->texts, now_ms);
    if (text == NULL) return;
    if (!channel->has_port) {
      kiv_at_feed(&channel->responder, text->text, text->text_bytes);
    } else if (!kiv_byte_port_put(&channel->port, text->text, text->text_bytes)) {
      tell(channel, "is not there", "ERROR");
    }
    free(text);
  }
}

static void serve_port(at_channel* channel, short happened, int64_t now_ms) {
  uint8_t bytes[KIV_BYTE_PORT_READ_BYTES];
  uint32_t length_bytes = 0;
  kiv_byte_port_event event = kiv_byte_port_open_due(&channel->port, now_ms);
  if ((happened & ~POLLOUT) != 0) {
    event = kiv_byte_port_read(&channel->port, bytes, &length_bytes, now_ms);
    pass_on(channel, bytes, length_bytes);
  }
  if (event != KIV_BYTE_PORT_GONE) {
    write_texts(channel, now_ms);
    event = kiv_byte_port_write(&channel->port, now_ms);
  }
  if (event == KIV_BYTE_PORT_GONE) tell(channel, "is gone", "NO CARRIER");
}

static void serve(kiv_channel* self, const struct pollfd* entries, int64_t now_ms) {
  at_channel* channel = (at_channel*)self;
  if (channel->has_port) {
    serve_port(channel, channel->was_watched ? entries[0].revents : 0, now_ms);
  } else {
    write_texts(channel, now_ms);
  }
}

static int64_t next_due_ms(const kiv_channel* self) {
  const at_channel* channel = (const at_channel*)self;
  const int64_t text_ms = can_go_on(channel) ? kiv_delayed_next_due_ms(&channel->texts) : -1;
  const int64_t port_ms = channel->has_port ? kiv_byte_port_next_due_ms(&channel->port) : -1;
  if (text_ms < 0 || port_ms < 0) return text_ms < 0 ? port_ms : text_ms;
  return text_ms < port_ms ? text_ms : port_ms;
}

static void end_session(kiv_channel* self) {
  at_channel* channel = (at_channel*)self;
  kiv_delayed_clear(&channel->texts);
  kiv_at_init(&channel->responder, &kSelf, responder_said, channel);
}

static void close_channel(kiv_channel* self) {
  at_channel* channel = (at_channel*)self;
  kiv_delayed_clear(&channel->texts);
  if (channel->has_port) kiv_byte_port_close(&channel->port);
  free(channel);
}

kiv_channel* kiv_at_channel_new(const char* place, uint32_t answer_id) {
  static const kiv_channel_calls kCalls = {take,        watch,       serve,
                                           next_due_ms, end_session, close_channel};
  at_channel* channel = calloc(1, sizeof *channel);
  if (channel == NULL) {
    kiv_notice(KIV_NOTICE_ERROR, "out of memory for the AT port");
    return NULL;
  }
  channel->base.calls = &kCalls;
  channel->answer_id = answer_id;
  channel->has_port = place != NULL;
  if (place != NULL && !kiv_byte_port_read_place(&channel->port, place)) {
    free(channel);
    return NULL;
  }
  kiv_at_init(&channel->responder, &kSelf, responder_said, channel);
  return &channel->base;
}
