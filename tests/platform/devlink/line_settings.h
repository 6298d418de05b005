// The settings of a serial line as the kernel has them, read through the other end of a pair of
// pseudo-terminals.
//
// Threads: any. Errors: throws when the descriptor is no terminal.
#pragma once

#include <cstdint>

namespace linktest {

struct LineSettings {
  std::uint32_t inputBaud;
  std::uint32_t outputBaud;
  bool eightBits, parity, twoStopBits, reads, ignoresCarrier, hangsUpAtClose, handshakeLines;
  // Whatever changes, adds or answers bytes: the input, output and local flags, all of them.
  std::uint32_t processing;
};

LineSettings SettingsOf(int fd);

}  // namespace linktest
