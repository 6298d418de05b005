#include "hosts/terminal/settings_words.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "hosts/bench/edit_distance.h"
#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/console_words.h"
#include "hosts/terminal/setting_completion.h"
#include "hosts/terminal/setting_table.h"
#include "hosts/terminal/setting_value.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using Change = SettingsKeeper::Change;
using SetOutcome = SettingsKeeper::SetOutcome;

constexpr std::size_t kMostSlips = 2;
constexpr std::size_t kNearestNames = 3;
constexpr std::wstring_view kBlanks = L" \t";

// A name and what stands behind it.
std::pair<std::wstring_view, std::wstring_view> Split(std::wstring_view arguments) {
  const std::size_t blank = std::min(arguments.find_first_of(kBlanks), arguments.size());
  std::wstring_view rest = arguments.substr(blank);
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  return {arguments.substr(0, blank), rest};
}

std::string NameOf(const SettingRow& row) { return os::WideToUtf8(SettingName(row)); }

std::string ValueOf(const SettingRow& row, const ConsoleSettings& settings) {
  return ShownSetting(row, row.text(settings));
}

std::string Padded(std::string text, std::size_t widthChars) {
  text.resize(std::max(text.size(), widthChars), ' ');
  return text;
}

std::size_t WidestName() {
  std::size_t widest = 0;
  for (const SettingGroup& group : SettingGroups()) {
    for (const SettingRow& row : group.rows) widest = std::max(widest, NameOf(row).size());
  }
  return widest;
}

std::string Line(const SettingRow& row, const ConsoleSettings& settings) {
  static const std::size_t widthChars = WidestName();
  return Padded(NameOf(row), widthChars) + "  " + ValueOf(row, settings) + "\n";
}

std::string AllLines(const ConsoleSettings& settings) {
  std::string text;
  for (const SettingGroup& group : SettingGroups()) {
    text += std::string(group.title) + "\n";
    for (const SettingRow& row : group.rows) text += "  " + Line(row, settings);
  }
  return text;
}

// Notices are read by people, so that the document's marks of code are left out.
std::string EffectOf(const SettingRow& row) {
  std::string effect = row.effect;
  if (effect.empty()) return "desktop only: this console has no use for it";
  std::erase(effect, '`');
  return effect;
}

std::string Details(const SettingRow& row, const ConsoleSettings& settings) {
  return Line(row, settings) + "  takes " + AllowedText(row) + "\n  " + EffectOf(row) + "\n";
}

bool IsSame(std::wstring_view a, std::wstring_view b) {
  const auto fold = [](wchar_t ch) {
    return ch >= L'a' && ch <= L'z' ? static_cast<wchar_t>(ch - (L'a' - L'A')) : ch;
  };
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(),
                    [&fold](wchar_t x, wchar_t y) { return fold(x) == fold(y); });
}

bool BeginsWith(std::wstring_view text, std::wstring_view begin) {
  return text.size() >= begin.size() && IsSame(text.substr(0, begin.size()), begin);
}

// The rows of an element and of those below it.
std::vector<const SettingRow*> RowsBelow(std::wstring_view typed) {
  std::vector<const SettingRow*> rows;
  for (const SettingGroup& group : SettingGroups()) {
    for (const SettingRow& row : group.rows) {
      const std::wstring element = std::wstring(row.element) + L".";
      if (BeginsWith(element, std::wstring(typed) + L".")) rows.push_back(&row);
    }
  }
  for (const FoundSetting& part : rows.empty() ? FindKey(typed) : std::vector<FoundSetting>()) {
    rows.push_back(part.row);
  }
  return rows;
}

std::vector<std::string> NearNames(std::wstring_view typed) {
  std::vector<std::pair<std::size_t, std::string>> near;
  std::string folded = os::WideToUtf8(typed);
  for (char& ch : folded) {
    if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - ('a' - 'A'));
  }
  for (const std::wstring& name : SettingNames()) {
    const std::string candidate = os::WideToUtf8(name);
    const std::size_t slips = hostbench::EditDistance(folded, candidate, kMostSlips);
    if (slips <= kMostSlips) near.emplace_back(slips, candidate);
  }
  std::stable_sort(near.begin(), near.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> names;
  for (auto& [slips, name] : near) {
    if (names.size() < kNearestNames) names.push_back(std::move(name));
  }
  return names;
}

