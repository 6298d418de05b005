#include "device/linux/unix_listener.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "device/linux/notice.h"

enum { kWaitingConnections = 8 };

static bool fail(kiv_unix_listener* listener, const char* what, const char* path, int error) {
  errno = error;  // %m is its text
  (void)snprintf(listener->problem, sizeof listener->problem, error == 0 ? "%s %s" : "%s %s: %m",
                 what, path);
  kiv_unix_close(listener);
  return false;
}

static bool prepare_folder(kiv_unix_listener* listener, const char* path) {
  char folder[PATH_MAX];
  const char* slash = strrchr(path, '/');
  const size_t length = slash == NULL ? 0 : (size_t)(slash - path);
  if (length >= sizeof folder) return fail(listener, "path too long:", path, 0);
  if (slash == NULL) {
    (void)snprintf(folder, sizeof folder, ".");
  } else {
    (void)snprintf(folder, sizeof folder, "%.*s", length == 0 ? 1 : (int)length, path);
  }
  if (mkdir(folder, 0700) != 0 && errno != EEXIST) {
    return fail(listener, "cannot make the folder", folder, errno);
  }
  struct stat status;
  if (lstat(folder, &status) != 0) return fail(listener, "cannot look at", folder, errno);
  if (!S_ISDIR(status.st_mode)) return fail(listener, "not a folder:", folder, 0);
  if (status.st_uid != geteuid() || (status.st_mode & 0077) != 0) {
    return fail(listener, "others may enter the socket's folder (chmod 0700 it first):", folder, 0);
  }
  return true;
}

static bool is_answered(const struct sockaddr_un* address) {
  const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (probe < 0) return true;
  const bool connected =
      connect(probe, (const struct sockaddr*)address, sizeof *address) == 0 || errno == EAGAIN;
  close(probe);
  return connected;
}

static bool clear_name(kiv_unix_listener* listener, const struct sockaddr_un* address) {
  struct stat status;
  if (lstat(address->sun_path, &status) != 0) {
    return errno == ENOENT || fail(listener, "cannot look at", address->sun_path, errno);
  }
  if (!S_ISSOCK(status.st_mode)) {
    return fail(listener, "there is something else at", address->sun_path, 0);
  }
  if (is_answered(address)) {
    return fail(listener, "another agent listens at", address->sun_path, 0);
  }
  if (unlink(address->sun_path) == 0) return true;
  return fail(listener, "cannot remove", address->sun_path, errno);
}

bool kiv_unix_listen(kiv_unix_listener* listener, const char* path) {
  memset(listener, 0, sizeof *listener);
  listener->socket = -1;
  struct sockaddr_un address;
  memset(&address, 0, sizeof address);
  address.sun_family = AF_UNIX;
  if (strlen(path) >= sizeof address.sun_path) return fail(listener, "path too long:", path, 0);
  memcpy(address.sun_path, path, strlen(path));
  if (!prepare_folder(listener, path) || !clear_name(listener, &address)) return false;
  listener->socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listener->socket < 0) return fail(listener, "no socket for", path, errno);
  const mode_t before = umask(0177);  // 0600 from its first moment on
  const int bound = bind(listener->socket, (const struct sockaddr*)&address, sizeof address);
  const int error = errno;
  umask(before);
  if (bound != 0) return fail(listener, "cannot bind", path, error);
  listener->path = path;
  if (listen(listener->socket, kWaitingConnections) != 0) {
    return fail(listener, "cannot listen at", path, errno);
  }
  return true;
}

int kiv_unix_accept(kiv_unix_listener* listener) {
  const int peer = accept4(listener->socket, NULL, NULL, SOCK_CLOEXEC);
  listener->starved = peer < 0 && errno != EAGAIN && errno != EINTR;
  if (peer < 0) return -1;
  struct ucred who;
  socklen_t length = sizeof who;
  if (getsockopt(peer, SOL_SOCKET, SO_PEERCRED, &who, &length) != 0 || who.uid != geteuid()) {
    kiv_notice(KIV_NOTICE_WARNING, "a connection of another user was refused");
    close(peer);
    return -1;
  }
  return peer;
}

void kiv_unix_close(kiv_unix_listener* listener) {
  if (listener->socket >= 0) close(listener->socket);
  if (listener->path != NULL) (void)unlink(listener->path);
  listener->socket = -1;
  listener->path = NULL;
}
