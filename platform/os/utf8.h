// UTF-8 to wide text and back, the same on every system and in every locale.
//
// Threads: any.
#pragma once

#include <string>
#include <string_view>

#include "platform/platform_export.h"

namespace os {
// What is not UTF-8 becomes U+FFFD, one for each maximal broken part; never fails.
KIVPLATFORM_API std::wstring Utf8ToWide(std::string_view bytes);
// Whether there is nothing in it that is not UTF-8.
KIVPLATFORM_API bool IsUtf8(std::string_view bytes);
// Lone surrogates and values beyond U+10FFFF become U+FFFD.
KIVPLATFORM_API std::string WideToUtf8(std::wstring_view text);
}  // namespace os
