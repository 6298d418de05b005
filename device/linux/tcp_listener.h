// A listening TCP port of this machine's loopback, for hosts that know the token.
//
// Any user of the machine can connect to it, so a connection is nobody's until it has shown the
// token: it is read no further than that, gets no byte, and is closed when it is wrong or late.
//
// Threads: none of its own.
// Owns or borrows: owns its descriptors.
// Errors: a text for standard error.
#ifndef DEVICE_LINUX_TCP_LISTENER_H_
#define DEVICE_LINUX_TCP_LISTENER_H_

#include <limits.h>
#include <poll.h>
#include <stdbool.h>
#include <stdint.h>

#include "device/linux/token.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_TCP_MAX_WAITING 16
#define KIV_TCP_PATIENCE_MS 5000
#define KIV_TCP_REST_MS 100
// The listening socket and those that wait.
#define KIV_TCP_POLL_ENTRIES (1 + KIV_TCP_MAX_WAITING)

// A connection that has not shown the token yet.
typedef struct kiv_tcp_stranger {
  int socket;  // -1: a free place
  int64_t until_ms;
  kiv_token_check check;
} kiv_tcp_stranger;

typedef struct kiv_tcp_listener {
  int socket;  // -1 when closed
  kiv_token token;
  kiv_tcp_stranger strangers[KIV_TCP_MAX_WAITING];
  uint32_t refused;
  int64_t rest_until_ms;  // without descriptors for more connections; 0: it takes them
  char address[64];       // with the port that was bound
  char problem[PATH_MAX + 128];
} kiv_tcp_listener;

// `where` is PORT or HOST:PORT; port 0 lets the system choose. HOST is "localhost", an address of
// 127.0.0.0/8 or [::1]; every other one is refused.
bool kiv_tcp_listen(kiv_tcp_listener* listener, const char* where, const char* token_file);
void kiv_tcp_close(kiv_tcp_listener* listener);

// What to poll for, at most KIV_TCP_POLL_ENTRIES; returns their number.
int kiv_tcp_watch(const kiv_tcp_listener* listener, struct pollfd* entries);
// After poll, with the same entries. Each connection that has shown the token is handed to `found`,
// which owns it from then on.
void kiv_tcp_serve(kiv_tcp_listener* listener, const struct pollfd* entries, int64_t now_ms,
                   void (*found)(void* context, int socket), void* context);
// When the patience with one of them or a rest ends; -1 when neither is under way.
int64_t kiv_tcp_next_due_ms(const kiv_tcp_listener* listener);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_TCP_LISTENER_H_
