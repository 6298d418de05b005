#include "params/number_text.h"

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kNoDigit = 0xFF;

std::uint32_t DigitOf(wchar_t ch) noexcept {
  const auto code = static_cast<std::uint32_t>(ch);
  if (code - L'0' < 10) return code - L'0';
  const std::uint32_t letter = (code | 0x20u) - L'a';
  return letter < 6 ? letter + 10 : kNoDigit;
}

bool IsLeadingSpace(wchar_t ch) noexcept {
  if (ch == L' ') return true;
  const auto code = static_cast<std::uint32_t>(ch);
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

}  // namespace

ParsedNumber ParseNumber(std::wstring_view text) noexcept {
  const wchar_t* at = text.data();
  const wchar_t* const end = at + text.size();
  while (at != end && IsLeadingSpace(*at)) ++at;
  const bool negative = at != end && *at == L'-';
  if (negative || (at != end && *at == L'+')) ++at;
  const std::uint32_t base = TakeBase(at, end);
  const wchar_t* const firstDigit = at;
  std::uint64_t magnitude = 0;
  for (; at != end; ++at) {
    const std::uint32_t digit = DigitOf(*at);
    if (digit >= base) break;
    magnitude = magnitude * base + digit;
    if (magnitude > 0xFFFFFFFFu) magnitude = 0x100000000u;  // stays beyond, whatever follows
  }
  if (at == firstDigit) return {0, text.empty()};
  if (magnitude > 0xFFFFFFFFu) return {0xFFFFFFFFu, at == end};
  const auto value = static_cast<std::uint32_t>(magnitude);
  return {negative ? 0u - value : value, at == end};
}

}  // namespace SvcKivClass
