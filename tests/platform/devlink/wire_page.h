// The worked examples of docs/wire-format.md, read from the page itself.
//
// Threads: values. Errors: a page that cannot be read gives no examples; a test checks their
// number.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

struct WireExample {
  std::string name;
  bool fromHost = false;
  NaiveFrame frame;
  Bytes line;
};

struct WireStream {
  std::string name;
  Bytes line;
  std::vector<std::string> gives;  // names of examples
  std::uint64_t damaged = 0;
  std::uint64_t stray = 0;
  std::uint64_t malformed = 0;
};

struct WirePage {
  std::vector<WireExample> examples;
  std::vector<WireStream> streams;

  const WireExample& Example(const std::string& name) const;
};

const WirePage& TheWirePage();

}  // namespace linktest
