// The two texts that address a node, taken apart.
//
// Threads: any; values. Errors: an unset answer for a text that addresses nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/text/qc_string.h"

// Tags from the root down, each with its position among the siblings of the same tag.
struct NodePath {
  std::vector<std::string> tags;         // UTF-8, at least one
  std::vector<std::uint32_t> positions;  // as many, missing ones filled up with 0
  std::size_t givenPositions = 0;        // how many the text had

  // The path of the parent and the last level beside it; there must be two levels.
  std::string PositionsText(std::size_t levels) const;
};

// Unset for a tag path with an empty tag, an instance path that is not positions joined by full
// stops, or one that is longer than the tag path.
std::optional<NodePath> ParseNodePath(const QCString& tagPath, const QCString& instancePath);