int Unknown(ConsoleContext& context, std::wstring_view name) {
  context.display.Notice(NoSuchSettingText(ShownLine(name)));
  const std::vector<std::string> names = NearNames(name);
  if (!names.empty()) context.display.Notice(NearestText(names));
  return kCommandFailed;
}

int Ambiguous(ConsoleContext& context, std::wstring_view name,
              const std::vector<FoundSetting>& found) {
  std::vector<std::string> names;
  for (const FoundSetting& one : found) names.push_back(NameOf(*one.row));
  context.display.Notice(AmbiguousSettingText(ShownLine(name), names));
  return kCommandFailed;
}

int Show(ConsoleContext& context, std::wstring_view name) {
  const ConsoleSettings& settings = *context.pump.News().settings;
  const std::vector<FoundSetting> found = FindSettings(name);
  if (found.size() == 1) {
    context.display.Answer(Details(*found.front().row, settings));
    return kDone;
  }
  if (!found.empty()) return Ambiguous(context, name, found);
  std::string text;
  for (const SettingRow* row : RowsBelow(name)) text += Line(*row, settings);
  if (text.empty()) return Unknown(context, name);
  context.display.Answer(text);
  return kDone;
}

// What a typed value changes: the attribute, or both of a key.
std::optional<std::vector<Change>> ChangesOf(const std::vector<FoundSetting>& rows,
                                             std::wstring_view value) {
  std::vector<Change> changes;
  for (const FoundSetting& found : rows) {
    const auto text = ParseSetting(*found.row, value);
    if (!text) return {};
    changes.push_back({found.row, *text});
  }
  return changes;
}

int Write(ConsoleContext& context, const SettingGroup& group, const std::vector<Change>& changes) {
  const auto set = [&group, changes](FacadeThread& here, ViewEvent& answer) {
    SettingsKeeper* const settings = here.Settings();
    const SetOutcome became =
        settings != nullptr ? settings->Set(group, changes) : SetOutcome::kNoSettings;
    if (became != SetOutcome::kNoSettings) here.SettingsChanged(became != SetOutcome::kNotSaved);
    answer.result = static_cast<std::uint32_t>(became);
  };
  ViewEvent reply;
  if (!context.runner.Ask(set, reply)) return kInterrupted;
  const auto outcome = static_cast<SetOutcome>(reply.result);
  if (outcome == SetOutcome::kNoSettings) {
    context.display.Notice(NoSettingsText());
    return kCommandFailed;
  }
  std::string text;
  for (const Change& change : changes) text += Line(*change.row, *context.pump.News().settings);
  context.display.Answer(text);
  if (outcome == SetOutcome::kSaved) return kDone;
  context.display.Notice(outcome == SetOutcome::kNotSaved ? SettingsNotSavedText()
                                                          : NotWrittenText());
  return kCommandFailed;
}

}  // namespace

int SetSetting(ConsoleContext& context, std::wstring_view arguments) {
  // Before they are loaded there is nothing to show; the answer comes behind them.
  ViewEvent loaded;
  if (!context.runner.Ask([](FacadeThread&, ViewEvent&) {}, loaded)) return kInterrupted;
  if (!context.pump.News().settings->areThere) {
    context.display.Notice(NoSettingsText());
    return kCommandFailed;
  }
  if (arguments.empty()) {
    context.display.Answer(AllLines(*context.pump.News().settings));
    return kDone;
  }
  const auto [name, value] = Split(arguments);
  if (value.empty()) return Show(context, name);
  std::vector<FoundSetting> found = FindSettings(name);
  if (found.size() > 1) return Ambiguous(context, name, found);
  if (found.empty()) found = FindKey(name);
  if (found.empty()) return Unknown(context, name);
  const auto changes = ChangesOf(found, value);
  if (!changes) {
    context.display.Notice(
        WrongValueText(ShownLine(name), AllowedText(*found.front().row), ShownLine(value)));
    return kCommandFailed;
  }
  return Write(context, *found.front().group, *changes);
}

std::vector<std::wstring> CompleteSetting(ConsoleContext& context, std::wstring_view arguments) {
  return SettingCompletions(*context.pump.News().settings, arguments);
}

}  // namespace kiv
