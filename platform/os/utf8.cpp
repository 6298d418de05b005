#include "platform/os/utf8.h"

#include "platform/os/utf8_codec.h"

namespace os {

std::wstring Utf8ToWide(std::string_view bytes) { return utf8_codec::Decode<wchar_t>(bytes); }

bool IsUtf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto one = utf8_codec::DecodeOne(bytes);
    if (one.codePoint == utf8_codec::kReplacement && !bytes.starts_with("\xEF\xBF\xBD"))
      return false;
    bytes.remove_prefix(one.lengthBytes);
  }
  return true;
}

std::string WideToUtf8(std::wstring_view text) { return utf8_codec::Encode<wchar_t>(text); }

}  // namespace os
