#include "platform/devlink/loss_report.h"

namespace devlink {

namespace {

// After the number.
constexpr const char* kTexts[] = {
    "damaged frames from the device dropped",
    "malformed frames from the device dropped",
    "frames from the device lost",
    "repeated frames from the device dropped",
    "unfinished messages from the device dropped",
    "indications dropped by the device",
    "damaged frames dropped by the device",
    "frames to the device lost",
    "repeated frames dropped by the device",
    "unfinished messages dropped by the device",
};
static_assert(std::size(kTexts) == static_cast<std::size_t>(Loss::kCount));

}  // namespace

std::optional<std::string> LossReport::Line(LinkClock::time_point now, Milliseconds noticeEvery) {
  if (totals_ == told_ || (toldAt_ && now - *toldAt_ < noticeEvery)) return std::nullopt;
  std::string line;
  for (std::size_t i = 0; i < totals_.size(); ++i) {
    if (totals_[i] == told_[i]) continue;
    if (!line.empty()) line += ", ";
    line += std::to_string(totals_[i] - told_[i]) + " " + kTexts[i];
  }
  told_ = totals_;
  toldAt_ = now;
  return line;
}

}  // namespace devlink
