// Values of settings as they are typed and shown. What is shown, typed again, gives the same value.
//
//   switch     0 or 1; off and on
//   number     decimal, or hexadecimal behind 0x
//   colour     #RRGGBB, or the document's number
//   texts      as they are; in quotation marks where they are empty, begin or end with a blank, or
//              have characters that cannot be seen, with \" \\ \n \t \xHH \uHHHH \UHHHHHHHH
//
// Threads: any; no state. Errors: what may not be typed is said by AllowedText.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/setting_table.h"

namespace kiv {

// The text of the attribute; unset where `typed` is none of what the row allows.
std::optional<std::wstring> ParseSetting(const SettingRow& row, std::wstring_view typed);
// One line, whatever the text is.
std::string ShownSetting(const SettingRow& row, std::wstring_view text);
// What may be typed, for people: "0 or 1", "a number from 1 to 1000".
std::string AllowedText(const SettingRow& row);
// What may be typed where that is a list; else none.
std::vector<std::wstring> AllowedValues(const SettingRow& row);

}  // namespace kiv
