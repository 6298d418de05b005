#include "device/linux/hci_channel.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "device/core/bytes.h"
#include "device/core/result_codes.h"
#include "device/linux/board.h"
#include "device/linux/byte_port.h"
#include "device/linux/delayed_texts.h"
#include "device/linux/hci_packet.h"
#include "device/linux/notice.h"
#include "device/linux/text_piece.h"

enum { kLineBytes = 3 * KIV_HCI_MAX_SENT_BYTES + KIV_CHANNEL_MAX_TEXT_BYTES };
enum { kFrameMark = 0x10, kFrameHeadBytes = 6, kBeyondText = 9 };

typedef struct hci_channel {
  kiv_channel base;
  uint32_t answer_id;
  kiv_byte_port port;
  kiv_delayed_texts texts;
  uint8_t line[kLineBytes];  // pieces of a line that is not whole yet
  uint32_t line_bytes;
  bool line_too_long;
  int64_t give_up_ms;  // when no further piece is expected; -1 without a line
  kiv_hci_stream stream;
  uint8_t text[3 * KIV_HCI_MAX_PACKET_BYTES];
  bool told_stray;
  bool was_watched;  // the port stands in the last watch
} hci_channel;

static bool has_room(const hci_channel* channel) {
  return channel->base.out.has_room(channel->base.out.context);
}

static void answer(const hci_channel* channel, const uint8_t* text, uint32_t text_bytes) {
  channel->base.out.answer(channel->base.out.context, channel->answer_id, text, text_bytes);
}

static void refuse(const hci_channel* channel, uint32_t result, const char* text) {
  channel->base.out.refuse(channel->base.out.context, channel->answer_id, result,
                           (const uint8_t*)text, (uint32_t)strlen(text));
}

static void tell_of_controller(const hci_channel* channel, uint32_t result, const char* what) {
  char text[PATH_MAX + 64];
  (void)snprintf(text, sizeof text, "*** HCI: the controller at %s %s\n", channel->port.place.path,
                 what);
  refuse(channel, result, text);
}

// Cuts the head off that stands before the text: 10 00, the text's length and 9 more, 00 00.
static uint32_t read_frame(const uint8_t** body, uint32_t* body_bytes) {
  kiv_reader reader = kiv_reader_of(*body, *body_bytes);
  const uint8_t mark = kiv_read_u8(&reader);
  (void)kiv_read_u8(&reader);
  const uint16_t length = kiv_read_u16(&reader);
  (void)kiv_read_u16(&reader);
  if (reader.failed) return KIV_RESULT_BODY_SHORT;
  if (reader.left_bytes > KIV_CHANNEL_MAX_TEXT_BYTES) return KIV_RESULT_BODY_LONG;
  if (mark != kFrameMark || length != reader.left_bytes + kBeyondText) return KIV_RESULT_BAD_VALUE;
  *body = reader.bytes;
  *body_bytes = reader.left_bytes;
  return KIV_RESULT_OK;
}

static uint32_t take(kiv_channel* self, uint32_t answer_id, const uint8_t* body,
                     uint32_t body_bytes, uint32_t delay_ms) {
  hci_channel* channel = (hci_channel*)self;
  channel->answer_id = answer_id;
  const uint32_t result = read_frame(&body, &body_bytes);
  if (result != KIV_RESULT_OK) return result;
  return kiv_delayed_push(&channel->texts, body, body_bytes, delay_ms, kiv_board_now_ms());
}

// Whether a packet would go on, or be refused because there is no controller.
static bool can_go_on(const hci_channel* channel) {
  return has_room(channel) &&
         (channel->port.file < 0 || kiv_byte_port_has_room(&channel->port, KIV_HCI_MAX_SENT_BYTES));
}

static int watch(kiv_channel* self, struct pollfd* entries, int max) {
  hci_channel* channel = (hci_channel*)self;
  const int count = max < 1 ? 0 : kiv_byte_port_watch(&channel->port, entries, has_room(channel));
  channel->was_watched = count > 0;
  return count;
}

static void forget_line(hci_channel* channel) {
  channel->line_bytes = 0;
  channel->line_too_long = false;
  channel->give_up_ms = -1;
}

static void refuse_line(const hci_channel* channel, kiv_hci_verdict verdict) {
  switch (verdict) {
    case KIV_HCI_NO_BYTES:
      refuse(channel, KIV_RESULT_BAD_VALUE, "*** HCI: no bytes, a line looks like 01 03 0c 00\n");
      break;
    case KIV_HCI_NO_HEX:
      refuse(channel, KIV_RESULT_BAD_VALUE,
             "*** HCI: no hexadecimal bytes, a line looks like 01 03 0c 00\n");
      break;
    case KIV_HCI_ODD_TYPE:
      refuse(channel, KIV_RESULT_BAD_VALUE,
             "*** HCI: the first byte is the packet's type, 01 to 05\n");
      break;
    case KIV_HCI_SHORT:
      refuse(channel, KIV_RESULT_BODY_SHORT,
             "*** HCI: fewer bytes than the packet's header says\n");
      break;
    default:
      refuse(channel, KIV_RESULT_BODY_LONG,
             "*** HCI: more bytes than the packet's header says, or more than 2048\n");
  }
}

