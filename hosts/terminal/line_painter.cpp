#include "hosts/terminal/line_painter.h"

#include <algorithm>

namespace kiv {
namespace {

// What is further back is another time.
constexpr std::chrono::seconds kMostDisorder{2};

}  // namespace

TimeStamp::Clock::time_point LinePainter::InOrder(TimeStamp::Clock::time_point at) {
  if (at >= latest_ || latest_ - at > kMostDisorder) latest_ = at;
  return latest_;
}

std::string LinePainter::Paint(ShownKind kind, std::string_view text,
                               TimeStamp::Clock::time_point at) {
  if (text.empty()) return {};
  if (colours_.AreNone() && stamp_ == StampForm::kNone) {
    isLineOpen_ = text.back() != '\n';
    return std::string(text);
  }
  at = InOrder(at);
  std::string out;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    if (end > from) {
      if (!isLineOpen_) out += time_.Text(at, stamp_);
      PaintPart(kind, text.substr(from, end - from), out);
    }
    if (end < text.size()) out += '\n';
    isLineOpen_ = end == text.size();
    from = end + 1;
  }
  return out;
}

void LinePainter::PaintPart(ShownKind kind, std::string_view part, std::string& out) const {
  const std::string_view begin = colours_.Begin(kind);
  out += begin;
  // Only in front of a line: elsewhere the row may be full, and its last character would go.
  if (!isLineOpen_ && !begin.empty()) out += colours_.FillRow();
  std::optional<TextPart> found;
  if (pattern_ != nullptr && IsFiltered(kind) && !colours_.AreNone()) found = pattern_->Find(part);
  if (found && found->lengthBytes > 0) {
    out.append(part.substr(0, found->from)).append(colours_.End());
    const std::size_t behind = found->from + found->lengthBytes;
    out.append(colours_.FoundBegin()).append(part.substr(found->from, found->lengthBytes));
    out.append(colours_.End()).append(begin).append(part.substr(behind));
  } else {
    out += part;
  }
  if (!begin.empty()) out += colours_.End();
}

}  // namespace kiv
