#include "device/linux/tcp_listener.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include "device/linux/notice.h"

enum { kWaitingConnections = 32, kMaxHostChars = 63 };

typedef union any_address {
  struct sockaddr any;
  struct sockaddr_in v4;
  struct sockaddr_in6 v6;
} any_address;

static bool fail(kiv_tcp_listener* listener, const char* format, const char* what) {
  (void)snprintf(listener->problem, sizeof listener->problem, format, what);
  kiv_tcp_close(listener);
  return false;
}

static bool fail_with_error(kiv_tcp_listener* listener, const char* what, int error) {
  errno = error;  // %m is its text
  (void)snprintf(listener->problem, sizeof listener->problem, "%s %s: %m", what, listener->address);
  kiv_tcp_close(listener);
  return false;
}

static bool read_port(const char* text, uint16_t* port) {
  char* end = NULL;
  const unsigned long value = strtoul(text, &end, 10);
  if (text[0] < '0' || text[0] > '9' || *end != '\0' || strlen(text) > 5 || value > 65535) {
    return false;
  }
  *port = (uint16_t)value;
  return true;
}

// Only addresses that the kernel delivers to nobody else.
static bool read_loopback(const char* host, any_address* out, socklen_t* length) {
  memset(out, 0, sizeof *out);
  if (strcmp(host, "[::1]") == 0) {
    out->v6.sin6_family = AF_INET6;
    out->v6.sin6_addr = in6addr_loopback;
    *length = sizeof out->v6;
    return true;
  }
  out->v4.sin_family = AF_INET;
  *length = sizeof out->v4;
  const char* number = strcmp(host, "localhost") == 0 ? "127.0.0.1" : host;
  return inet_pton(AF_INET, number, &out->v4.sin_addr) == 1 &&
         ntohl(out->v4.sin_addr.s_addr) >> 24 == 127;
}

static bool read_place(kiv_tcp_listener* listener, const char* where, any_address* address,
                       socklen_t* length) {
  char host[kMaxHostChars + 1] = "localhost";
  const char* colon = strrchr(where, ':');
  uint16_t port = 0;
  if (!read_port(colon == NULL ? where : colon + 1, &port)) {
    return fail(listener, "no port for --tcp: '%s'", where);
  }
  if (colon != NULL) {
    const size_t chars = (size_t)(colon - where);
    if (chars > kMaxHostChars) return fail(listener, "no address for --tcp: '%s'", where);
    memcpy(host, where, chars);
    host[chars] = '\0';
  }
  if (!read_loopback(host, address, length)) {
    return fail(listener,
                "--tcp listens at this machine's loopback only, not at '%s'; from another machine "
                "use ssh: kiv --link 'exec:ssh -T HOST kivagent --stdio'",
                host);
  }
  if (address->any.sa_family == AF_INET6) {
    address->v6.sin6_port = htons(port);
  } else {
    address->v4.sin_port = htons(port);
  }
  return true;
}

static void show_address(kiv_tcp_listener* listener, const any_address* address) {
  char number[INET6_ADDRSTRLEN] = "";
  if (address->any.sa_family == AF_INET6) {
    (void)snprintf(listener->address, sizeof listener->address, "[::1]:%u",
                   (unsigned)ntohs(address->v6.sin6_port));
    return;
  }
  (void)inet_ntop(AF_INET, &address->v4.sin_addr, number, sizeof number);
  (void)snprintf(listener->address, sizeof listener->address, "%s:%u", number,
                 (unsigned)ntohs(address->v4.sin_port));
}

static bool bind_and_listen(kiv_tcp_listener* listener, any_address* address, socklen_t length) {
  const int on = 1;
  listener->socket = socket(address->any.sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (listener->socket < 0) return fail_with_error(listener, "no socket for", errno);
  // So that an agent can be started again while connections of the last one fade.
  (void)setsockopt(listener->socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(listener->socket, &address->any, length) != 0) {
    return fail_with_error(listener, "cannot bind", errno);
  }
  if (listen(listener->socket, kWaitingConnections) != 0 ||
      getsockname(listener->socket, &address->any, &length) != 0) {
    return fail_with_error(listener, "cannot listen at", errno);
  }
  show_address(listener, address);
  return true;
}

bool kiv_tcp_listen(kiv_tcp_listener* listener, const char* where, const char* token_file) {
  memset(listener, 0, sizeof *listener);
  listener->socket = -1;
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) listener->strangers[i].socket = -1;
  any_address address;
  socklen_t length = 0;
  if (!read_place(listener, where, &address, &length)) return false;
  show_address(listener, &address);
  return kiv_token_read(&listener->token, token_file, listener->problem,
                        sizeof listener->problem) &&
         bind_and_listen(listener, &address, length);
}

