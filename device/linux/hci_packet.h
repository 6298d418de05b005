// HCI packets as a controller's serial line (H4) carries them: one byte of type, a header of that
// type, and as many bytes as the header's length says. From and to text of hexadecimal bytes.
//
// Threads: none. Owns or borrows: borrows what it is given. Errors: as verdicts.
#ifndef DEVICE_LINUX_HCI_PACKET_H_
#define DEVICE_LINUX_HCI_PACKET_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_HCI_MAX_HEADER_BYTES 5u  // with the type
#define KIV_HCI_MAX_PACKET_BYTES (KIV_HCI_MAX_HEADER_BYTES + 65535u)
// What hosts may send.
#define KIV_HCI_MAX_SENT_BYTES 2048u

typedef enum kiv_hci_verdict {
  KIV_HCI_GOOD,
  KIV_HCI_SHORT,  // so far a packet, and bytes are missing
  KIV_HCI_LONG,   // bytes stand behind it, or it is longer than may be sent
  KIV_HCI_NO_BYTES,
  KIV_HCI_NO_HEX,    // something in the text is no byte of two hexadecimal digits
  KIV_HCI_ODD_TYPE,  // the first byte is not 1 to 5
} kiv_hci_verdict;

// Whether `bytes` are a packet; `whole_bytes` is then, and with KIV_HCI_SHORT when the header is
// there, its length; else 0.
kiv_hci_verdict kiv_hci_look(const uint8_t* bytes, size_t length_bytes, uint32_t* whole_bytes);

// Text to bytes: hexadecimal digits in pairs, blanks between them, before them a word that is
// neither a hexadecimal number nor begins with a digit. The packet has room for
// KIV_HCI_MAX_SENT_BYTES.
kiv_hci_verdict kiv_hci_of_text(const uint8_t* text, size_t text_bytes, uint8_t* packet,
                                uint32_t* packet_bytes);
// Bytes to text, a line: "04 0e 04 01 03 0c 00\n". `text` has room for three characters a byte;
// returns their number.
uint32_t kiv_hci_to_text(const uint8_t* packet, uint32_t packet_bytes, uint8_t* text);

// What a controller sends, in pieces of any length, put together to packets.
typedef struct kiv_hci_stream {
  uint8_t packet[KIV_HCI_MAX_PACKET_BYTES];
  uint32_t used_bytes;
} kiv_hci_stream;

// Takes bytes up to the end of a packet; returns how many. `whole` says whether there is one in
// `packet` (of `used_bytes`); it is valid until the next call, which begins a new one. A byte that
// begins no packet is taken alone and `stray` is set.
size_t kiv_hci_stream_take(kiv_hci_stream* stream, const uint8_t* bytes, size_t length_bytes,
                           bool* whole, bool* stray);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_HCI_PACKET_H_
