#include "device/linux/transport.h"

#include <string.h>
#include <unistd.h>

#include "device/linux/notice.h"

static bool open_unix(kiv_transport* transport, const char* path) {
  if (!kiv_unix_listen(&transport->unix_socket, path)) {
    kiv_notice(KIV_NOTICE_ERROR, "%s", transport->unix_socket.problem);
    return false;
  }
  kiv_notice(KIV_NOTICE_NOTICE, "listening at %s", path);
  return true;
}

static bool open_tcp(kiv_transport* transport, const kiv_options* options) {
  if (!kiv_tcp_listen(&transport->tcp, options->tcp_place, options->token_file)) {
    kiv_notice(KIV_NOTICE_ERROR, "%s", transport->tcp.problem);
    return false;
  }
  kiv_notice(KIV_NOTICE_NOTICE, "listening at %s", transport->tcp.address);
  return true;
}

bool kiv_transport_open(kiv_transport* transport, const kiv_options* options, kiv_host_fn on_host,
                        void* context) {
  memset(transport, 0, sizeof *transport);
  transport->kind = options->transport;
  transport->unix_socket.socket = -1;
  transport->on_host = on_host;
  transport->context = context;
  switch (transport->kind) {
    case KIV_TRANSPORT_UNIX:
      return open_unix(transport, options->unix_path);
    case KIV_TRANSPORT_TCP:
      return open_tcp(transport, options);
    case KIV_TRANSPORT_SERIAL:
      transport->serial = options->serial;  // its first try is due
      return true;
    default:
      on_host(context, STDIN_FILENO, STDOUT_FILENO, false);
      return true;
  }
}

void kiv_transport_close(kiv_transport* transport) {
  if (transport->kind == KIV_TRANSPORT_UNIX) kiv_unix_close(&transport->unix_socket);
  if (transport->kind == KIV_TRANSPORT_TCP) kiv_tcp_close(&transport->tcp);
}

int kiv_transport_watch(const kiv_transport* transport, struct pollfd* entries) {
  if (transport->kind == KIV_TRANSPORT_TCP) return kiv_tcp_watch(&transport->tcp, entries);
  if (transport->kind != KIV_TRANSPORT_UNIX) return 0;
  const bool rests = transport->rest_until_ms != 0;
  const struct pollfd listening = {rests ? -1 : transport->unix_socket.socket, POLLIN, 0};
  entries[0] = listening;
  return 1;
}

// A connection that cannot be taken stays waiting, so the socket would be readable on and on.
static int take_from_unix(kiv_transport* transport, const struct pollfd* entry, int64_t now_ms) {
  if (now_ms >= transport->rest_until_ms) transport->rest_until_ms = 0;
  if (entry->revents == 0) return -1;
  const int host = kiv_unix_accept(&transport->unix_socket);
  if (transport->unix_socket.starved) transport->rest_until_ms = now_ms + KIV_TCP_REST_MS;
  return host;
}

static void found_by_tcp(void* context, int socket) {
  kiv_transport* transport = context;
  transport->on_host(transport->context, socket, socket, true);
}

void kiv_transport_serve(kiv_transport* transport, const struct pollfd* entries, int64_t now_ms) {
  int host = -1;
  if (transport->kind == KIV_TRANSPORT_TCP) {
    kiv_tcp_serve(&transport->tcp, entries, now_ms, found_by_tcp, transport);
  } else if (transport->kind == KIV_TRANSPORT_UNIX) {
    host = take_from_unix(transport, entries, now_ms);
  } else if (transport->kind == KIV_TRANSPORT_SERIAL && transport->serial.due_ms >= 0 &&
             now_ms >= transport->serial.due_ms) {
    host = kiv_serial_open(&transport->serial, now_ms);
  }
  if (host >= 0) transport->on_host(transport->context, host, host, true);
}

int64_t kiv_transport_next_due_ms(const kiv_transport* transport) {
  if (transport->kind == KIV_TRANSPORT_TCP) return kiv_tcp_next_due_ms(&transport->tcp);
  if (transport->kind == KIV_TRANSPORT_SERIAL) return transport->serial.due_ms;
  return transport->rest_until_ms == 0 ? -1 : transport->rest_until_ms;
}

bool kiv_transport_host_gone(kiv_transport* transport, int64_t now_ms) {
  if (transport->kind == KIV_TRANSPORT_SERIAL) kiv_serial_lost(&transport->serial, now_ms);
  return transport->kind != KIV_TRANSPORT_STDIO;
}

void kiv_transport_host_greeted(kiv_transport* transport) {
  if (transport->kind == KIV_TRANSPORT_SERIAL) kiv_serial_is_good(&transport->serial);
}
