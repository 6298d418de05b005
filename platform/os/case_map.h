// Unicode's simple (one to one) case mapping and white space, the same in every locale.
//
// The table is generated (case_table.inc). Where wchar_t has 2 bytes, surrogates map to themselves.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstdint>
#include <type_traits>

#include "platform/platform_export.h"

namespace os {
// The value of a character, whatever the width and sign of wchar_t.
constexpr std::uint32_t CodeOf(wchar_t ch) noexcept {
  return static_cast<std::make_unsigned_t<wchar_t>>(ch);
}

// Characters without a mapping come back unchanged.
KIVPLATFORM_API wchar_t ToLowerChar(wchar_t ch) noexcept;
KIVPLATFORM_API wchar_t ToUpperChar(wchar_t ch) noexcept;
// Unicode's White_Space property.
KIVPLATFORM_API bool IsWhiteSpace(wchar_t ch) noexcept;
}  // namespace os
