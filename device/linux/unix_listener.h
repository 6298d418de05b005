// A listening Unix socket that only its owner can reach: folder 0700, socket 0600, and the peer's
// user compared at each connection.
//
// Threads: none of its own.
// Owns or borrows: owns the descriptor and the socket's name, which closing removes.
// Errors: a text for standard error.
#ifndef DEVICE_LINUX_UNIX_LISTENER_H_
#define DEVICE_LINUX_UNIX_LISTENER_H_

#include <limits.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct kiv_unix_listener {
  int socket;  // -1 when closed
  const char* path;
  bool starved;  // the last try to take a connection failed, for want of descriptors or memory
  char problem[PATH_MAX + 128];
} kiv_unix_listener;

// Makes the folder when it is missing; refuses one that others may enter. A socket that an agent
// left behind is replaced, one that an agent still answers is not.
bool kiv_unix_listen(kiv_unix_listener* listener, const char* path);
// The next connection of the same user; -1 when there is none. Others are closed at once.
int kiv_unix_accept(kiv_unix_listener* listener);
void kiv_unix_close(kiv_unix_listener* listener);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_UNIX_LISTENER_H_
