// Numbers as settings files hold them: leading white space, a sign, digits; what follows is
// ignored, and a text without digits is 0.
//
// Threads: any; no state. Errors: none; what does not fit becomes the nearest value that does.
#pragma once

#include <cstdint>
#include <string_view>

namespace SvcKivClass {

std::int32_t SettingInteger(std::wstring_view text) noexcept;
// For ids and time-outs: 0 to 4294967295.
std::uint32_t SettingUnsigned(std::wstring_view text) noexcept;

}  // namespace SvcKivClass
