// Endpoint: the one text that says where a device is (docs/console.md lists the forms).
//
//   exec:PROGRAM ARG...   a child process on pipes; split as a shell would, nothing is expanded
//   unix:PATH             a Unix socket
//
// Splitting of exec: blanks (space, tab, line feed) separate words; '...' keeps everything; in
// "..." a backslash quotes only " \ $ ` and is itself otherwise; outside quotes it quotes any
// character.
//
// Threads: pure functions. Errors: ParseEndpoint answers a reason for a person, one line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace devlink {

enum class EndpointKind { kNone, kExec, kUnix };

// An endpoint's text, taken apart.
struct Endpoint {
  EndpointKind kind = EndpointKind::kNone;
  std::vector<std::string> arguments;  // kExec: the program first
  std::string path;                    // kUnix
  std::string problem;                 // with kNone: why the text is no endpoint
};

Endpoint ParseEndpoint(std::string_view text);

}  // namespace devlink
