#include "hosts/terminal/setting_table.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace kiv {
namespace {

using SvcKivSpace::CSVCKIVConfig;
using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;
using SvcKivSpace::KivLineColour;
using SvcKivSpace::KivSettings;

constexpr std::int64_t kMostInteger = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMostUnsigned = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kMostFontPoints = 1000;
constexpr std::int64_t kMostPathChars = SvcKivSpace::kSavePathBufferChars - 1;
constexpr char kDesktopOnly[] = "";

std::wstring Text(std::int32_t value) { return std::to_wstring(value); }
std::wstring Text(std::uint32_t value) { return std::to_wstring(value); }
std::wstring Text(wchar_t value) { return value == 0 ? std::wstring() : std::wstring(1, value); }
std::wstring Text(const QCString& value) { return value.str(); }
const std::wstring& Text(const std::wstring& value) { return value; }
template <std::size_t N>
std::wstring Text(const wchar_t (&value)[N]) {
  return std::wstring(value, std::find(value, value + N, L'\0'));
}

template <typename Object>
const Object& At(const Object& object) {
  return object;
}
template <typename Object, typename Member, typename... More>
const auto& At(const Object& object, Member member, More... more) {
  return At(object.*member, more...);
}

template <auto... Members>
std::wstring TextAt(const ConsoleSettings& settings) {
  return Text(At(settings, Members...));
}

template <auto... Members>
constexpr SettingRow Switch(const wchar_t* element, const wchar_t* attribute, const char* effect) {
  return {element, attribute, SettingKind::kSwitch, 0, 1, &TextAt<Members...>, effect};
}
template <auto Member>
constexpr SettingRow PopularSwitch(const wchar_t* attribute, const char* effect) {
  return Switch<&ConsoleSettings::values, Member>(L"POPULAR", attribute, effect);
}
template <auto... Members>
constexpr SettingRow Number(const wchar_t* element, const wchar_t* attribute, std::int64_t least,
                            std::int64_t most, const char* effect) {
  return {element, attribute, SettingKind::kNumber, least, most, &TextAt<Members...>, effect};
}
template <auto... Members>
constexpr SettingRow Limited(const wchar_t* element, const wchar_t* attribute,
                             std::int64_t mostChars, const char* effect) {
  return {element, attribute, SettingKind::kText, 0, mostChars, &TextAt<Members...>, effect};
}
template <auto... Members>
constexpr SettingRow Colour(const wchar_t* element, const wchar_t* attribute, const char* effect) {
  return {element,
          attribute,
          SettingKind::kColour,
          std::numeric_limits<std::int32_t>::min(),
          kMostInteger,
          &TextAt<&ConsoleSettings::values, Members...>,
          effect};
}
template <auto Binding>
constexpr SettingRow KeyName(const wchar_t* element, const char* effect) {
  return {element, L"NAME", SettingKind::kKeyName,
          0,       0,       &TextAt<&ConsoleSettings::keys, Binding, &KivKeyBinding::name>,
          effect};
}
template <auto Binding>
constexpr SettingRow KeyCode(const wchar_t* element, const char* effect) {
  return {element,
          L"VALUE",
          SettingKind::kKeyCode,
          std::numeric_limits<std::int32_t>::min(),
          kMostInteger,
          &TextAt<&ConsoleSettings::keys, Binding, &KivKeyBinding::value>,
          effect};
}

constexpr SettingRow kPopular[] = {
    Limited<&ConsoleSettings::values, &KivSettings::title>(
        L"POPULAR", L"TITLE", SvcKivSpace::kMaxTitleChars,
        "title of the terminal's window, while it is another one than `Kiv`"),
    PopularSwitch<&KivSettings::showDevId>(L"SHOW_DEV_ID", kDesktopOnly),
    {L"POPULAR", L"PROMPT", SettingKind::kCharacter, 0, 1,
     &TextAt<&ConsoleSettings::values, &KivSettings::prompt>,
     "stands behind `kiv` in the prompt; without it there is no prompt"},
    Limited<&ConsoleSettings::values, &KivSettings::fontName>(
        L"POPULAR", L"FONT_NAME", SvcKivSpace::kMaxShortTextChars, kDesktopOnly),
    Number<&ConsoleSettings::values, &KivSettings::fontSize>(L"POPULAR", L"FONT_SIZE", 1,
                                                             kMostFontPoints, kDesktopOnly),
    PopularSwitch<&KivSettings::dragBcfAutoRun>(L"DRAG_BCF_AUTO_RUN", kDesktopOnly),
    Switch<&ConsoleSettings::oneLineArrays>(L"POPULAR", L"ACK_ARRAY_SHOW_ONELINE",
                                            "1: an array of a reply stands on one line"),
    Switch<&ConsoleSettings::showType>(L"POPULAR", L"ACK_SHOW_TYPE",
                                       "1: a reply shows the types of its values"),
    PopularSwitch<&KivSettings::wordWrap>(L"WORD_WRAP", kDesktopOnly),
    Switch<&ConsoleSettings::indicationsEnabled>(L"POPULAR", L"ENABLE_IND_CMD",
                                                 "1: indications are shown at any time"),
    PopularSwitch<&KivSettings::enableInstantIndCmd>(
        L"ENABLE_INSTANT_IND_CMD", "1: they are shown for `INSTANT_IND_TIME` after a command"),
    PopularSwitch<&KivSettings::showMatchWin>(L"SHOWMATCHWIN", kDesktopOnly),
    PopularSwitch<&KivSettings::historyOn>(L"HISTORY_CMD", "1: typed lines go into the history"),
    PopularSwitch<&KivSettings::favouritesOn>(L"FAVORATE_CMD", "1: completion offers favourites"),
    PopularSwitch<&KivSettings::autoLoadPara>(L"AUTO_LOAD_PARA", kDesktopOnly),
    PopularSwitch<&KivSettings::storeCmdPara>(
        L"STORECMDPARA", "1: with what stands behind their first word; 0: without it"),
    PopularSwitch<&KivSettings::displayTimeStamp>(L"DISPLAYTIMESTAMP",
                                                  "1: lines that are shown begin with the time"),
    PopularSwitch<&KivSettings::hScroll>(L"HSCROLL", kDesktopOnly),
    Limited<&ConsoleSettings::values, &KivSettings::displayLineNumber>(
        L"POPULAR", L"DISPLAY_LINE_NUMBER", SvcKivSpace::kMaxShortTextChars, kDesktopOnly),
    Number<&ConsoleSettings::values, &KivSettings::editMaxLineNumber>(
        L"POPULAR", L"EDIT_MAXLINE_NUMBER", 0, kMostInteger, kDesktopOnly),
    Number<&ConsoleSettings::values, &KivSettings::nvLoadFileMaxSizeBytes>(
        L"POPULAR", L"NV_LOAD_FILE_MAX_SIZE", 0, kMostInteger,
        "largest file that `ldnv` sends, in bytes"),
    Number<&ConsoleSettings::values, &KivSettings::postCmdTimeoutMs>(
        L"DEBUG_INFO", L"POSTCMD_TIMEOUT", 0, kMostUnsigned,
        "how long an answer is waited for without `--wait`, in ms; 0: 5000"),
};

constexpr SettingRow kColours[] = {
    Colour<&KivSettings::general, &KivLineColour::text>(
        L"COLOR.GENERAL", L"TEXT", "texts that no other row names, with the console's own answers"),
    Colour<&KivSettings::general, &KivLineColour::background>(L"COLOR.GENERAL", L"BACKGROUND",
                                                              "behind it"),
    Colour<&KivSettings::requestLine, &KivLineColour::text>(
        L"COLOR.REQUEST_LINE", L"TEXT", "input parameters of a line that was sent"),
    Colour<&KivSettings::requestLine, &KivLineColour::background>(L"COLOR.REQUEST_LINE",
                                                                  L"BACKGROUND", "behind them"),
    Colour<&KivSettings::activeLine, &KivLineColour::text>(
        L"COLOR.ACTIVE_LINE", L"TEXT", "the line under edit, and as it was typed"),
    Colour<&KivSettings::activeLine, &KivLineColour::background>(L"COLOR.ACTIVE_LINE",
                                                                 L"BACKGROUND", "behind it"),
    Colour<&KivSettings::responseLine, &KivLineColour::text>(L"COLOR.RESPONSE_LINE", L"TEXT",
                                                             "confirmations"),
    Colour<&KivSettings::responseLine, &KivLineColour::background>(L"COLOR.RESPONSE_LINE",
                                                                   L"BACKGROUND", "behind it"),
    Colour<&KivSettings::hiliteText>(L"COLOR.HILITE_LINE", L"TEXT",
                                     "indications, and what `:grep` found"),
};

constexpr SettingRow kSave[] = {
    Switch<&ConsoleSettings::values, &KivSettings::autoSave>(
        L"SAVE", L"AUTO_SAVE", "1: what is shown is written to a file, too"),
    Switch<&ConsoleSettings::values, &KivSettings::appendTime>(
        L"SAVE", L"APPEND_TIME", "1: its lines begin with date and time"),
    Limited<&ConsoleSettings::storedPluginPath>(L"PLUGIN", L"NAME", 0, kDesktopOnly),
    Limited<&ConsoleSettings::storedSavePath>(
        L"SAVE", L"SAVE_PATH", kMostPathChars,
        "that file, relative to the data directory; without it `kiv.txt` there"),
};

constexpr SettingRow kKeyboard[] = {
    KeyName<&KivKeyBindings::repeatCmd>(L"KEYBOARD.REPEAT_CMD", "repeats the last line"),
    KeyCode<&KivKeyBindings::repeatCmd>(L"KEYBOARD.REPEAT_CMD", "its code"),
    KeyName<&KivKeyBindings::sendCmd>(L"KEYBOARD.SEND_CMD", "sends the line under edit"),
    KeyCode<&KivKeyBindings::sendCmd>(L"KEYBOARD.SEND_CMD", "its code"),
    KeyName<&KivKeyBindings::listHistoryCmd>(L"KEYBOARD.LIST_HISTORY_CMD", "lists the history"),
    KeyCode<&KivKeyBindings::listHistoryCmd>(L"KEYBOARD.LIST_HISTORY_CMD", "its code"),
    KeyName<&KivKeyBindings::listRecentCmd>(L"KEYBOARD.LIST_RECENT_CMD",
                                            "lists the latest lines; CTRL+R searches them"),
    KeyCode<&KivKeyBindings::listRecentCmd>(L"KEYBOARD.LIST_RECENT_CMD", "its code"),
    KeyName<&KivKeyBindings::cancel>(L"KEYBOARD.CANCEL", "drops the line under edit"),
    KeyCode<&KivKeyBindings::cancel>(L"KEYBOARD.CANCEL", "its code"),
    Switch<&ConsoleSettings::values, &KivSettings::specKey>(L"KEYBOARD", L"SPEC_KEY", kDesktopOnly),
    Switch<&ConsoleSettings::values, &KivSettings::ctrlC>(L"KEYBOARD", L"CTRLC", kDesktopOnly),
    Switch<&ConsoleSettings::values, &KivSettings::esc>(L"KEYBOARD", L"ESC", kDesktopOnly),
    Switch<&ConsoleSettings::values, &KivSettings::ctrlZ>(L"KEYBOARD", L"CTRLZ", kDesktopOnly),
};

constexpr SettingRow kAutoIntellisense[] = {
    Switch<&ConsoleSettings::values, &KivSettings::autoIntellisense>(
        L"AUTOINTELLISENCE", L"AUTO_INTELLISENSE", kDesktopOnly),
};

constexpr SettingRow kClearScreen[] = {
    Switch<&ConsoleSettings::values, &KivSettings::clearScreen>(
        L"CLEARSCREEN", L"CLEAR_SCREEN", "1: the terminal is cleared before each typed line runs"),
};

constexpr SettingRow kOwn[] = {
    Switch<&ConsoleSettings::hexadecimal>(kOwnElement, kHexadecimalAttribute,
                                          "1: numbers of replies are shown in hexadecimal"),
    Number<&ConsoleSettings::instantIndMs>(kOwnElement, kInstantIndTimeAttribute, 0, kMostInteger,
                                           "how long indications are shown after a command, in ms"),
};

constexpr SettingGroup kGroups[] = {
    {"Popular", &CSVCKIVConfig::WritePopular, &CSVCKIVConfig::ReadPopular, kPopular},
    {"Colours", &CSVCKIVConfig::WriteColours, &CSVCKIVConfig::ReadColours, kColours},
    {"Saving", &CSVCKIVConfig::WriteSave, &CSVCKIVConfig::ReadSave, kSave},
    {"Keyboard", &CSVCKIVConfig::WriteKeyboard, &CSVCKIVConfig::ReadKeyboard, kKeyboard},
    {"Completion", &CSVCKIVConfig::WriteAutoIntellisense, &CSVCKIVConfig::ReadAutoIntellisense,
     kAutoIntellisense},
    {"Screen", &CSVCKIVConfig::WriteClearScreen, &CSVCKIVConfig::ReadClearScreen, kClearScreen},
    {"This console's own", nullptr, nullptr, kOwn},
};

std::wstring FullName(const SettingRow& row) {
  return std::wstring(row.element) + L"." + row.attribute;
}

std::wstring Upper(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& ch : upper) {
    if (ch >= L'a' && ch <= L'z') ch = static_cast<wchar_t>(ch - (L'a' - L'A'));
  }
  return upper;
}

