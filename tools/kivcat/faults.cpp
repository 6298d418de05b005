#include "tools/kivcat/faults.h"

#include <algorithm>
#include <tuple>

#include "platform/text/shown_text.h"

namespace kivcat {
namespace {
constexpr std::size_t kMaxShown = 100;
}

void Faults::Error(SourcePlace place, std::string reason) {
  ++errorCount_;
  faults_.push_back({place, std::move(reason)});
}

void Faults::Warning(SourcePlace place, std::string reason) {
  faults_.push_back({place, "warning: " + std::move(reason)});
}

std::string Faults::Text() const { return Lines(true); }
std::string Faults::TextWithoutPlaces() const { return Lines(false); }

std::string Faults::Lines(bool withPlaces) const {
  std::vector<Fault> sorted = faults_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Fault& a, const Fault& b) {
    return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
  });
  // Names in it come from outside; a message stays on its line.
  const std::string fileName = ShownLine(fileName_);
  std::string text;
  for (std::size_t i = 0; i < std::min(sorted.size(), kMaxShown); ++i) {
    const Fault& fault = sorted[i];
    text += fileName + ":";
    if (withPlaces) {
      text += std::to_string(fault.place.line) + ":" + std::to_string(fault.place.column) + ":";
    }
    text += " " + ShownLine(fault.reason) + "\n";
  }
  if (sorted.size() > kMaxShown) {
    text += fileName + ": " + std::to_string(sorted.size() - kMaxShown) + " more\n";
  }
  return text;
}

}  // namespace kivcat
