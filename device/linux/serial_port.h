// A serial port that may be unplugged and come back: opened raw at any speed, and opened again with
// growing pauses when it is gone.
//
// Threads: none of its own.
// Owns or borrows: borrows the path; what it opens is the caller's.
// Errors: told on standard error, once for each time that the port is lost.
#ifndef DEVICE_LINUX_SERIAL_PORT_H_
#define DEVICE_LINUX_SERIAL_PORT_H_

#include <limits.h>
#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define KIV_SERIAL_DEFAULT_BAUD 115200u
#define KIV_SERIAL_MAX_BAUD 20000000u
#define KIV_SERIAL_FIRST_PAUSE_MS 100u
#define KIV_SERIAL_LONGEST_PAUSE_MS 5000u

typedef struct kiv_serial_port {
  char path[PATH_MAX];
  uint32_t baud;
  uint32_t pause_ms;  // before the next try
  int64_t due_ms;     // of the next try; -1 while it is open
  bool told;          // that it cannot be opened
} kiv_serial_port;

// Takes "PATH" or "PATH?baud=N" apart; false when it is neither. The first try is due at once.
bool kiv_serial_read(kiv_serial_port* port, const char* text);
// When a try is due: a descriptor that does not block, or -1 and the next try is set.
int kiv_serial_open(kiv_serial_port* port, int64_t now_ms);
// The descriptor was closed, since the port is gone.
void kiv_serial_lost(kiv_serial_port* port, int64_t now_ms);
// Sets the next try, and doubles the pause behind it.
void kiv_serial_wait_longer(kiv_serial_port* port, int64_t now_ms);
// A host talked: the next loss begins with the shortest pause again.
void kiv_serial_is_good(kiv_serial_port* port);

#ifdef __cplusplus
}
#endif

#endif  // DEVICE_LINUX_SERIAL_PORT_H_
