// Endpoint: the one text that says where a device is (docs/console.md lists the forms).
//
//   exec:PROGRAM ARG...   a child process on pipes; split as a shell would, nothing is expanded
//   unix:PATH             a Unix socket
//   tcp:HOST:PORT         a TCP port; HOST is a name, an IPv4 address or an IPv6 one in brackets.
//                         ?token-file=PATH: shows the token of that file before the greeting
//   serial:PATH           a serial port, 8N1. ?baud=N: any rate, 115200 when left out;
//                         ?flow=none|rtscts: handshake lines, none when left out
//
// Options stand behind the first "?", separated by "&"; a value is taken as it is.
//
// Splitting of exec: blanks (space, tab, line feed) separate words; '...' keeps everything; in
// "..." a backslash quotes only " \ $ ` and is itself otherwise; outside quotes it quotes any
// character.
//
// Threads: pure functions. Errors: ParseEndpoint answers a reason for a person, one line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform_export.h"

namespace devlink {

enum class EndpointKind { kNone, kExec, kUnix, kTcp, kSerial };

// An endpoint's text, taken apart.
struct Endpoint {
  EndpointKind kind = EndpointKind::kNone;
  std::vector<std::string> arguments;  // kExec: the program first
  std::string path;                    // kUnix, kSerial
  std::string text;                    // as it was given, for what a person reads
  std::string host;                    // kTcp, without brackets
  std::uint16_t port = 0;              // kTcp
  std::string tokenFile;               // kTcp; empty: no token is shown
  std::uint32_t baud = 115'200;        // kSerial
  bool rtsCts = false;                 // kSerial
  std::string problem;                 // with kNone: why the text is no endpoint
};

Endpoint ParseEndpoint(std::string_view text);

// The longest path that a Unix socket can have on this system.
std::size_t MaxUnixPathBytes();

// Why the text is no endpoint, one line in UTF-8; empty for one that can be tried. For a host that
// refuses a mistyped link before it starts anything.
KIVPLATFORM_API std::string EndpointProblem(std::string_view text);

}  // namespace devlink
