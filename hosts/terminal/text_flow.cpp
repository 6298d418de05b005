#include "hosts/terminal/text_flow.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kiv {
namespace {

// A line that is longer is sifted in parts: a device without line ends takes no memory.
constexpr std::size_t kLongestHeldBytes = 64u << 10;

}  // namespace

std::string TextFlow::Sifted(Channel channel, std::string text, bool isEnd) {
  if (!sieve_) return text;
  std::string& held = unsifted_[static_cast<std::size_t>(channel)];
  held += text;
  const std::size_t lines = held.rfind('\n') + 1;  // 0 without one
  const bool isWhole = isEnd || held.size() - lines > kLongestHeldBytes;
  const std::size_t ready = isWhole ? held.size() : lines;
  if (ready == 0) return {};
  std::string shown = sieve_(channel, held.substr(0, ready));
  held.erase(0, ready);
  return shown;
}

std::string TextFlow::Placed(Channel channel, std::string shown) {
  if (shown.empty()) return {};
  const bool interrupts = isLineOpen_ && last_ != channel;
  isLineOpen_ = shown.back() != '\n';
  last_ = channel;
  return interrupts ? "\n" + shown : std::move(shown);
}

std::string TextFlow::Piece(Channel channel, std::string_view text) {
  return Placed(channel, Sifted(channel, Of(channel).Add(text), false));
}

std::string TextFlow::End(Channel channel) {
  std::string shown = Placed(channel, Sifted(channel, Of(channel).End(), true));
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
  const auto isHolding = [](const PieceText& text) { return text.IsHolding(); };
  const auto isHeld = [](const std::string& text) { return !text.empty(); };
  return isLineOpen_ || std::any_of(texts_.begin(), texts_.end(), isHolding) ||
         std::any_of(unsifted_.begin(), unsifted_.end(), isHeld);
}

}  // namespace kiv
