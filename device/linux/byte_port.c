#include "device/linux/byte_port.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "device/linux/notice.h"

static const char kSocketWord[] = "unix:";

bool kiv_byte_port_read_place(kiv_byte_port* port, const char* text) {
  memset(port, 0, sizeof *port);
  port->file = -1;
  const size_t word_chars = sizeof kSocketWord - 1;
  port->is_socket = strncmp(text, kSocketWord, word_chars) == 0;
  if (!port->is_socket) return kiv_serial_read(&port->place, text);
  const char* path = text + word_chars;
  const size_t path_chars = strlen(path);
  if (path_chars == 0 || path_chars >= sizeof((struct sockaddr_un*)0)->sun_path) return false;
  memcpy(port->place.path, path, path_chars + 1);
  port->place.pause_ms = KIV_SERIAL_FIRST_PAUSE_MS;
  return true;
}

bool kiv_byte_port_has_room(const kiv_byte_port* port, uint32_t length_bytes) {
  return length_bytes <= KIV_BYTE_PORT_QUEUE_BYTES - port->queued_bytes;
}

bool kiv_byte_port_put(kiv_byte_port* port, const uint8_t* bytes, uint32_t length_bytes) {
  if (port->file < 0 || !kiv_byte_port_has_room(port, length_bytes)) return false;
  if (length_bytes > 0) memcpy(port->queue + port->queued_bytes, bytes, length_bytes);
  port->queued_bytes += length_bytes;
  return true;
}

int kiv_byte_port_watch(const kiv_byte_port* port, struct pollfd* entry, bool wants_input) {
  const short events = (short)((wants_input ? POLLIN : 0) | (port->queued_bytes > 0 ? POLLOUT : 0));
  if (port->file < 0 || events == 0) return 0;
  entry->fd = port->file;
  entry->events = events;
  entry->revents = 0;
  return 1;
}

// A socket's descriptor, or -1 and errno.
static int connect_to(const char* path) {
  struct sockaddr_un address;
  memset(&address, 0, sizeof address);
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, path, strlen(path));
  const int file = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (file < 0) return -1;
  if (connect(file, (const struct sockaddr*)&address, sizeof address) == 0) return file;
  const int error = errno;
  close(file);
  errno = error;
  return -1;
}

static int open_socket(kiv_serial_port* place, int64_t now_ms) {
  const int file = connect_to(place->path);
  if (file >= 0) {
    place->due_ms = -1;
    place->told = false;
    kiv_notice(KIV_NOTICE_NOTICE, "connected to %s", place->path);
    return file;
  }
  if (!place->told) {
    kiv_notice(KIV_NOTICE_WARNING, "cannot connect to %s, trying again and again: %m", place->path);
  }
  place->told = true;
  kiv_serial_wait_longer(place, now_ms);
  return -1;
}

kiv_byte_port_event kiv_byte_port_open_due(kiv_byte_port* port, int64_t now_ms) {
  if (port->file >= 0 || port->place.due_ms > now_ms) return KIV_BYTE_PORT_SAME;
  port->file =
      port->is_socket ? open_socket(&port->place, now_ms) : kiv_serial_open(&port->place, now_ms);
  return port->file >= 0 ? KIV_BYTE_PORT_OPENED : KIV_BYTE_PORT_SAME;
}

static kiv_byte_port_event lose(kiv_byte_port* port, int64_t now_ms) {
  kiv_byte_port_close(port);
  if (!port->is_socket) {
    kiv_serial_lost(&port->place, now_ms);
    return KIV_BYTE_PORT_GONE;
  }
  kiv_notice(KIV_NOTICE_WARNING, "%s is gone, trying again and again", port->place.path);
  port->place.told = true;
  kiv_serial_wait_longer(&port->place, now_ms);
  return KIV_BYTE_PORT_GONE;
}

static bool must_wait(void) { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

kiv_byte_port_event kiv_byte_port_read(kiv_byte_port* port, uint8_t* bytes, uint32_t* length_bytes,
                                       int64_t now_ms) {
  *length_bytes = 0;
  if (port->file < 0) return KIV_BYTE_PORT_SAME;
  const ssize_t got = read(port->file, bytes, KIV_BYTE_PORT_READ_BYTES);
  if (got < 0 && must_wait()) return KIV_BYTE_PORT_SAME;
  if (got <= 0) return lose(port, now_ms);
  *length_bytes = (uint32_t)got;
  kiv_serial_is_good(&port->place);
  return KIV_BYTE_PORT_SAME;
}

kiv_byte_port_event kiv_byte_port_write(kiv_byte_port* port, int64_t now_ms) {
  if (port->file < 0 || port->queued_bytes == 0) return KIV_BYTE_PORT_SAME;
  const ssize_t wrote = write(port->file, port->queue, port->queued_bytes);
  if (wrote < 0) return must_wait() ? KIV_BYTE_PORT_SAME : lose(port, now_ms);
  port->queued_bytes -= (uint32_t)wrote;
  memmove(port->queue, port->queue + wrote, port->queued_bytes);
  return KIV_BYTE_PORT_SAME;
}

int64_t kiv_byte_port_next_due_ms(const kiv_byte_port* port) {
  return port->file >= 0 ? -1 : port->place.due_ms;
}

void kiv_byte_port_close(kiv_byte_port* port) {
  if (port->file >= 0) close(port->file);
  port->file = -1;
  port->queued_bytes = 0;
}
