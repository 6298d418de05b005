// FillPlan: what filling a tree from a line needs to know of the tree's shape, worked out once for
// all trees of a command and kept as a note of their layout.
//
// Threads: immutable once kept, so any. Owned by the layout.
// Errors: null where there is no plan: the tree has a node that only the walk over it treats right.
#pragma once

#include <cstdint>

#include "platform/catalogue/param_node.h"

namespace SvcKivClass {

// One value or array, in the order in which the line gives them.
struct FillStep {
  std::uint32_t offsetBytes;  // in the tree's body
  std::uint32_t capacity;     // elements of an array; 0 for a single value
  std::uint32_t depth;        // braces that enclose it in the line
  std::uint32_t widthBytes;   // of the value or of one element: 1, 2, 4 or 8
};

// Plain bytes: it is kept by copying.
struct FillPlan {
  std::uint32_t stepCount;
  std::uint32_t isUsable;

  const FillStep* Steps() const noexcept { return reinterpret_cast<const FillStep*>(this + 1); }
};

// The plan of the tree's layout; made and kept when this is the first tree of it.
const FillPlan* FillPlanOf(CParamNode& root);

}  // namespace SvcKivClass
