// A test configuration: the parameters of one test function, in one variation or several.
//
//   # memory pattern, small
//   [0]
//   u32 65536        # a little-endian number of 4 bytes, decimal or 0x hexadecimal; also u8, u16
//   text "some text" # its bytes, nothing behind them; no escapes, so no quote in it
//   bytes 00 FF 7e   # bytes in hexadecimal
//
// A variation begins with its index in brackets, one or more letters, digits, '-' or '_'; a
// console's line names it. A value's bytes stand behind those of the value before, without gaps.
// '#' begins a comment, but not inside the quotes. Lines end with LF or CR LF.
//
// Threads: any; no state. Errors: the first mistake, as a text with its line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kivcts {

// One variation and what a device gets of it.
struct Variation {
  std::string index;
  std::string bytes;
};

// False with `problem` ("line N: ...") filled, and `variations` as far as they were read.
bool ReadTestConfig(std::string_view source, std::vector<Variation>& variations,
                    std::string& problem);

}  // namespace kivcts
