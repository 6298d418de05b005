#include "params/number_text.h"

#include <cstddef>

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kNoDigit = 0xFF;
constexpr std::uint64_t kMaxValue = 0xFFFFFFFFu;
constexpr std::ptrdiff_t kMaxDecimalDigits = 19;  // of which 64 bits hold any number

std::uint32_t DigitOf(wchar_t ch) noexcept {
  const std::uint32_t code = static_cast<char32_t>(ch);
  if (code - L'0' < 10) return code - L'0';
  const std::uint32_t letter = (code | 0x20u) - L'a';
  return letter < 6 ? letter + 10 : kNoDigit;
}

bool IsLeadingSpace(wchar_t ch) noexcept {
  if (ch == L' ') return true;
  const std::uint32_t code = static_cast<char32_t>(ch);
  return code < 0x80 ? code - 9 < 5 : IsWhiteSpace(ch);
}

// Takes a base prefix off; "0" alone stays, it is an octal digit.
std::uint32_t TakeBase(const wchar_t*& at, const wchar_t* end) noexcept {
  if (at == end || *at != L'0') return 10;
  if (end - at > 2 && (at[1] == L'x' || at[1] == L'X') && DigitOf(at[2]) != kNoDigit) {
    at += 2;
    return 16;
  }
  return 8;
}

// Digits of `base` from `at` on, which is moved behind them. Beyond 32 bits the value stays beyond.
std::uint64_t TakeDigits(const wchar_t*& at, const wchar_t* end, std::uint32_t base) noexcept {
  std::uint64_t magnitude = 0;
  for (; at != end; ++at) {
    const std::uint32_t digit = DigitOf(*at);
    if (digit >= base) break;
    magnitude = magnitude * base + digit;
    if (magnitude > kMaxValue) magnitude = kMaxValue + 1;
  }
  return magnitude;
}

// The same in base 10, where the first digit is not 0 and so the count of digits bounds the value.
std::uint64_t TakeDecimalDigits(const wchar_t*& at, const wchar_t* end) noexcept {
  const wchar_t* const first = at;
  std::uint64_t magnitude = 0;
  for (std::uint32_t digit = 0; at != end; ++at) {
    digit = static_cast<char32_t>(*at) - L'0';
    if (digit >= 10) break;
    magnitude = magnitude * 10 + digit;
  }
  return at - first <= kMaxDecimalDigits ? magnitude : kMaxValue + 1;
}

}  // namespace

ParsedNumber ParseNumber(std::wstring_view text) noexcept {
  const wchar_t* at = text.data();
  const wchar_t* const end = at + text.size();
  while (at != end && IsLeadingSpace(*at)) ++at;
  const bool negative = at != end && *at == L'-';
  if (negative || (at != end && *at == L'+')) ++at;
  const std::uint32_t base = TakeBase(at, end);
  const wchar_t* const firstDigit = at;
  const std::uint64_t magnitude =
      base == 10 ? TakeDecimalDigits(at, end) : TakeDigits(at, end, base);
  if (at == firstDigit) return {};
  const auto readChars = static_cast<std::size_t>(at - text.data());
  if (magnitude > kMaxValue) return {static_cast<std::uint32_t>(kMaxValue), readChars};
  const auto value = static_cast<std::uint32_t>(magnitude);
  return {negative ? 0u - value : value, readChars};
}

}  // namespace SvcKivClass
