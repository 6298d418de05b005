#include "hosts/terminal/setting_completion.h"

#include <algorithm>

#include "hosts/terminal/setting_table.h"
#include "hosts/terminal/setting_value.h"
#include "platform/os/utf8.h"

namespace kiv {
namespace {

constexpr std::wstring_view kBlanks = L" \t";

wchar_t Folded(wchar_t ch) {
  return ch >= L'a' && ch <= L'z' ? static_cast<wchar_t>(ch - (L'a' - L'A')) : ch;
}

bool BeginsWith(std::wstring_view text, std::wstring_view begin) {
  return text.size() >= begin.size() &&
         std::equal(begin.begin(), begin.end(), text.begin(),
                    [](wchar_t a, wchar_t b) { return Folded(a) == Folded(b); });
}

std::vector<std::wstring> ValuesOf(const ConsoleSettings& settings, std::wstring_view name) {
  std::vector<FoundSetting> found = FindSettings(name);
  if (found.empty()) found = FindKey(name);
  if (found.empty()) return {};
  const SettingRow& row = *found.front().row;
  std::vector<std::wstring> values = AllowedValues(row);
  if (!values.empty()) return values;
  const std::wstring now = os::Utf8ToWide(ShownSetting(row, row.text(settings)));
  // What has a blank in it is several arguments.
  if (now.find_first_of(kBlanks) != now.npos) return {};
  return {now};
}

// With all their parts.
std::vector<std::wstring> FullNames() {
  std::vector<std::wstring> names;
  for (const SettingGroup& group : SettingGroups()) {
    for (const SettingRow& row : group.rows) {
      names.push_back(std::wstring(row.element) + L"." + row.attribute);
    }
  }
  return names;
}

void KeepThoseOf(std::wstring_view begin, std::vector<std::wstring>& all) {
  std::erase_if(all, [begin](const std::wstring& one) { return !BeginsWith(one, begin); });
}

}  // namespace

std::vector<std::wstring> SettingCompletions(const ConsoleSettings& settings,
                                             std::wstring_view arguments) {
  const std::size_t blank = arguments.find_first_of(kBlanks);
  const bool isName = blank == arguments.npos;
  std::wstring_view last = arguments;
  if (!isName) {
    last.remove_prefix(std::min(arguments.find_first_not_of(kBlanks, blank), arguments.size()));
    if (last.find_first_of(kBlanks) != last.npos) return {};  // a text of several words
  }
  std::vector<std::wstring> all =
      isName ? SettingNames() : ValuesOf(settings, arguments.substr(0, blank));
  KeepThoseOf(last, all);
  if (!isName || !all.empty()) return all;
  all = FullNames();
  KeepThoseOf(last, all);
  return all;
}

}  // namespace kiv
