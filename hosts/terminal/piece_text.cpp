#include "hosts/terminal/piece_text.h"

#include <algorithm>
#include <cstddef>

#include "platform/os/utf8_codec.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kHeldReturns = 1024;
constexpr std::size_t kLongestCharacterBytes = 4;

// Modems and terminals end a line with carriage returns in front of its line feed: these would only
// clutter what is shown.
std::string WithPlainLineEnds(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (const char each : text) {
    if (each == '\n') plain.erase(plain.find_last_not_of('\r') + 1);
    plain += each;
  }
  return plain;
}

std::size_t ReturnsAtEnd(std::string_view text) {
  const std::size_t last = text.find_last_not_of('\r');
  return last == std::string_view::npos ? text.size() : text.size() - last - 1;
}

// How many bytes at the end are the beginning of a character.
std::size_t UnfinishedBytes(std::string_view text) {
  const std::size_t most = std::min(text.size(), kLongestCharacterBytes - 1);
  for (std::size_t lengthBytes = 1; lengthBytes <= most; ++lengthBytes) {
    const std::string_view tail = text.substr(text.size() - lengthBytes);
    const auto lead = os::utf8_codec::ClassifyLead(static_cast<unsigned char>(tail.front()));
    if (lead.lengthBytes == 0) continue;
    const bool isBegun = os::utf8_codec::DecodeOne(tail).lengthBytes == lengthBytes;
    return isBegun && lead.lengthBytes > lengthBytes ? lengthBytes : 0;
  }
  return 0;
}

}  // namespace

std::string PieceText::Add(std::string_view piece) {
  if (piece.empty()) return {};
  if (endedAtReturn_ && piece.front() == '\n') piece.remove_prefix(1);
  endedAtReturn_ = false;
  held_ += piece;
  const std::size_t returns = ReturnsAtEnd(held_);
  const std::size_t kept = returns > 0 ? std::min(returns, kHeldReturns) : UnfinishedBytes(held_);
  const std::size_t readyBytes = held_.size() - kept;
  std::string shown = ShownUtf8(WithPlainLineEnds(std::string_view(held_).substr(0, readyBytes)));
  held_.erase(0, readyBytes);
  return shown;
}

std::string PieceText::End() {
  if (held_.empty()) return {};
  endedAtReturn_ = held_.front() == '\r';
  std::string shown = endedAtReturn_ ? "\n" : ShownUtf8(held_);
  held_.clear();
  return shown;
}

}  // namespace kiv