static void send_line(hci_channel* channel) {
  uint8_t packet[KIV_HCI_MAX_SENT_BYTES];
  uint32_t packet_bytes = 0;
  kiv_hci_verdict verdict = KIV_HCI_LONG;
  if (!channel->line_too_long) {
    verdict = kiv_hci_of_text(channel->line, channel->line_bytes, packet, &packet_bytes);
  }
  forget_line(channel);
  if (verdict != KIV_HCI_GOOD) {
    refuse_line(channel, verdict);
  } else if (!kiv_byte_port_put(&channel->port, packet, packet_bytes)) {
    tell_of_controller(channel, KIV_RESULT_DEVICE_FAILED, "is not there");
  }
}

static void append(hci_channel* channel, const kiv_delayed_text* piece) {
  if (piece->text_bytes > kLineBytes - channel->line_bytes) {
    channel->line_too_long = true;
    return;
  }
  memcpy(channel->line + channel->line_bytes, piece->text, piece->text_bytes);
  channel->line_bytes += piece->text_bytes;
}

// Whether no piece has come in time for the line that waits for one. A piece counts by when it
// came: the controller may have held it up.
static bool is_line_over(const hci_channel* channel, int64_t now_ms) {
  if (channel->give_up_ms < 0) return false;
  const int64_t next_ms = kiv_delayed_next_due_ms(&channel->texts);
  return (next_ms >= 0 && next_ms < now_ms ? next_ms : now_ms) >= channel->give_up_ms;
}

static void write_texts(hci_channel* channel, int64_t now_ms) {
  while (can_go_on(channel)) {
    if (is_line_over(channel, now_ms)) {
      send_line(channel);
      continue;
    }
    kiv_delayed_text* piece = kiv_delayed_take(&channel->texts, now_ms);
    if (piece == NULL) return;
    append(channel, piece);
    if (kiv_is_full_piece(piece->text, piece->text_bytes)) {
      channel->give_up_ms = piece->due_ms + KIV_HCI_PATIENCE_MS;
    } else {
      send_line(channel);
    }
    free(piece);
  }
}

static void pass_on(hci_channel* channel, const uint8_t* bytes, size_t length_bytes) {
  while (length_bytes > 0) {
    bool whole = false;
    bool stray = false;
    const size_t taken = kiv_hci_stream_take(&channel->stream, bytes, length_bytes, &whole, &stray);
    bytes += taken;
    length_bytes -= taken;
    if (whole) {
      answer(channel, channel->text,
             kiv_hci_to_text(channel->stream.packet, channel->stream.used_bytes, channel->text));
    }
    if (stray && !channel->told_stray)
      tell_of_controller(channel, KIV_RESULT_OK, "sent what begins no packet");
    if (whole || stray) channel->told_stray = stray;
  }
}

static void serve(kiv_channel* self, const struct pollfd* entries, int64_t now_ms) {
  hci_channel* channel = (hci_channel*)self;
  const short happened = channel->was_watched ? entries[0].revents : 0;
  uint8_t bytes[KIV_BYTE_PORT_READ_BYTES];
  uint32_t length_bytes = 0;
  kiv_byte_port_event event = kiv_byte_port_open_due(&channel->port, now_ms);
  if (event == KIV_BYTE_PORT_OPENED) channel->stream.used_bytes = 0;
  if ((happened & ~POLLOUT) != 0) {
    event = kiv_byte_port_read(&channel->port, bytes, &length_bytes, now_ms);
    pass_on(channel, bytes, length_bytes);
  }
  if (event != KIV_BYTE_PORT_GONE) {
    write_texts(channel, now_ms);
    event = kiv_byte_port_write(&channel->port, now_ms);
  }
  if (event == KIV_BYTE_PORT_GONE) tell_of_controller(channel, KIV_RESULT_OK, "is gone");
}

static int64_t earlier(int64_t one_ms, int64_t other_ms) {
  if (one_ms < 0 || other_ms < 0) return one_ms < 0 ? other_ms : one_ms;
  return one_ms < other_ms ? one_ms : other_ms;
}

static int64_t next_due_ms(const kiv_channel* self) {
  const hci_channel* channel = (const hci_channel*)self;
  const int64_t line_ms = earlier(kiv_delayed_next_due_ms(&channel->texts), channel->give_up_ms);
  return earlier(can_go_on(channel) ? line_ms : -1, kiv_byte_port_next_due_ms(&channel->port));
}

static void end_session(kiv_channel* self) {
  hci_channel* channel = (hci_channel*)self;
  kiv_delayed_clear(&channel->texts);
  forget_line(channel);
}

static void close_channel(kiv_channel* self) {
  hci_channel* channel = (hci_channel*)self;
  kiv_delayed_clear(&channel->texts);
  kiv_byte_port_close(&channel->port);
  free(channel);
}

kiv_channel* kiv_hci_channel_new(const char* place, uint32_t answer_id) {
  static const kiv_channel_calls kCalls = {take,        watch,       serve,
                                           next_due_ms, end_session, close_channel};
  hci_channel* channel = calloc(1, sizeof *channel);
  if (channel == NULL) {
    kiv_notice(KIV_NOTICE_ERROR, "out of memory for the HCI port");
    return NULL;
  }
  channel->base.calls = &kCalls;
  channel->answer_id = answer_id;
  forget_line(channel);
  if (!kiv_byte_port_read_place(&channel->port, place)) {
    free(channel);
    return NULL;
  }
  return &channel->base;
}
