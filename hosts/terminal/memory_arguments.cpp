#include "hosts/terminal/memory_arguments.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>

#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::wstring_view kBlanks = L" \t";

struct GroupName {
  std::wstring_view name;
  bool CarriedGroups::*group;
};
constexpr GroupName kGroups[] = {
    {L"keys", &CarriedGroups::keys},
    {L"favourites", &CarriedGroups::favourites},
    {L"shortcuts", &CarriedGroups::shortcuts},
};

constexpr std::wstring_view kFavouriteVerbs[] = {L"add", L"list", L"rm", L"run"};
constexpr std::wstring_view kKeyVerbs[] = {L"rm", L"run"};

void AddFitting(std::vector<std::wstring>& choices, std::wstring_view choice,
                std::wstring_view typed) {
  if (!choice.starts_with(typed)) return;
  if (std::find(choices.begin(), choices.end(), choice) == choices.end()) {
    choices.emplace_back(choice);
  }
}

// Whether what is typed goes beyond its first word.
bool HasRest(std::wstring_view arguments) {
  return arguments.find_first_of(kBlanks) != std::wstring_view::npos;
}

}  // namespace

FirstWordOf::FirstWordOf(std::wstring_view text) {
  const std::size_t blank = std::min(text.find_first_of(kBlanks), text.size());
  word = text.substr(0, blank);
  rest = text.substr(blank);
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
}

std::optional<std::size_t> NumberOf(std::wstring_view text) {
  if (text.empty() || text.find_first_not_of(L"0123456789") != text.npos) return std::nullopt;
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  std::size_t number = 0;
  for (const wchar_t figure : text) {
    if (number > (kMost - 9) / 10) return kMost;
    number = number * 10 + static_cast<std::size_t>(figure - L'0');
  }
  return number;
}

std::optional<std::size_t> KeyNumberOf(std::wstring_view text) {
  if (text.starts_with(L'F') || text.starts_with(L'f')) text.remove_prefix(1);
  const std::optional<std::size_t> number = NumberOf(text);
  if (!number || *number == 0 || *number > SvcKivSpace::kShortcutCommands) return std::nullopt;
  return number;
}

bool HasWords(std::wstring_view line, std::wstring_view words) {
  const QCString lowered = QCString(line).ToLower();
  for (FirstWordOf next(words); !next.word.empty(); next = FirstWordOf(next.rest)) {
    if (lowered.Find(QCString(next.word).ToLower().view()) == QCString::npos) return false;
  }
  return true;
}

std::string NumberedRows(const std::vector<std::wstring>& lines,
                         const std::vector<std::size_t>& wanted) {
  const std::size_t widthChars =
      wanted.empty() ? 0 : std::to_string(*std::max_element(wanted.begin(), wanted.end())).size();
  std::string rows;
  for (const std::size_t number : wanted) {
    const std::string digits = std::to_string(number);
    rows.append(widthChars - digits.size(), ' ').append(digits).append("  ");
    rows.append(ShownLine(lines[number - 1])).append("\n");
  }
  return rows;
}

std::vector<std::size_t> HistoryChoice(const std::vector<std::wstring>& lines,
                                       std::wstring_view arguments) {
  std::vector<std::size_t> numbers(lines.size());
  std::iota(numbers.begin(), numbers.end(), 1u);
  if (const std::optional<std::size_t> newest = NumberOf(arguments)) {
    const std::size_t dropped = lines.size() - std::min(*newest, lines.size());
    numbers.erase(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(dropped));
  } else {
    std::erase_if(numbers,
                  [&](std::size_t number) { return !HasWords(lines[number - 1], arguments); });
  }
  return numbers;
}

std::vector<std::size_t> FavouritesMeant(const std::vector<std::wstring>& favourites,
                                         std::wstring_view which) {
  if (const std::optional<std::size_t> number = NumberOf(which)) {
    if (*number == 0 || *number > favourites.size()) return {};
    return {*number};
  }
  std::vector<std::size_t> named;
  for (std::size_t i = 0; i < favourites.size(); ++i) {
    if (favourites[i] == which) return {i + 1};
    if (FirstWordOf(favourites[i]).word == which) named.push_back(i + 1);
  }
  return named;
}

CarriedFile::CarriedFile(std::wstring_view arguments) : path(arguments) {
  bool isAny = false;
  for (;;) {
    const FirstWordOf next(path);
    const auto* const group =
        std::find_if(std::begin(kGroups), std::end(kGroups),
                     [&next](const GroupName& row) { return row.name == next.word; });
    if (group == std::end(kGroups)) break;
    groups.*group->group = isAny = true;
    path = next.rest;
  }
  if (!isAny) groups = {true, true, true};
}

std::vector<std::wstring> FavouriteChoices(const std::vector<std::wstring>& favourites,
                                           std::wstring_view arguments) {
  std::vector<std::wstring> choices;
  if (!HasRest(arguments)) {
    for (const std::wstring_view verb : kFavouriteVerbs) AddFitting(choices, verb, arguments);
    return choices;
  }
  const FirstWordOf typed(arguments);
  if ((typed.word != L"run" && typed.word != L"rm") || HasRest(typed.rest)) return choices;
  for (std::size_t i = 0; i < favourites.size(); ++i) {
    AddFitting(choices, std::to_wstring(i + 1), typed.rest);
  }
  for (const std::wstring& line : favourites) {
    AddFitting(choices, FirstWordOf(line).word, typed.rest);
  }
  return choices;
}

std::vector<std::wstring> ShortcutKeyChoices(std::wstring_view arguments) {
  std::vector<std::wstring> choices;
  const FirstWordOf typed(arguments);
  const bool isVerb =
      std::find(std::begin(kKeyVerbs), std::end(kKeyVerbs), typed.word) != std::end(kKeyVerbs);
  if (HasRest(arguments) && (!isVerb || HasRest(typed.rest))) return choices;
  const std::wstring_view last = HasRest(arguments) ? typed.rest : arguments;
  for (std::size_t number = 1; number <= SvcKivSpace::kShortcutCommands; ++number) {
    AddFitting(choices, std::to_wstring(number), last);
  }
  if (HasRest(arguments)) return choices;
  for (const std::wstring_view verb : kKeyVerbs) AddFitting(choices, verb, last);
  return choices;
}

std::vector<std::wstring> GroupChoices(std::wstring_view arguments) {
  const std::size_t blank = arguments.find_last_of(kBlanks);
  const std::wstring_view last = blank == arguments.npos ? arguments : arguments.substr(blank + 1);
  std::vector<std::wstring> choices;
  // Behind a word that is no group there stands the path.
  const CarriedFile typed(arguments.substr(0, arguments.size() - last.size()));
  if (!typed.path.empty()) return choices;
  for (const GroupName& row : kGroups) AddFitting(choices, row.name, last);
  return choices;
}

}  // namespace kiv
