// The agent's HCI channel: a line of hexadecimal bytes becomes a packet for the Bluetooth
// controller at a port, and each packet of the controller a line of text.
//
// Hosts cut a long line into pieces (text_piece.h), so after a full piece the next one is waited
// for for a second. Nothing is looked at before the line is known to its end: a packet that stands
// whole in the first piece may still be the beginning of a line that is none.
//
// Threads: none of its own. Owns or borrows: borrows the place's text only while it is made.
// Errors: a line that is no packet, and a controller that is not there or went away, are told as
// text; nothing of such a line is written.
#ifndef DEVICE_LINUX_HCI_CHANNEL_H_
#define DEVICE_LINUX_HCI_CHANNEL_H_

#include "device/linux/channel.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_HCI_PATIENCE_MS 1000

// `place` as in byte_port.h, right. `answer_id` is for what the controller says before the host
// wrote anything. Null when memory is out.
kiv_channel* kiv_hci_channel_new(const char* place, uint32_t answer_id);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_HCI_CHANNEL_H_
