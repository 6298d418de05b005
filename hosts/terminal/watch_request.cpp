#include "hosts/terminal/watch_request.h"

#include <algorithm>

#include "hosts/terminal/console_texts.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using std::chrono::milliseconds;

constexpr std::wstring_view kBlanks = L" \t";

struct Unit {
  std::wstring_view name;
  milliseconds length;
};
constexpr Unit kUnits[] = {
    {L"ms", milliseconds(1)}, {L"s", std::chrono::seconds(1)}, {L"m", std::chrono::minutes(1)}};

std::wstring_view WithoutEndBlanks(std::wstring_view text) {
  return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Takes the last word off; the word may be all there is.
std::wstring_view TakeLast(std::wstring_view& text) {
  text = WithoutEndBlanks(text);
  const std::size_t blank = text.find_last_of(kBlanks);
  const std::size_t begin = blank == std::wstring_view::npos ? 0 : blank + 1;
  const std::wstring_view word = text.substr(begin);
  text = WithoutEndBlanks(text.substr(0, begin));
  return word;
}

// Digits alone, at most `most`.
std::optional<std::uint64_t> ReadNumber(std::wstring_view digits, std::uint64_t most) {
  std::uint64_t number = 0;
  for (const wchar_t digit : digits) {
    if (digit < L'0' || digit > L'9') return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(digit - L'0');
    if (number > most) return std::nullopt;
  }
  return digits.empty() ? std::nullopt : std::optional(number);
}

std::optional<milliseconds> ReadStep(std::wstring_view text) {
  const std::size_t digits = std::min(text.find_first_not_of(L"0123456789"), text.size());
  const auto number = ReadNumber(text.substr(0, digits),
                                 static_cast<std::uint64_t>(WatchRequest::kLongestStep.count()));
  const auto unit =
      std::find_if(std::begin(kUnits), std::end(kUnits),
                   [name = text.substr(digits)](const Unit& row) { return row.name == name; });
  if (!number || unit == std::end(kUnits)) return std::nullopt;
  const milliseconds step = static_cast<std::int64_t>(*number) * unit->length;
  if (step < WatchRequest::kShortestStep || step > WatchRequest::kLongestStep) return std::nullopt;
  return step;
}

}  // namespace

std::optional<std::string> ReadWatchRequest(std::wstring_view arguments, WatchRequest& request) {
  bool hasStep = false;
  std::wstring_view line = arguments;
  for (;;) {
    std::wstring_view rest = line;
    const std::wstring_view last = TakeLast(rest);
    if (last == L"every" && !rest.empty()) return "no time behind 'every', such as 500ms or 1s";
    const std::wstring_view before = TakeLast(rest);
    if (before == L"every" && !hasStep) {
      const auto step = ReadStep(last);
      if (!step) {
        return "'" + Cut(ShownLine(last)) + "' is no time from 100ms to 24h in ms, s or m";
      }
      request.step = *step;
      hasStep = true;
    } else if (last == L"times" && !request.times && !before.empty()) {
      request.times = ReadNumber(before, WatchRequest::kMostTimes);
      if (!request.times || *request.times == 0) {
        return "'" + Cut(ShownLine(before)) + "' is no number from 1 to " +
               std::to_string(WatchRequest::kMostTimes);
      }
    } else {
      break;
    }
    line = rest;
  }
  request.line = WithoutEndBlanks(line);
  if (request.line.empty()) return "no line to watch";
  return std::nullopt;
}

std::string StepText(milliseconds step) {
  const Unit* unit = std::begin(kUnits);
  for (const Unit& candidate : kUnits) {
    if (step % candidate.length == milliseconds(0)) unit = &candidate;
  }
  return std::to_string(step / unit->length) + std::string(unit->name.begin(), unit->name.end());
}

}  // namespace kiv
