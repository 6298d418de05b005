#include "settings/setting_number.h"

#include <algorithm>
#include <limits>

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

// Wide enough for every value that is kept, far from the end of its type.
constexpr std::int64_t kBeyond = std::int64_t{1} << 40;

std::int64_t LeadingNumber(std::wstring_view text) noexcept {
  while (!text.empty() && IsWhiteSpace(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with(L'-');
  if (negative || text.starts_with(L'+')) text.remove_prefix(1);
  std::int64_t value = 0;
  for (const wchar_t ch : text) {
    if (ch < L'0' || ch > L'9') break;
    value = std::min(value * 10 + (ch - L'0'), kBeyond);
  }
  return negative ? -value : value;
}

template <typename Number>
Number Clamped(std::int64_t value) noexcept {
  return static_cast<Number>(std::clamp<std::int64_t>(value, std::numeric_limits<Number>::min(),
                                                      std::numeric_limits<Number>::max()));
}

}  // namespace

std::int32_t SettingInteger(std::wstring_view text) noexcept {
  return Clamped<std::int32_t>(LeadingNumber(text));
}

std::uint32_t SettingUnsigned(std::wstring_view text) noexcept {
  return Clamped<std::uint32_t>(LeadingNumber(text));
}

}  // namespace SvcKivClass
