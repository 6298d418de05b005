// SettingField: how one value in memory becomes the text of an attribute, and back. The form
// follows from the type of the member that a field names, so a row of setting_rows.h cannot give a
// number the form of a text.
//
//   std::int32_t (also atomic)  decimal with a sign
//   std::uint32_t               decimal, 0 to 4294967295
//   wchar_t                     the text's first character; none is 0
//   wchar_t[N]                  a text, cut to N - 1 characters
//   QCString                    a text of any length
//
// Threads: the facade's. Errors: none.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "platform/text/qc_string.h"
#include "settings/settings_memory.h"

namespace SvcKivClass {

// What is shown of a value's form in docs/settings.md.
enum class SettingForm { kInteger, kUnsigned, kCharacter, kText, kPath };

// Both directions of one value, and its form.
struct SettingField {
  void (*take)(SettingsMemory& memory, std::wstring_view text);
  QCString (*text)(SettingsMemory& memory);
  SettingForm form;
  std::size_t limitChars;  // of a text; 0: any length
};

namespace setting_field {

void Take(std::int32_t& value, std::wstring_view text);
void Take(std::atomic<std::int32_t>& value, std::wstring_view text);
void Take(std::uint32_t& value, std::wstring_view text);
void Take(wchar_t& value, std::wstring_view text);
void Take(QCString& value, std::wstring_view text);
// Copies what fits beside the terminator.
void TakeBounded(wchar_t* buffer, std::size_t bufferChars, std::wstring_view text);
template <std::size_t N>
void Take(wchar_t (&value)[N], std::wstring_view text) {
  TakeBounded(value, N, text);
}

QCString Text(std::int32_t value);
QCString Text(const std::atomic<std::int32_t>& value);
QCString Text(std::uint32_t value);
QCString Text(wchar_t value);
inline QCString Text(const QCString& value) { return value; }
// Up to the terminator, or to the buffer's end when a host wrote none.
QCString BoundedText(const wchar_t* buffer, std::size_t bufferChars);
template <std::size_t N>
QCString Text(const wchar_t (&value)[N]) {
  return BoundedText(value, N);
}

template <typename Value>
constexpr SettingForm FormOf() {
  if constexpr (std::is_same_v<Value, std::uint32_t>) {
    return SettingForm::kUnsigned;
  } else if constexpr (std::is_same_v<Value, wchar_t>) {
    return SettingForm::kCharacter;
  } else if constexpr (std::is_array_v<Value> || std::is_same_v<Value, QCString>) {
    return SettingForm::kText;
  } else {
    return SettingForm::kInteger;
  }
}

// The value at the end of a chain of members.
template <typename Object>
Object& At(Object& object) {
  return object;
}
template <typename Object, typename Member, typename... More>
auto& At(Object& object, Member member, More... more) {
  return At(object.*member, more...);
}

}  // namespace setting_field

// The field at a chain of members that begins in SettingsMemory.
template <auto... Members>
constexpr SettingField FieldOf() {
  using Value = std::remove_reference_t<decltype(setting_field::At(std::declval<SettingsMemory&>(),
                                                                   Members...))>;
  return {[](SettingsMemory& memory, std::wstring_view text) {
            setting_field::Take(setting_field::At(memory, Members...), text);
          },
          [](SettingsMemory& memory) {
            return setting_field::Text(setting_field::At(memory, Members...));
          },
          setting_field::FormOf<Value>(),
          std::is_array_v<Value> ? std::extent_v<Value> - 1 : std::size_t{0}};
}

}  // namespace SvcKivClass
