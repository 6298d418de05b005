// A stream of bytes to a piece of hardware beside the agent: a serial port ("PATH", "PATH?baud=N")
// or a Unix socket that somebody listens at ("unix:PATH"). It is opened when it is there, and
// opened again with growing pauses when it went away.
//
// Nothing here blocks: what the port does not take at once waits, up to KIV_BYTE_PORT_QUEUE_BYTES.
//
// Threads: none of its own; an object belongs to one thread.
// Owns or borrows: owns its descriptor.
// Errors: a port that cannot be opened or is gone is told on standard error, once each time.
#ifndef DEVICE_LINUX_BYTE_PORT_H_
#define DEVICE_LINUX_BYTE_PORT_H_

#include <poll.h>
#include <stdbool.h>
#include <stdint.h>

#include "device/linux/serial_port.h"

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_BYTE_PORT_QUEUE_BYTES 16384u
#define KIV_BYTE_PORT_READ_BYTES 4096u  // at most, in one turn

typedef struct kiv_byte_port {
  bool is_socket;
  kiv_serial_port place;  // its path, pauses and times hold for a socket too
  int file;               // -1 while it is closed
  uint8_t queue[KIV_BYTE_PORT_QUEUE_BYTES];
  uint32_t queued_bytes;
} kiv_byte_port;

typedef enum kiv_byte_port_event {
  KIV_BYTE_PORT_SAME,
  KIV_BYTE_PORT_OPENED,
  KIV_BYTE_PORT_GONE
} kiv_byte_port_event;

// Takes the words of an option apart; false when they name no port. The first try is due at once.
bool kiv_byte_port_read_place(kiv_byte_port* port, const char* text);
// Queues bytes; false, and nothing is queued, when the port is closed or too much waits.
bool kiv_byte_port_put(kiv_byte_port* port, const uint8_t* bytes, uint32_t length_bytes);
bool kiv_byte_port_has_room(const kiv_byte_port* port, uint32_t length_bytes);
// What to poll for, one entry or none.
int kiv_byte_port_watch(const kiv_byte_port* port, struct pollfd* entry, bool wants_input);
// Opens the port when that is due. What is gone is dropped.
kiv_byte_port_event kiv_byte_port_open_due(kiv_byte_port* port, int64_t now_ms);
// Reads what is there, at most KIV_BYTE_PORT_READ_BYTES; `length_bytes` is 0 when there is nothing.
kiv_byte_port_event kiv_byte_port_read(kiv_byte_port* port, uint8_t* bytes, uint32_t* length_bytes,
                                       int64_t now_ms);
// Writes what the port takes now.
kiv_byte_port_event kiv_byte_port_write(kiv_byte_port* port, int64_t now_ms);
// Of the next try to open; -1 while it is open.
int64_t kiv_byte_port_next_due_ms(const kiv_byte_port* port);
void kiv_byte_port_close(kiv_byte_port* port);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_BYTE_PORT_H_