void kiv_tcp_close(kiv_tcp_listener* listener) {
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) {
    if (listener->strangers[i].socket >= 0) close(listener->strangers[i].socket);
    listener->strangers[i].socket = -1;
  }
  if (listener->socket >= 0) close(listener->socket);
  listener->socket = -1;
  explicit_bzero(&listener->token, sizeof listener->token);
}

int kiv_tcp_watch(const kiv_tcp_listener* listener, struct pollfd* entries) {
  const struct pollfd own = {listener->rest_until_ms == 0 ? listener->socket : -1, POLLIN, 0};
  entries[0] = own;
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) {
    const struct pollfd stranger = {listener->strangers[i].socket, POLLIN, 0};
    entries[1 + i] = stranger;  // a descriptor of -1 is passed over
  }
  return KIV_TCP_POLL_ENTRIES;
}

// Told at the first and then ever more rarely, so that nobody can fill the disk with notices.
static void refuse(kiv_tcp_listener* listener, int socket, const char* why) {
  close(socket);
  ++listener->refused;
  if ((listener->refused & (listener->refused - 1)) != 0) return;
  kiv_notice(KIV_NOTICE_WARNING, "a TCP connection was refused: %s (%u so far)", why,
             (unsigned)listener->refused);
}

static void show_out(kiv_tcp_listener* listener, kiv_tcp_stranger* stranger, const char* why) {
  refuse(listener, stranger->socket, why);
  stranger->socket = -1;
}

// Reads no further than the token: what stands behind it is the connection's.
static void hear(kiv_tcp_listener* listener, kiv_tcp_stranger* stranger,
                 void (*found)(void* context, int socket), void* context) {
  while (true) {
    uint8_t bytes[KIV_TOKEN_HEAD_BYTES + KIV_TOKEN_MAX_BYTES];
    const uint32_t wanted = kiv_token_wanted_bytes(&stranger->check);
    const ssize_t n = recv(stranger->socket, bytes, wanted, MSG_DONTWAIT);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (n <= 0) {
      show_out(listener, stranger, "it ended without a token");
      return;
    }
    switch (kiv_token_take(&stranger->check, &listener->token, bytes, (uint32_t)n)) {
      case KIV_TOKEN_UNDECIDED:
        continue;
      case KIV_TOKEN_WRONG:
        show_out(listener, stranger, "no token, or a wrong one");
        return;
      case KIV_TOKEN_RIGHT:
        found(context, stranger->socket);
        stranger->socket = -1;
        return;
    }
  }
}

static void take_in(kiv_tcp_listener* listener, int64_t now_ms) {
  const int on = 1;
  const int socket = accept4(listener->socket, NULL, NULL, SOCK_CLOEXEC);
  if (socket < 0) {
    // It would be readable on and on: none is taken until some have gone.
    if (errno != EAGAIN && errno != EINTR) listener->rest_until_ms = now_ms + KIV_TCP_REST_MS;
    return;
  }
  (void)setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) {
    kiv_tcp_stranger* stranger = &listener->strangers[i];
    if (stranger->socket >= 0) continue;
    memset(stranger, 0, sizeof *stranger);
    stranger->socket = socket;
    stranger->until_ms = now_ms + KIV_TCP_PATIENCE_MS;
    return;
  }
  refuse(listener, socket, "too many show no token");
}

void kiv_tcp_serve(kiv_tcp_listener* listener, const struct pollfd* entries, int64_t now_ms,
                   void (*found)(void* context, int socket), void* context) {
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) {
    kiv_tcp_stranger* stranger = &listener->strangers[i];
    if (stranger->socket < 0) continue;
    if (entries[1 + i].revents != 0) hear(listener, stranger, found, context);
    if (stranger->socket >= 0 && now_ms >= stranger->until_ms) {
      show_out(listener, stranger, "no token in 5 seconds");
    }
  }
  if (now_ms >= listener->rest_until_ms) listener->rest_until_ms = 0;
  if (entries[0].revents != 0) take_in(listener, now_ms);
}

int64_t kiv_tcp_next_due_ms(const kiv_tcp_listener* listener) {
  int64_t next_ms = listener->rest_until_ms == 0 ? -1 : listener->rest_until_ms;
  for (int i = 0; i < KIV_TCP_MAX_WAITING; ++i) {
    const kiv_tcp_stranger* stranger = &listener->strangers[i];
    if (stranger->socket >= 0 && (next_ms < 0 || stranger->until_ms < next_ms)) {
      next_ms = stranger->until_ms;
    }
  }
  return next_ms;
}
