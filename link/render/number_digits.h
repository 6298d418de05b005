// Digits straight into wide text, without a string of their own. Each function answers the end of
// what it wrote; the caller has room for kMaxValueChars.
//
// Threads: any; no state.
#pragma once

#include <cstddef>
#include <cstdint>

namespace SvcKivClass {

inline constexpr std::size_t kMaxValueChars = 11;  // "-2147483648"

wchar_t* WriteDecimal(wchar_t* to, std::uint32_t value);
// Lower-case digits, padded with zeros to at least `minDigits`, 8 at most.
wchar_t* WriteHex(wchar_t* to, std::uint32_t value, std::uint32_t minDigits);

// What a single value or an array's element looks like.
struct ValueFormat {
  std::uint32_t widthBytes = 0;
  bool isSigned = false;
  bool hexadecimal = false;
};

// Decimal: 32 bits of the value, with the sign of its own width. Hexadecimal: "0x" and two digits a
// byte for widths 1, 2 and 4, nothing for others; a negative value shows zeros, as hosts know it.
wchar_t* WriteValue(wchar_t* to, std::uint64_t value, const ValueFormat& format);

}  // namespace SvcKivClass
