#include "device/linux/hci_packet.h"

#include <string.h>

// By type: where the length stands behind the type's byte, and how many of its bits count.
typedef struct type_row {
  uint8_t header_bytes;  // without the type
  uint8_t length_at;
  uint16_t length_mask;  // more than 0xFF: two bytes, little-endian
} type_row;

static const type_row kTypes[] = {
    {0, 0, 0},      {3, 2, 0x00FF},  // command
    {4, 2, 0xFFFF},                  // asynchronous data
    {3, 2, 0x00FF},                  // synchronous data
    {2, 1, 0x00FF},                  // event
    {4, 2, 0x3FFF},                  // isochronous data
};
enum { kTypeCount = sizeof kTypes / sizeof kTypes[0] };

kiv_hci_verdict kiv_hci_look(const uint8_t* bytes, size_t length_bytes, uint32_t* whole_bytes) {
  *whole_bytes = 0;
  if (length_bytes == 0) return KIV_HCI_NO_BYTES;
  if (bytes[0] == 0 || bytes[0] >= kTypeCount) return KIV_HCI_ODD_TYPE;
  const type_row* type = &kTypes[bytes[0]];
  const size_t header_bytes = 1u + type->header_bytes;
  if (length_bytes < header_bytes) return KIV_HCI_SHORT;
  const uint8_t* length = bytes + 1 + type->length_at;
  uint32_t body_bytes = length[0];
  if (type->length_mask > 0xFF) body_bytes |= (uint32_t)length[1] << 8;
  *whole_bytes = (uint32_t)header_bytes + (body_bytes & type->length_mask);
  if (length_bytes == *whole_bytes) return KIV_HCI_GOOD;
  return length_bytes < *whole_bytes ? KIV_HCI_SHORT : KIV_HCI_LONG;
}

static int hex_digit(uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

static bool is_blank(uint8_t c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

typedef struct word {
  const uint8_t* first;
  size_t length;
} word;

static word next_word(const uint8_t** at, const uint8_t* end) {
  while (*at < end && is_blank(**at)) ++*at;
  word found = {*at, 0};
  while (*at < end && !is_blank(**at)) ++*at;
  found.length = (size_t)(*at - found.first);
  return found;
}

// A name, and no number that was typed wrong: nothing must be written for such a one.
static bool is_name(word text) {
  const uint8_t first = text.length == 0 ? '0' : text.first[0];
  if (first >= '0' && first <= '9') return false;
  for (size_t i = 0; i < text.length; ++i) {
    if (hex_digit(text.first[i]) < 0) return true;
  }
  return false;
}

static bool is_hex(word text) {
  for (size_t i = 0; i < text.length; ++i) {
    if (hex_digit(text.first[i]) < 0) return false;
  }
  return text.length % 2 == 0;
}

kiv_hci_verdict kiv_hci_of_text(const uint8_t* text, size_t text_bytes, uint8_t* packet,
                                uint32_t* packet_bytes) {
  const uint8_t* at = text;
  const uint8_t* end = text + text_bytes;
  *packet_bytes = 0;
  word here = next_word(&at, end);
  if (is_name(here)) here = next_word(&at, end);
  for (; here.length > 0; here = next_word(&at, end)) {
    if (!is_hex(here)) return KIV_HCI_NO_HEX;
    for (size_t i = 0; i < here.length; i += 2) {
      if (*packet_bytes == KIV_HCI_MAX_SENT_BYTES) return KIV_HCI_LONG;
      packet[(*packet_bytes)++] =
          (uint8_t)(hex_digit(here.first[i]) * 16 + hex_digit(here.first[i + 1]));
    }
  }
  uint32_t whole_bytes = 0;
  const kiv_hci_verdict verdict = kiv_hci_look(packet, *packet_bytes, &whole_bytes);
  return whole_bytes > KIV_HCI_MAX_SENT_BYTES ? KIV_HCI_LONG : verdict;
}

uint32_t kiv_hci_to_text(const uint8_t* packet, uint32_t packet_bytes, uint8_t* text) {
  static const char kDigits[] = "0123456789abcdef";
  uint8_t* at = text;
  for (uint32_t i = 0; i < packet_bytes; ++i) {
    *at++ = (uint8_t)kDigits[packet[i] >> 4];
    *at++ = (uint8_t)kDigits[packet[i] & 15];
    *at++ = i + 1 < packet_bytes ? ' ' : '\n';
  }
  return packet_bytes * 3;
}

size_t kiv_hci_stream_take(kiv_hci_stream* stream, const uint8_t* bytes, size_t length_bytes,
                           bool* whole, bool* stray) {
  uint32_t whole_bytes = 0;
  *whole = false;
  *stray = false;
  if (kiv_hci_look(stream->packet, stream->used_bytes, &whole_bytes) == KIV_HCI_GOOD) {
    stream->used_bytes = 0;
  }
  size_t taken = 0;
  while (taken < length_bytes) {
    const kiv_hci_verdict before = kiv_hci_look(stream->packet, stream->used_bytes, &whole_bytes);
    // The header byte by byte, since it says how much follows; then all that is there.
    size_t step = before == KIV_HCI_SHORT && whole_bytes > 0 ? whole_bytes - stream->used_bytes : 1;
    if (step > length_bytes - taken) step = length_bytes - taken;
    memcpy(stream->packet + stream->used_bytes, bytes + taken, step);
    stream->used_bytes += (uint32_t)step;
    taken += step;
    const kiv_hci_verdict now = kiv_hci_look(stream->packet, stream->used_bytes, &whole_bytes);
    *whole = now == KIV_HCI_GOOD;
    *stray = now == KIV_HCI_ODD_TYPE;
    if (*stray) stream->used_bytes = 0;
    if (*whole || *stray) break;
  }
  return taken;
}
