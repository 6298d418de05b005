#include "settings/setting_rows.h"

#include <array>

#include "settings/save_path.h"

namespace SvcKivClass {
namespace {

using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;
using SvcKivSpace::KivLineColour;
using SvcKivSpace::KivSettings;
using enum SettingUse;

template <auto... Members>
constexpr SettingField kSetting = FieldOf<&SettingsMemory::settings, Members...>();

// A switch is a reference in SettingsMemory, which has no pointer to member.
template <auto Switch>
constexpr SettingField kSwitch = {
    [](SettingsMemory& memory, std::wstring_view text) {
      setting_field::Take(memory.switches.*Switch, text);
    },
    [](SettingsMemory& memory) { return setting_field::Text(memory.switches.*Switch); },
    SettingForm::kInteger, 0};

template <auto Binding>
constexpr SettingField kKeyName = FieldOf<&SettingsMemory::keys, Binding, &KivKeyBinding::name>();
template <auto Binding>
constexpr SettingField kKeyValue = FieldOf<&SettingsMemory::keys, Binding, &KivKeyBinding::value>();

constexpr SettingRow kPopular[] = {
    {kSetting<&KivSettings::title>, kPopularElement, L"TITLE", kReadAndWritten, L"Kiv",
     "title of the console's window"},
    {kSetting<&KivSettings::showDevId>, kPopularElement, L"SHOW_DEV_ID", kReadAndWritten, L"1",
     "1: show the device's number"},
    {kSetting<&KivSettings::prompt>, kPopularElement, L"PROMPT", kReadAndWritten, L">",
     "prompt; an empty text is none"},
    {kSetting<&KivSettings::fontName>, kPopularElement, L"FONT_NAME", kReadAndWritten, L"Monospace",
     "font of the console"},
    {kSetting<&KivSettings::fontSize>, kPopularElement, L"FONT_SIZE", kReadAndWritten, L"10",
     "its size in points"},
    {kSetting<&KivSettings::dragBcfAutoRun>, kPopularElement, L"DRAG_BCF_AUTO_RUN", kReadAndWritten,
     L"0", "1: a batch file that is dropped on the console runs at once"},
    // These two are stored whether or not they are in the file: without them they take the number
    // of the text that was read last. Files of old consoles have neither and are shown by it.
    {kSwitch<&LiveSwitches::oneLineArrays>, kPopularElement, L"ACK_ARRAY_SHOW_ONELINE",
     kReadUnchecked, L"0", "1: an array of a reply stands on one line"},
    {kSwitch<&LiveSwitches::showType>, kPopularElement, L"ACK_SHOW_TYPE", kReadUnchecked, L"0",
     "1: a reply shows the types of its values"},
    {kSetting<&KivSettings::wordWrap>, kPopularElement, L"WORD_WRAP", kReadAndWritten, L"1",
     "1: long lines are wrapped"},
    {kSwitch<&LiveSwitches::indicationsEnabled>, kPopularElement, L"ENABLE_IND_CMD",
     kReadAndWritten, L"1", "1: indications are shown at any time"},
    {kSetting<&KivSettings::enableInstantIndCmd>, kPopularElement, L"ENABLE_INSTANT_IND_CMD",
     kReadAndWritten, L"1", "1: indications are shown for a while after a command"},
    {kSetting<&KivSettings::showMatchWin>, kPopularElement, L"SHOWMATCHWIN", kReadAndWritten, L"1",
     "1: matching commands are offered while typing"},
    {kSetting<&KivSettings::historyOn>, kPopularElement, L"HISTORY_CMD", kReadAndWritten, L"1",
     "1: typed lines are kept in the history"},
    {kSetting<&KivSettings::favouritesOn>, kPopularElement, L"FAVORATE_CMD", kReadAndWritten, L"1",
     "1: favourites are offered"},
    {kSetting<&KivSettings::autoLoadPara>, kPopularElement, L"AUTO_LOAD_PARA", kReadAndWritten,
     L"1", "1: a command that is chosen brings its last parameters"},
    {kSetting<&KivSettings::storeCmdPara>, kPopularElement, L"STORECMDPARA", kReadAndWritten, L"1",
     "1: parameters are kept with commands"},
    {kSetting<&KivSettings::displayTimeStamp>, kPopularElement, L"DISPLAYTIMESTAMP",
     kReadAndWritten, L"0", "1: lines begin with the time"},
    {kSetting<&KivSettings::hScroll>, kPopularElement, L"HSCROLL", kReadAndWritten, L"0",
     "1: a horizontal scroll bar"},
    // Read in front of EDIT_MAXLINE_NUMBER, written behind it.
    {kSetting<&KivSettings::displayLineNumber>, kPopularElement, L"DISPLAY_LINE_NUMBER", kReadOnly,
     L"1000", "how many lines the console shows"},
    {kSetting<&KivSettings::editMaxLineNumber>, kPopularElement, L"EDIT_MAXLINE_NUMBER",
     kReadAndWritten, L"10000", "how many lines the console keeps"},
    {kSetting<&KivSettings::displayLineNumber>, kPopularElement, L"DISPLAY_LINE_NUMBER",
     kWrittenOnly, nullptr, ""},
    {kSetting<&KivSettings::nvLoadFileMaxSizeBytes>, kPopularElement, kNvLoadFileMaxSizeAttribute,
     kReadOnly, L"16777216", "largest file that `ldnv` sends, in bytes"},
    {kSetting<&KivSettings::postCmdTimeoutMs>, L"DEBUG_INFO", L"POSTCMD_TIMEOUT", kReadAndWritten,
     L"5000", "how long `kiv` waits for an answer without `--wait`, in ms"},
};

constexpr SettingRow kColours[] = {
    {kSetting<&KivSettings::general, &KivLineColour::text>, L"COLOR.GENERAL", L"TEXT",
     kReadAndWritten, L"14737632", "everything that no other row names"},
    {kSetting<&KivSettings::general, &KivLineColour::background>, L"COLOR.GENERAL", L"BACKGROUND",
     kReadAndWritten, L"1973790", ""},
    {kSetting<&KivSettings::requestLine, &KivLineColour::text>, L"COLOR.REQUEST_LINE", L"TEXT",
     kReadAndWritten, L"16763010", "typed lines"},
    {kSetting<&KivSettings::requestLine, &KivLineColour::background>, L"COLOR.REQUEST_LINE",
     L"BACKGROUND", kReadAndWritten, L"1973790", ""},
    {kSetting<&KivSettings::activeLine, &KivLineColour::text>, L"COLOR.ACTIVE_LINE", L"TEXT",
     kReadAndWritten, L"16777215", "the line that is being typed"},
    {kSetting<&KivSettings::activeLine, &KivLineColour::background>, L"COLOR.ACTIVE_LINE",
     L"BACKGROUND", kReadAndWritten, L"3945005", ""},
    {kSetting<&KivSettings::responseLine, &KivLineColour::text>, L"COLOR.RESPONSE_LINE", L"TEXT",
     kReadAndWritten, L"12510920", "what the device answers"},
    {kSetting<&KivSettings::responseLine, &KivLineColour::background>, L"COLOR.RESPONSE_LINE",
     L"BACKGROUND", kReadAndWritten, L"1973790", ""},
    // No BACKGROUND: a highlighted line keeps that of the line it lies on, and files of older
    // consoles have none.
    {kSetting<&KivSettings::hiliteText>, L"COLOR.HILITE_LINE", L"TEXT", kReadAndWritten, L"6281215",
     "found text"},
};

// Element and attribute are spelt differently, in the files of every console so far.
constexpr SettingRow kAutoIntellisense[] = {
    {kSetting<&KivSettings::autoIntellisense>, L"AUTOINTELLISENCE", L"AUTO_INTELLISENSE",
     kReadAndWritten, L"1", "1: words are completed; without the attribute 1"},
};

constexpr SettingRow kClearScreen[] = {
    {kSetting<&KivSettings::clearScreen>, L"CLEARSCREEN", L"CLEAR_SCREEN", kReadAndWritten, L"0",
     "1: the console is cleared before each command"},
};

constexpr SettingRow kSave[] = {
    {kSetting<&KivSettings::autoSave>, L"SAVE", L"AUTO_SAVE", kReadAndWritten, L"0",
     "1: what the console shows is saved to a file"},
    {kSetting<&KivSettings::appendTime>, L"SAVE", L"APPEND_TIME", kReadAndWritten, L"1",
     "1: its lines begin with the date and the time"},
    {kPluginPathField, L"PLUGIN", L"NAME", kReadOnly, nullptr, "plug-in file"},
    {kSavePathField, L"SAVE", L"SAVE_PATH", kReadAndWritten, L"", "that file"},
};

constexpr SettingRow kKeyboard[] = {
    {kKeyName<&KivKeyBindings::repeatCmd>, L"KEYBOARD.REPEAT_CMD", L"NAME", kReadAndWritten, L"F3",
     "repeats the last command"},
    {kKeyValue<&KivKeyBindings::repeatCmd>, L"KEYBOARD.REPEAT_CMD", L"VALUE", kReadAndWritten,
     L"16777266", ""},
    {kKeyName<&KivKeyBindings::sendCmd>, L"KEYBOARD.SEND_CMD", L"NAME", kReadAndWritten, L"ENTER",
     "sends the typed line"},
    {kKeyValue<&KivKeyBindings::sendCmd>, L"KEYBOARD.SEND_CMD", L"VALUE", kReadAndWritten,
     L"16777220", ""},
    {kKeyName<&KivKeyBindings::listHistoryCmd>, L"KEYBOARD.LIST_HISTORY_CMD", L"NAME",
     kReadAndWritten, L"F2", "lists the history"},
    {kKeyValue<&KivKeyBindings::listHistoryCmd>, L"KEYBOARD.LIST_HISTORY_CMD", L"VALUE",
     kReadAndWritten, L"16777265", ""},
    {kKeyName<&KivKeyBindings::listRecentCmd>, L"KEYBOARD.LIST_RECENT_CMD", L"NAME",
     kReadAndWritten, L"CTRL+R", "lists the latest commands"},
    {kKeyValue<&KivKeyBindings::listRecentCmd>, L"KEYBOARD.LIST_RECENT_CMD", L"VALUE",
     kReadAndWritten, L"67108946", ""},
    {kKeyName<&KivKeyBindings::cancel>, L"KEYBOARD.CANCEL", L"NAME", kReadAndWritten, L"ESC",
     "gives up what is typed"},
    {kKeyValue<&KivKeyBindings::cancel>, L"KEYBOARD.CANCEL", L"VALUE", kReadAndWritten, L"16777216",
     ""},
    {kSetting<&KivSettings::specKey>, L"KEYBOARD", L"SPEC_KEY", kReadAndWritten, L"0",
     "1: the three below go to the device"},
    {kSetting<&KivSettings::ctrlC>, L"KEYBOARD", L"CTRLC", kReadAndWritten, L"1", "1: Ctrl-C"},
    {kSetting<&KivSettings::esc>, L"KEYBOARD", L"ESC", kReadAndWritten, L"1", "1: Esc"},
    {kSetting<&KivSettings::ctrlZ>, L"KEYBOARD", L"CTRLZ", kReadAndWritten, L"1", "1: Ctrl-Z"},
};

constexpr std::array<std::span<const SettingRow>, 6> kAll = {
    kPopular, kColours, kSave, kKeyboard, kAutoIntellisense, kClearScreen};

}  // namespace

std::span<const SettingRow> PopularRows() { return kPopular; }
std::span<const SettingRow> ColourRows() { return kColours; }
std::span<const SettingRow> SaveRows() { return kSave; }
std::span<const SettingRow> AutoIntellisenseRows() { return kAutoIntellisense; }
std::span<const SettingRow> ClearScreenRows() { return kClearScreen; }
std::span<const SettingRow> KeyboardRows() { return kKeyboard; }

std::span<const std::span<const SettingRow>> AllSettingRows() { return kAll; }

}  // namespace SvcKivClass
