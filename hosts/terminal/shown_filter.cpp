#include "hosts/terminal/shown_filter.h"

#include <algorithm>
#include <utility>

namespace kiv {

void ShownFilter::ShowIndications(bool all) {
  indications_ = all ? Indications::kAll : Indications::kNone;
  named_.clear();
}

void ShownFilter::ShowOnly(std::uint32_t cmdId) {
  indications_ = Indications::kNamed;
  named_.insert(cmdId);
}

bool ShownFilter::Unmute(ShownKind channel) {
  return std::exchange(muted_[static_cast<std::size_t>(channel)], false);
}

void ShownFilter::UnmuteAll() {
  mutedIds_.clear();
  muted_ = {};
}

bool ShownFilter::FiltersChannels() const {
  return pattern_ != nullptr ||
         std::any_of(muted_.begin(), muted_.end(), [](bool isMuted) { return isMuted; });
}

bool ShownFilter::IsWanted(std::uint32_t cmdId) const {
  if (mutedIds_.contains(cmdId)) return false;
  if (indications_ == Indications::kNamed) return named_.contains(cmdId);
  return indications_ == Indications::kAll;
}

std::string ShownFilter::Indication(std::uint32_t cmdId, std::string text) {
  if (!IsWanted(cmdId)) {
    ++hiddenIds_[cmdId];
    return {};
  }
  return Found(std::move(text));
}

std::string ShownFilter::Lines(ShownKind channel, std::string lines) {
  if (!IsMuted(channel)) return Found(std::move(lines));
  const auto ends = std::count(lines.begin(), lines.end(), '\n');
  const bool isOpen = !lines.empty() && lines.back() != '\n';
  hidden_[static_cast<std::size_t>(channel)] += static_cast<std::uint64_t>(ends) + (isOpen ? 1 : 0);
  return {};
}

std::string ShownFilter::Found(std::string lines) {
  if (pattern_ == nullptr) return lines;
  std::string found;
  for (std::size_t from = 0; from < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', from), lines.size());
    const std::string_view line = std::string_view(lines).substr(from, end - from);
    const std::size_t next = std::min(end + 1, lines.size());
    if (pattern_->IsIn(line)) {
      found.append(lines, from, next - from);
    } else if (!line.empty()) {
      ++hiddenByPattern_;
    }
    from = next;
  }
  return found;
}

}  // namespace kiv
