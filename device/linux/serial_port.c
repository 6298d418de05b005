#include "device/linux/serial_port.h"

#include <asm/termbits.h>  // any speed; it excludes <termios.h>, which has the listed ones alone
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "device/linux/notice.h"

static bool read_baud(const char* text, uint32_t* baud) {
  char* end = NULL;
  const unsigned long value = strtoul(text, &end, 10);
  if (text[0] < '1' || text[0] > '9' || *end != '\0' || strlen(text) > 8) return false;
  *baud = (uint32_t)value;
  return value <= KIV_SERIAL_MAX_BAUD;
}

bool kiv_serial_read(kiv_serial_port* port, const char* text) {
  static const char kKey[] = "?baud=";
  memset(port, 0, sizeof *port);
  port->baud = KIV_SERIAL_DEFAULT_BAUD;
  port->pause_ms = KIV_SERIAL_FIRST_PAUSE_MS;
  const char* question = strchr(text, '?');
  const size_t path_chars = question == NULL ? strlen(text) : (size_t)(question - text);
  if (path_chars == 0 || path_chars >= sizeof port->path) return false;
  memcpy(port->path, text, path_chars);
  if (question == NULL) return true;
  return strncmp(question, kKey, sizeof kKey - 1) == 0 &&
         read_baud(question + sizeof kKey - 1, &port->baud);
}

// Eight bits, no parity, no flow control, nothing translated, the modem lines not looked at.
static int make_raw(int file, uint32_t baud) {
  struct termios2 mode;
  if (ioctl(file, TCGETS2, &mode) != 0) return errno;
  mode.c_iflag = IGNBRK;
  mode.c_oflag = 0;
  mode.c_lflag = 0;
  mode.c_cflag = CS8 | CREAD | CLOCAL | BOTHER;
  mode.c_ispeed = baud;
  mode.c_ospeed = baud;
  mode.c_cc[VMIN] = 1;  // so that 0 bytes mean the end
  mode.c_cc[VTIME] = 0;
  return ioctl(file, TCSETS2, &mode) == 0 ? 0 : errno;
}

static int try_open(const kiv_serial_port* port, int* file) {
  *file = open(port->path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (*file < 0) return errno;
  const int error = make_raw(*file, port->baud);
  if (error == 0) return 0;
  close(*file);
  *file = -1;
  return error;
}

void kiv_serial_wait_longer(kiv_serial_port* port, int64_t now_ms) {
  port->due_ms = now_ms + port->pause_ms;
  port->pause_ms *= 2;
  if (port->pause_ms > KIV_SERIAL_LONGEST_PAUSE_MS) port->pause_ms = KIV_SERIAL_LONGEST_PAUSE_MS;
}

int kiv_serial_open(kiv_serial_port* port, int64_t now_ms) {
  int file = -1;
  const int error = try_open(port, &file);
  if (error == 0) {
    port->due_ms = -1;
    port->told = false;
    kiv_notice(KIV_NOTICE_NOTICE, "serial port %s is open, %u baud", port->path,
               (unsigned)port->baud);
    return file;
  }
  if (!port->told) {
    errno = error;  // %m is its text
    kiv_notice(KIV_NOTICE_WARNING, "cannot open the serial port %s, trying again and again: %m",
               port->path);
  }
  port->told = true;
  kiv_serial_wait_longer(port, now_ms);
  return -1;
}

void kiv_serial_lost(kiv_serial_port* port, int64_t now_ms) {
  kiv_notice(KIV_NOTICE_WARNING, "serial port %s is gone, trying again and again", port->path);
  port->told = true;
  kiv_serial_wait_longer(port, now_ms);
}

void kiv_serial_is_good(kiv_serial_port* port) { port->pause_ms = KIV_SERIAL_FIRST_PAUSE_MS; }
