// The table of settings as this console has them: one row for each attribute of the document, and
// for the console's own ones, with what may be typed for it and what it does here. `:set` walks it,
// docs/console.md is made from it, and a test compares it with the module's own table: what stands
// there stands here.
//
// Threads: any; constant. Errors: none.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_settings.h"

namespace kiv {

// Where the console keeps what no other host of the module has.
inline constexpr wchar_t kOwnElement[] = L"CONSOLE";
inline constexpr wchar_t kHexadecimalAttribute[] = L"HEXADECIMAL";
inline constexpr wchar_t kInstantIndTimeAttribute[] = L"INSTANT_IND_TIME";

// What a value is, and so what may be typed for it (setting_value.h).
enum class SettingKind {
  kSwitch,     // 0 or 1
  kNumber,     // least to most
  kColour,     // 0x00BBGGRR
  kCharacter,  // one, or none
  kText,       // at most `most` characters; 0: any number of them
  kKeyName,    // of a key, with the code of the same element
  kKeyCode,
};

struct SettingRow {
  const wchar_t* element;  // tag path below DEFAULT
  const wchar_t* attribute;
  SettingKind kind;
  std::int64_t least;
  std::int64_t most;
  // The value now, as the text of its attribute.
  std::wstring (*text)(const ConsoleSettings& settings);
  const char* effect;  // in this console; empty: desktop consoles alone have a use for it
};

// Settings that the module reads and writes together.
struct SettingGroup {
  using Operation = std::uint32_t (SvcKivSpace::CSVCKIVConfig::*)();

  const char* title;  // above its rows in a list
  Operation write;    // null: the module knows nothing of it
  Operation read;
  std::span<const SettingRow> rows;
};

// In the order of the document.
std::span<const SettingGroup> SettingGroups();

// The fewest parts of "ELEMENT.ATTRIBUTE", from its end, that no other row has.
std::wstring SettingName(const SettingRow& row);

struct FoundSetting {
  const SettingGroup* group;
  const SettingRow* row;
};
// The rows that `typed` names: any number of last parts of "ELEMENT.ATTRIBUTE", in any case.
std::vector<FoundSetting> FindSettings(std::wstring_view typed);
// The name and the code of the key that `typed` names as a whole ("REPEAT_CMD"), in this order;
// else none.
std::vector<FoundSetting> FindKey(std::wstring_view typed);
// All names: those of rows, and of keys as a whole, in the order of the table.
const std::vector<std::wstring>& SettingNames();

}  // namespace kiv
