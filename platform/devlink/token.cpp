#include "platform/devlink/token.h"

#include <algorithm>

namespace devlink {

namespace {

constexpr std::string_view kPreambleText = "KIV-TOKN";

// Visible ASCII but for the flag of the framing.
bool MayStandInToken(char ch) { return ch > ' ' && ch < '~'; }

}  // namespace

std::optional<std::string_view> TokenIn(std::string_view content) {
  std::string_view line = content.substr(0, content.find('\n'));
  if (line.size() < content.size() && line.ends_with('\r')) line.remove_suffix(1);
  if (line.size() < kShortestTokenBytes || line.size() > kLongestTokenBytes ||
      !std::all_of(line.begin(), line.end(), MayStandInToken)) {
    return std::nullopt;
  }
  return line;
}

std::vector<std::uint8_t> TokenPreamble(std::string_view token) {
  std::vector<std::uint8_t> bytes(kPreambleText.begin(), kPreambleText.end());
  bytes.push_back(static_cast<std::uint8_t>(token.size()));
  bytes.insert(bytes.end(), token.begin(), token.end());
  return bytes;
}

}  // namespace devlink
