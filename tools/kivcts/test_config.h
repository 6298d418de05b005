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
// '#' begins a comment, but not inside the quotes. Lines end with LF or CR LF. A mark of UTF-8 in
// front of the first line does not count.
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

// Why no console's line reaches a configuration of this name (without ".pcfg"); empty when one
// does. A line's name ends at a blank, and a device gets 63 bytes of it.
std::string NameProblem(std::string_view name);

// The index of a compiled file's name, "NAME.pcfg.rt.INDEX" for the configuration "NAME.pcfg";
// empty when it is not one of its compiled files.
std::string_view IndexOfCompiled(std::string_view fileName, std::string_view configName);

}  // namespace kivcts
