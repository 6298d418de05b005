#include "hosts/terminal/timing_word.h"

#include <optional>

#include "hosts/terminal/line_timing.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kUsualLines = 10;

// A number from 1 to the lines that are kept.
std::optional<std::size_t> ReadCount(std::wstring_view digits) {
  std::size_t count = 0;
  for (const wchar_t digit : digits) {
    if (digit < L'0' || digit > L'9') return std::nullopt;
    count = count * 10 + static_cast<std::size_t>(digit - L'0');
    if (count > LineTiming::kKept) return std::nullopt;
  }
  return count != 0 ? std::optional(count) : std::nullopt;
}

}  // namespace

int ShowTiming(ConsoleContext& context, std::wstring_view arguments) {
  const auto lines = arguments.empty() ? std::optional(kUsualLines) : ReadCount(arguments);
  if (!lines) {
    context.display.Notice("kiv: '" + ShownLine(arguments) + "' is no number from 1 to " +
                           std::to_string(LineTiming::kKept) + "\n");
    return kCommandFailed;
  }
  const std::string text = context.timing.Text(*lines);
  if (text.empty()) context.display.Notice("kiv: no line was answered yet\n");
  context.display.Answer(text);
  return kDone;
}

std::vector<std::wstring> CompleteTiming(ConsoleContext&, std::wstring_view arguments) {
  std::vector<std::wstring> counts;
  for (const wchar_t* count : {L"10", L"100", L"1000"}) {
    if (std::wstring_view(count).starts_with(arguments)) counts.emplace_back(count);
  }
  return counts;
}

}  // namespace kiv
