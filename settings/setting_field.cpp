#include "settings/setting_field.h"

#include <algorithm>
#include <string>

#include "settings/setting_number.h"

namespace SvcKivClass::setting_field {

void Take(std::int32_t& value, std::wstring_view text) { value = SettingInteger(text); }

void Take(std::atomic<std::int32_t>& value, std::wstring_view text) {
  value.store(SettingInteger(text), std::memory_order_relaxed);
}

void Take(std::uint32_t& value, std::wstring_view text) { value = SettingUnsigned(text); }

void Take(wchar_t& value, std::wstring_view text) { value = text.empty() ? L'\0' : text.front(); }

void Take(QCString& value, std::wstring_view text) { value = QCString(text); }

void TakeBounded(wchar_t* buffer, std::size_t bufferChars, std::wstring_view text) {
  const std::size_t lengthChars = std::min(text.size(), bufferChars - 1);
  std::copy_n(text.begin(), lengthChars, buffer);
  buffer[lengthChars] = L'\0';
}

QCString Text(std::int32_t value) { return QCString(std::to_wstring(value)); }

QCString Text(const std::atomic<std::int32_t>& value) {
  return Text(value.load(std::memory_order_relaxed));
}

QCString Text(std::uint32_t value) { return QCString(std::to_wstring(value)); }

QCString Text(wchar_t value) { return value == L'\0' ? QCString() : QCString(&value, 1); }

QCString BoundedText(const wchar_t* buffer, std::size_t bufferChars) {
  return QCString(
      buffer, static_cast<std::size_t>(std::find(buffer, buffer + bufferChars, L'\0') - buffer));
}

}  // namespace SvcKivClass::setting_field
