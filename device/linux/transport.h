// Where hosts come from: standard input and output, a Unix socket, a TCP port or a serial port, as
// the options say.
//
// Threads: none of its own.
// Owns or borrows: owns its listening sockets; the descriptors of a host are whose it hands them
// to. Errors: told on standard error.
#ifndef DEVICE_LINUX_TRANSPORT_H_
#define DEVICE_LINUX_TRANSPORT_H_

#include <poll.h>
#include <stdbool.h>
#include <stdint.h>

#include "device/linux/options.h"
#include "device/linux/serial_port.h"
#include "device/linux/tcp_listener.h"
#include "device/linux/unix_listener.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_TRANSPORT_POLL_ENTRIES KIV_TCP_POLL_ENTRIES

// A host is there.
typedef void (*kiv_host_fn)(void* context, int in, int out, bool owns_descriptors);

typedef struct kiv_transport {
  kiv_transport_kind kind;
  kiv_unix_listener unix_socket;
  int64_t rest_until_ms;  // of the Unix socket, without descriptors for more; 0: it takes them
  kiv_tcp_listener tcp;
  kiv_serial_port serial;
  kiv_host_fn on_host;
  void* context;
} kiv_transport;

// False when nothing can go on; it may be closed all the same.
bool kiv_transport_open(kiv_transport* transport, const kiv_options* options, kiv_host_fn on_host,
                        void* context);
void kiv_transport_close(kiv_transport* transport);

// What to poll for, at most KIV_TRANSPORT_POLL_ENTRIES; returns their number.
int kiv_transport_watch(const kiv_transport* transport, struct pollfd* entries);
// After poll, with the same entries, and whenever something is due.
void kiv_transport_serve(kiv_transport* transport, const struct pollfd* entries, int64_t now_ms);
// When something is due by time; -1 when nothing is.
int64_t kiv_transport_next_due_ms(const kiv_transport* transport);
// A host has gone. False when no other can come, so that the agent ends.
bool kiv_transport_host_gone(kiv_transport* transport, int64_t now_ms);
// A host greeted, and its session stands.
void kiv_transport_host_greeted(kiv_transport* transport);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TRANSPORT_H_
