// The packet of a test case:
//
//   offset  size  content
//   0       64    name of the test function in the 8-bit code page, at most 63 bytes, zero-padded
//   64      8     zero
//   72      4     length L of the parameters, little-endian
//   76      L     the parameters, unchanged
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstdint>
#include <string_view>

namespace SvcKivClass {

inline constexpr std::uint32_t kTestHeadBytes = 76;
inline constexpr std::uint32_t kEntryNameBytes = 64;

// Writes the head in front of the parameters. `packet` has at least kTestHeadBytes zeroed bytes. A
// longer name is cut at 63 bytes, wherever that is in a character.
void FillTestHead(std::uint8_t* packet, std::string_view entryName, std::uint32_t parameterBytes);

}  // namespace SvcKivClass
