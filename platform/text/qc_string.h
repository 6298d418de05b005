// QCString: the wide-character string that the module, its hosts and the support layer exchange.
//
// Holds wchar_t whatever its width on the system; every length and position counts wchar_t. The
// 8-bit code page is UTF-8 always, whatever the process's locale says: what is not UTF-8 becomes
// U+FFFD.
//
// Threads: a value type; one object is for one thread at a time.
// Owns its characters. A pointer from c_str() lives until the next change of the string.
// Errors: positions beyond the end are clamped; nothing throws but std::bad_alloc.
#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/platform_export.h"

// A value; see the head of this file for positions and the code page.
class KIVPLATFORM_API QCString {
 public:
  static constexpr std::size_t npos = std::wstring::npos;

  QCString() = default;
  // A null pointer gives the empty string. Not explicit: texts are passed as literals everywhere.
  QCString(const wchar_t* text);  // NOLINT(google-explicit-constructor)
  QCString(const wchar_t* text, std::size_t lengthChars);
  explicit QCString(std::wstring text) noexcept : text_(std::move(text)) {}
  explicit QCString(std::wstring_view text) : text_(text) {}

  // Invalid bytes become U+FFFD, one for each maximal broken part; never fails.
  static QCString FromUtf8(std::string_view bytes);
  // Lone surrogates and values beyond U+10FFFF become U+FFFD.
  std::string ToUtf8() const;

  // The text in the 8-bit code page, in a zero-terminated buffer from PoolMalloc that the caller
  // releases with PoolFree; null when the pool has none or the copy fails. `lengthBytes` (may be
  // null) gets the length without the terminator, and is left alone after a failure.
  char* UnicodeToAnsi(std::size_t* lengthBytes = nullptr) const;
  // The reverse of UnicodeToAnsi for a zero-terminated text; null gives the empty string.
  static QCString AnsiToUnicode(const char* text);

  const wchar_t* c_str() const noexcept { return text_.c_str(); }
  std::wstring_view view() const noexcept { return text_; }
  const std::wstring& str() const noexcept { return text_; }

  std::size_t GetLength() const noexcept { return text_.size(); }  // in wchar_t
  bool IsEmpty() const noexcept { return text_.empty(); }
  void Empty() noexcept { text_.clear(); }
  void Reserve(std::size_t lengthChars) { text_.reserve(lengthChars); }
  // 0 beyond the end.
  wchar_t GetAt(std::size_t index) const noexcept {
    return index < text_.size() ? text_[index] : L'\0';
  }
  wchar_t operator[](std::size_t index) const noexcept { return GetAt(index); }

  QCString& operator+=(const QCString& other);
  QCString& operator+=(const wchar_t* other);
  QCString& operator+=(wchar_t ch);
  QCString& Append(std::wstring_view other);

  // All searches answer npos for "not there".
  std::size_t Find(wchar_t ch, std::size_t from = 0) const noexcept { return text_.find(ch, from); }
  std::size_t Find(std::wstring_view what, std::size_t from = 0) const noexcept {
    return text_.find(what, from);
  }
  std::size_t ReverseFind(wchar_t ch) const noexcept { return text_.rfind(ch); }
  std::size_t ReverseFind(std::wstring_view what) const noexcept { return text_.rfind(what); }
  bool StartsWith(std::wstring_view what) const noexcept { return text_.starts_with(what); }
  bool EndsWith(std::wstring_view what) const noexcept { return text_.ends_with(what); }

  QCString Left(std::size_t countChars) const;
  QCString Right(std::size_t countChars) const;
  QCString Mid(std::size_t from, std::size_t countChars = npos) const;

  // Remove every leading or trailing `ch`, in place.
  QCString& TrimLeft(wchar_t ch = L' ');
  QCString& TrimRight(wchar_t ch = L' ');
  QCString& Trim(wchar_t ch = L' ');
  // Remove leading or trailing Unicode white space, in place.
  QCString& TrimLeftWhiteSpace();
  QCString& TrimWhiteSpace();

  // Removes every `ch`; answers how many there were.
  std::size_t Remove(wchar_t ch);
  // Replaces from left to right in one pass (what a replacement brings in is not searched again);
  // answers how many were replaced. An empty `from` is found nowhere.
  std::size_t Replace(wchar_t from, wchar_t to);
  std::size_t Replace(std::wstring_view from, std::wstring_view to);

  // Per character, length-preserving and independent of the locale, so a position found in the
  // lowered copy is the position in the original (QString::toLower does not promise that).
  QCString& MakeLower();
  QCString ToLower() const;
  QCString& MakeUpper();
  QCString ToUpper() const;

  friend bool operator==(const QCString& a, const QCString& b) noexcept {
    return a.text_ == b.text_;
  }
  friend bool operator==(const QCString& a, const wchar_t* b) noexcept {
    return a.text_ == (b != nullptr ? b : L"");
  }
  friend auto operator<=>(const QCString& a, const QCString& b) noexcept {
    return a.text_ <=> b.text_;
  }
  friend QCString operator+(QCString a, const QCString& b) { return std::move(a += b); }
  friend QCString operator+(QCString a, const wchar_t* b) { return std::move(a += b); }
  friend QCString operator+(const wchar_t* a, const QCString& b) { return QCString(a) += b; }

 private:
  std::wstring text_;
};

// One character's lower and upper case by Unicode's simple (one to one) mapping; others unchanged.
KIVPLATFORM_API wchar_t ToLowerChar(wchar_t ch) noexcept;
KIVPLATFORM_API wchar_t ToUpperChar(wchar_t ch) noexcept;
// Unicode's White_Space property.
KIVPLATFORM_API bool IsWhiteSpace(wchar_t ch) noexcept;
