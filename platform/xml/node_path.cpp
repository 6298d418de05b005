#include "platform/xml/node_path.h"

#include <limits>
#include <string_view>

#include "platform/os/utf8.h"

namespace {

constexpr std::size_t kUsualLevels = 8;

// Calls `take` with each part between full stops; stops and answers false when it does.
template <typename Take>
bool ForEachPart(std::wstring_view text, Take take) {
  for (;;) {
    const std::size_t dot = text.find(L'.');
    if (!take(text.substr(0, dot))) return false;
    if (dot == std::wstring_view::npos) return true;
    text.remove_prefix(dot + 1);
  }
}

std::optional<std::uint32_t> ParsePosition(std::wstring_view digits) {
  std::uint64_t value = 0;
  for (const wchar_t ch : digits) {
    if (ch < L'0' || ch > L'9') return std::nullopt;
    value = value * 10 + static_cast<std::uint64_t>(ch - L'0');
    if (value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  }
  if (digits.empty()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

}  // namespace

std::string NodePath::PositionsText(std::size_t levels) const {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i) {
    if (i != 0) text += '.';
    text += std::to_string(positions[i]);
  }
  return text;
}

std::optional<NodePath> ParseNodePath(const QCString& tagPath, const QCString& instancePath) {
  NodePath path;
  path.tags.reserve(kUsualLevels);
  path.positions.reserve(kUsualLevels);
  const bool tagsAreSound = ForEachPart(tagPath.view(), [&path](std::wstring_view tag) {
    path.tags.push_back(os::WideToUtf8(tag));
    return !tag.empty();
  });
  if (!tagsAreSound) return std::nullopt;
  const bool positionsAreSound =
      instancePath.IsEmpty() || ForEachPart(instancePath.view(), [&path](std::wstring_view digits) {
        const auto position = ParsePosition(digits);
        path.positions.push_back(position.value_or(0));
        return position.has_value();
      });
  if (!positionsAreSound || path.positions.size() > path.tags.size()) return std::nullopt;
  path.givenPositions = path.positions.size();
  path.positions.resize(path.tags.size(), 0);
  return path;
}
