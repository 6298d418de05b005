// The test-case channel: runs test functions by name, one after another, and sends their output, a
// line an answer; the last line of each is "result: pass" or "result: fail", which hosts wait for.
//
// Threads: one, the agent's. Owns or borrows: owns the packets that wait. Errors: result codes for
// a packet that is wrong, lines of output for all else.
#ifndef DEVICE_LINUX_TEST_CHANNEL_H_
#define DEVICE_LINUX_TEST_CHANNEL_H_

#include "device/linux/channel.h"

#ifdef __cplusplus
extern "C" {
#endif

// Of a packet: a name of at most 63 bytes with zeros behind, eight zeros, a length.
#define KIV_TEST_NAME_BYTES 64u
#define KIV_TEST_HEAD_BYTES 76u
#define KIV_TEST_MAX_PARAMETER_BYTES (1024u * 1024u)
#define KIV_TEST_MAX_WAITING_BYTES (4u * 1024u * 1024u)

// Null with a notice when memory is out.
kiv_channel* kiv_test_channel_new(void);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TEST_CHANNEL_H_
