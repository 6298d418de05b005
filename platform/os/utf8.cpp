#include "platform/os/utf8.h"

#include "platform/os/utf8_codec.h"

namespace os {

std::wstring Utf8ToWide(std::string_view bytes) { return utf8_codec::Decode<wchar_t>(bytes); }

std::string WideToUtf8(std::wstring_view text) { return utf8_codec::Encode<wchar_t>(text); }

}  // namespace os
