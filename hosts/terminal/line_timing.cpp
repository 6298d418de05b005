#include "hosts/terminal/line_timing.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "hosts/bench/caret_line.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr const char* kHeadings[] = {"posted", "first byte", "decoded", "shown", "total"};
constexpr std::size_t kLineCells = 24;
constexpr std::size_t kColumnChars = 11;  // with the blank in front
constexpr std::uint32_t kMedian = 500;
constexpr std::uint32_t kRare = 990;

std::size_t CellsOf(const std::string& text) { return hostbench::CellWidth(os::Utf8ToWide(text)); }

// What does not fit into the column ends with three dots.
std::string CutToColumn(const std::wstring& line) {
  constexpr std::wstring_view kDots = L"...";
  const std::string whole = ShownLine(line);
  if (CellsOf(whole) <= kLineCells) return whole;
  std::wstring cut(line, 0, kLineCells);
  while (CellsOf(ShownLine(cut)) > kLineCells - kDots.size()) cut.pop_back();
  return ShownLine(cut) + os::WideToUtf8(kDots);
}

void PadTo(std::string& text, std::size_t cells) {
  const std::size_t has = CellsOf(text);
  if (has < cells) text.append(cells - has, ' ');
}

void AddColumn(std::string& row, const std::string& text) {
  row.append(text.size() < kColumnChars ? kColumnChars - text.size() : 1, ' ').append(text);
}

}  // namespace

std::string DurationText(std::chrono::nanoseconds duration) {
  struct Unit {
    const char* name;
    double ns;
  };
  constexpr Unit kUnits[] = {{"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
  const auto ns = static_cast<double>(duration.count());
  const Unit* unit = kUnits;
  // What would be rounded up to four digits belongs to the next unit.
  while (unit + 1 != std::end(kUnits) && ns / unit->ns >= 999.5) ++unit;
  const double value = ns / unit->ns;
  const int decimals = unit == kUnits || value >= 99.95 ? 0 : value >= 9.995 ? 1 : 2;
  char text[48];
  std::snprintf(text, sizeof text, "%.*f %s", decimals, value, unit->name);
  return text;
}

LineTiming::Steps LineTiming::StepsOf(const FinishedLine& line) {
  const LineRecord& record = line.record;
  const std::optional<LineRecord::Time> moments[] = {line.typed, record.posted, record.firstByte,
                                                     record.decoded, line.shown};
  Steps steps;
  for (std::size_t i = 0; i < kTotal; ++i) {
    if (!moments[i + 1]) continue;
    // A moment that the line did not have is skipped: the step begins with the one before it.
    std::size_t from = i;
    while (!moments[from]) --from;
    steps[i] = std::max<Duration>(*moments[i + 1] - *moments[from], Duration(0));
  }
  steps[kTotal] = line.shown - line.typed;
  return steps;
}

void LineTiming::Add(const FinishedLine& line) {
  if (!line.record.posted || !line.record.decoded || line.isLoad) return;
  Kept kept{CutToColumn(line.text), StepsOf(line)};
  for (std::size_t i = 0; i < kStepCount; ++i) {
    if (kept.steps[i]) all_[i].Add(*kept.steps[i]);
  }
  kept_.push_back(std::move(kept));
  if (kept_.size() > kKept) kept_.pop_front();
}

std::string LineTiming::Text(std::size_t lines) const {
  if (kept_.empty()) return {};
  std::string text;
  const auto addRow = [&text](std::string row, const auto& column) {
    PadTo(row, kLineCells);
    for (std::size_t i = 0; i < kStepCount; ++i) AddColumn(row, column(i));
    text += row + "\n";
  };
  addRow("line", [](std::size_t i) { return std::string(kHeadings[i]); });
  const std::size_t first = kept_.size() - std::min(lines, kept_.size());
  for (std::size_t i = first; i < kept_.size(); ++i) {
    const Steps& steps = kept_[i].steps;
    addRow(kept_[i].line,
           [&steps](std::size_t step) { return steps[step] ? DurationText(*steps[step]) : "-"; });
  }
  const std::pair<const char*, std::uint32_t> quantiles[] = {{"p50", kMedian}, {"p99", kRare}};
  for (const auto& [name, perMille] : quantiles) {
    const std::string count = std::to_string(all_[kTotal].Count());
    addRow(std::string(name) + " of " + count, [this, perMille = perMille](std::size_t step) {
      const hostbench::LatencyHistogram& all = all_[step];
      return all.Count() != 0 ? DurationText(all.Quantile(perMille)) : "-";
    });
  }
  return text;
}

}  // namespace kiv
