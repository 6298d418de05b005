// Numbers typed in base 10: delays, direct addresses, figures that are read back from their own
// text.
//
// Threads: any; no state.
#pragma once

#include <cstdint>
#include <string_view>

// The whole text must be one unsigned number of 32 bits; blanks (U+0020) around it and a "+" in
// front are allowed. Anything else, also a number that does not fit, answers 0.
constexpr std::uint32_t ParseDecimalUint32(std::wstring_view text) noexcept {
  while (!text.empty() && text.front() == L' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == L' ') text.remove_suffix(1);
  if (!text.empty() && text.front() == L'+') text.remove_prefix(1);
  std::uint64_t value = 0;
  for (const wchar_t ch : text) {
    if (ch < L'0' || ch > L'9') return 0;
    value = value * 10 + static_cast<std::uint64_t>(ch - L'0');
    if (value > 0xFFFFFFFFu) return 0;
  }
  return static_cast<std::uint32_t>(value);
}
