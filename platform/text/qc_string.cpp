#include "platform/text/qc_string.h"

#include <algorithm>
#include <cstring>

#include "platform/bounded/bounded.h"
#include "platform/bounded/pool.h"
#include "platform/os/case_map.h"
#include "platform/os/utf8.h"

wchar_t ToLowerChar(wchar_t ch) noexcept { return os::ToLowerChar(ch); }
wchar_t ToUpperChar(wchar_t ch) noexcept { return os::ToUpperChar(ch); }
bool IsWhiteSpace(wchar_t ch) noexcept { return os::IsWhiteSpace(ch); }

QCString::QCString(const wchar_t* text) : text_(text != nullptr ? text : L"") {}

QCString::QCString(const wchar_t* text, std::size_t lengthChars)
    : text_(text != nullptr ? std::wstring(text, lengthChars) : std::wstring()) {}

QCString QCString::FromUtf8(std::string_view bytes) { return QCString(os::Utf8ToWide(bytes)); }

std::string QCString::ToUtf8() const { return os::WideToUtf8(text_); }

char* QCString::UnicodeToAnsi(std::size_t* lengthBytes) const {
  const std::string bytes = ToUtf8();
  const std::size_t bufferBytes = bytes.size() + 1;
  auto* buffer = static_cast<char*>(PoolMalloc(bufferBytes));
  if (buffer == nullptr) return nullptr;
  if (bounded::memcpy_s(buffer, bufferBytes, bytes.c_str(), bufferBytes) != 0) {
    PoolFree(buffer);
    return nullptr;
  }
  if (lengthBytes != nullptr) *lengthBytes = bytes.size();
  return buffer;
}

QCString QCString::AnsiToUnicode(const char* text) {
  return text != nullptr ? FromUtf8(text) : QCString();
}

QCString& QCString::operator+=(const QCString& other) { return Append(other.view()); }

QCString& QCString::operator+=(const wchar_t* other) {
  if (other != nullptr) text_.append(other);
  return *this;
}

QCString& QCString::operator+=(wchar_t ch) {
  text_.push_back(ch);
  return *this;
}

QCString& QCString::Append(std::wstring_view other) {
  text_.append(other);
  return *this;
}

QCString QCString::Left(std::size_t countChars) const { return Mid(0, countChars); }

QCString QCString::Right(std::size_t countChars) const {
  return Mid(text_.size() - std::min(countChars, text_.size()));
}

QCString QCString::Mid(std::size_t from, std::size_t countChars) const {
  return QCString(view().substr(std::min(from, text_.size()), countChars));
}

QCString& QCString::TrimLeft(wchar_t ch) {
  text_.erase(0, text_.find_first_not_of(ch));
  return *this;
}

QCString& QCString::TrimRight(wchar_t ch) {
  text_.erase(text_.find_last_not_of(ch) + 1);
  return *this;
}

QCString& QCString::Trim(wchar_t ch) { return TrimRight(ch).TrimLeft(ch); }

QCString& QCString::TrimLeftWhiteSpace() {
  text_.erase(text_.begin(), std::find_if_not(text_.begin(), text_.end(), ::IsWhiteSpace));
  return *this;
}

QCString& QCString::TrimWhiteSpace() {
  const auto last = std::find_if_not(text_.rbegin(), text_.rend(), ::IsWhiteSpace);
  text_.erase(last.base(), text_.end());
  return TrimLeftWhiteSpace();
}

std::size_t QCString::Remove(wchar_t ch) { return std::erase(text_, ch); }

std::size_t QCString::Replace(wchar_t from, wchar_t to) {
  std::size_t count = 0;
  for (wchar_t& ch : text_) {
    if (ch != from) continue;
    ch = to;
    ++count;
  }
  return count;
}

std::size_t QCString::Replace(std::wstring_view from, std::wstring_view to) {
  if (from.empty()) return 0;
  // Built beside the old text: `from` and `to` may be views of it, and the cost stays linear.
  std::wstring result;
  std::size_t count = 0;
  std::size_t copied = 0;
  for (std::size_t at = text_.find(from); at != npos; at = text_.find(from, copied)) {
    result.append(text_, copied, at - copied).append(to);
    copied = at + from.size();
    ++count;
  }
  if (count == 0) return 0;
  result.append(text_, copied, npos);
  text_ = std::move(result);
  return count;
}

QCString& QCString::MakeLower() {
  std::transform(text_.begin(), text_.end(), text_.begin(), ::ToLowerChar);
  return *this;
}

QCString QCString::ToLower() const {
  QCString copy(*this);
  return copy.MakeLower();
}

QCString& QCString::MakeUpper() {
  std::transform(text_.begin(), text_.end(), text_.begin(), ::ToUpperChar);
  return *this;
}

QCString QCString::ToUpper() const {
  QCString copy(*this);
  return copy.MakeUpper();
}
