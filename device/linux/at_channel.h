// The agent's AT channel: what hosts write goes to a modem's port, or to the built-in responder,
// and all that is said there comes back as it comes, asked for or not.
//
// Threads: none of its own. Owns or borrows: borrows the place's text only while it is made.
// Errors: a modem that is not there, or went away, is told as text with a final result code, so
// that whoever waits for one goes on.
#ifndef DEVICE_LINUX_AT_CHANNEL_H_
#define DEVICE_LINUX_AT_CHANNEL_H_

#include "device/linux/channel.h"

#ifdef __cplusplus
extern "C" {
#endif

// `place` as in byte_port.h, right; null for the built-in responder. `answer_id` is for what a
// modem says before the host wrote anything. Null when memory is out.
kiv_channel* kiv_at_channel_new(const char* place, uint32_t answer_id);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_AT_CHANNEL_H_
