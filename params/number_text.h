// The parameter language's number: 32 bits, base by prefix.
//
// Threads: any; no state.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace SvcKivClass {

// A number as far as it could be read, and whether that was all of the text.
struct ParsedNumber {
  std::uint32_t value = 0;    // of the digits read so far, also when something follows them
  std::size_t readChars = 0;  // how much of the text the number is; 0 without a digit
};

// [white space] [sign] ( "0x" hex | "0" octal | decimal ). A magnitude beyond 32 bits gives all
// ones whatever the sign; otherwise a minus sign negates modulo 2 to the 32nd. Without a digit
// nothing is read.
ParsedNumber ParseNumber(std::wstring_view text) noexcept;

}  // namespace SvcKivClass
