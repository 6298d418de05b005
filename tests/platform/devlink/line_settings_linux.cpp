#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <stdexcept>

#include "tests/platform/devlink/line_settings.h"

namespace linktest {

LineSettings SettingsOf(int fd) {
  termios2 settings = {};
  if (::ioctl(fd, TCGETS2, &settings) != 0) throw std::runtime_error("TCGETS2");
  const auto has = [&](tcflag_t flag) { return (settings.c_cflag & flag) != 0; };
  LineSettings read;
  read.inputBaud = settings.c_ispeed;
  read.outputBaud = settings.c_ospeed;
  read.eightBits = (settings.c_cflag & CSIZE) == CS8;
  read.parity = has(PARENB);
  read.twoStopBits = has(CSTOPB);
  read.reads = has(CREAD);
  read.ignoresCarrier = has(CLOCAL);
  read.hangsUpAtClose = has(HUPCL);
  read.handshakeLines = has(CRTSCTS);
  read.processing = settings.c_iflag | settings.c_oflag | settings.c_lflag;
  return read;
}

}  // namespace linktest