// Whether `parts` are last parts of the name, not of one of its parts.
bool IsTail(std::wstring_view name, std::wstring_view parts) {
  if (parts.empty() || !name.ends_with(parts)) return false;
  return name.size() == parts.size() || name[name.size() - parts.size() - 1] == L'.';
}

template <typename Look>
void ForEachRow(const Look& look) {
  for (const SettingGroup& group : kGroups) {
    for (const SettingRow& row : group.rows) look(group, row);
  }
}

// A key as a whole stands in front of its two parts.
std::vector<std::wstring> AllNames() {
  std::vector<std::wstring> names;
  ForEachRow([&names](const SettingGroup&, const SettingRow& row) {
    const std::wstring_view element = row.element;
    if (row.kind == SettingKind::kKeyName) {
      names.emplace_back(element.substr(element.rfind(L'.') + 1));
    }
    names.push_back(SettingName(row));
  });
  return names;
}

}  // namespace

std::span<const SettingGroup> SettingGroups() { return kGroups; }

std::vector<FoundSetting> FindSettings(std::wstring_view typed) {
  const std::wstring parts = Upper(typed);
  std::vector<FoundSetting> found;
  ForEachRow([&](const SettingGroup& group, const SettingRow& row) {
    if (IsTail(FullName(row), parts)) found.push_back({&group, &row});
  });
  return found;
}

std::vector<FoundSetting> FindKey(std::wstring_view typed) {
  const std::wstring parts = Upper(typed);
  std::vector<FoundSetting> found;
  ForEachRow([&](const SettingGroup& group, const SettingRow& row) {
    const bool isKey = row.kind == SettingKind::kKeyName || row.kind == SettingKind::kKeyCode;
    if (isKey && IsTail(row.element, parts)) found.push_back({&group, &row});
  });
  return found;
}

std::wstring SettingName(const SettingRow& row) {
  const std::wstring full = FullName(row);
  std::size_t dot = full.rfind(L'.');
  while (dot != std::wstring::npos && FindSettings(full.substr(dot + 1)).size() > 1) {
    dot = full.rfind(L'.', dot - 1);
  }
  return dot == std::wstring::npos ? full : full.substr(dot + 1);
}

const std::vector<std::wstring>& SettingNames() {
  static const std::vector<std::wstring> kNames = AllNames();
  return kNames;
}

}  // namespace kiv
