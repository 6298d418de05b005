#include "platform/os/case_map.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>

namespace os {
namespace {

// Code points first, first + stride, ... last are mapped to themselves plus delta.
struct CaseRun {
  std::uint32_t first, last, stride;
  std::int32_t delta;
};

#include "platform/os/case_table.inc"

bool IsAscii(wchar_t ch) noexcept { return CodeOf(ch) < 0x80; }

wchar_t Map(std::span<const CaseRun> runs, wchar_t ch) noexcept {
  const auto code = CodeOf(ch);
  const auto run = std::lower_bound(
      runs.begin(), runs.end(), code,
      [](const CaseRun& candidate, std::uint32_t wanted) { return candidate.last < wanted; });
  if (run == runs.end() || code < run->first || (code - run->first) % run->stride != 0) return ch;
  return static_cast<wchar_t>(static_cast<std::int64_t>(code) + run->delta);
}

}  // namespace

wchar_t ToLowerChar(wchar_t ch) noexcept {
  if (IsAscii(ch)) return ch >= L'A' && ch <= L'Z' ? ch + (L'a' - L'A') : ch;
  return Map(kToLower, ch);
}

wchar_t ToUpperChar(wchar_t ch) noexcept {
  if (IsAscii(ch)) return ch >= L'a' && ch <= L'z' ? ch - (L'a' - L'A') : ch;
  return Map(kToUpper, ch);
}

bool IsWhiteSpace(wchar_t ch) noexcept {
  const auto code = CodeOf(ch);
  if (code < 0x80) return code == 0x20 || (code >= 0x09 && code <= 0x0D);
  constexpr std::uint32_t kOthers[] = {0x85, 0xA0, 0x1680, 0x2028, 0x2029, 0x202F, 0x205F, 0x3000};
  if (code >= 0x2000 && code <= 0x200A) return true;
  return std::find(std::begin(kOthers), std::end(kOthers), code) != std::end(kOthers);
}

}  // namespace os
