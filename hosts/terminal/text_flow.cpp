#include "hosts/terminal/text_flow.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kiv {

std::string TextFlow::Placed(Channel channel, std::string shown) {
  if (shown.empty()) return {};
  const bool interrupts = isLineOpen_ && last_ != channel;
  isLineOpen_ = shown.back() != '\n';
  last_ = channel;
  return interrupts ? "\n" + shown : std::move(shown);
}

std::string TextFlow::Piece(Channel channel, std::string_view text) {
  return Placed(channel, Of(channel).Add(text));
}

std::string TextFlow::End(Channel channel) {
  std::string shown = Placed(channel, Of(channel).End());
  return last_ == channel ? shown += Break() : shown;
}

std::string TextFlow::EndAll() {
  std::string shown;
  // The open line's own first: what it holds back belongs to that line.
  if (isLineOpen_) shown += End(last_);
  for (std::size_t i = 0; i < texts_.size(); ++i) shown += End(static_cast<Channel>(i));
  return shown;
}

std::string TextFlow::Whole(const std::string& text) {
  if (text.empty()) return {};
  std::string shown = Break() + text;
  if (shown.back() != '\n') shown += '\n';
  return shown;
}

std::string TextFlow::Break() { return std::exchange(isLineOpen_, false) ? "\n" : ""; }

bool TextFlow::IsOpen() const {
  return isLineOpen_ || std::any_of(texts_.begin(), texts_.end(),
                                    [](const PieceText& text) { return text.IsHolding(); });
}

}  // namespace kiv
