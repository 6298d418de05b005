// RowPlan: the rows of a tree but for their values, worked out once for all trees of a command and
// kept as a note of their layout: each row's name with its dots, padded to the width, and " = ".
//
// It is for whole trees of the usual kind, which are nearly all; a tree that has none (a string
// result, nothing to show, names or rows beyond all measure) is rendered through a RowBlock, and so
// is everything when types are shown. tests/link/render compares the two on random trees.
//
// Threads: immutable once kept, so any. Owned by the layout.
// Errors: null where there is no plan.
#pragma once

#include <cstddef>
#include <cstdint>

#include "link/render/render.h"
#include "platform/catalogue/param_node.h"

namespace SvcKivClass {

enum class RowKind : std::uint32_t { kEmpty, kValue, kElements, kElementsOnOneLine, kCharacters };

// One row, or the rows of one array's elements.
struct PlannedRow {
  RowKind kind;
  std::uint32_t offsetBytes;  // in the tree's body
  std::uint32_t count;        // elements of an array, 1 for a value
  std::uint32_t widthBytes;   // of one of them
  std::uint32_t mask;         // the bits of one element that are shown
  std::uint32_t signBit;      // of these; 0 for unsigned ones
  std::uint32_t nameChars;    // of an array's bare name
};

// Plain bytes: it is kept by copying. Behind it stand the rows, and behind these the heads, each
// `strideChars` long.
struct RowPlan {
  std::uint32_t isUsable;
  std::uint32_t rowCount;
  std::uint32_t headChars;    // of a row up to its value
  std::uint32_t strideChars;  // that, rounded up so that it can be copied in blocks
  std::uint64_t roomChars;    // what WriteRows may need

  const PlannedRow* Rows() const noexcept { return reinterpret_cast<const PlannedRow*>(this + 1); }
  const wchar_t* Heads() const noexcept {
    return reinterpret_cast<const wchar_t*>(Rows() + rowCount);
  }
};

// The plan of the tree's layout for these flags; made and kept when this is the first tree of it.
const RowPlan* RowPlanOf(CParamNode& root, const RenderFlags& flags);

// Writes all lines, as JoinedLines of the tree's RowBlock would be; answers the end. `to` has room
// for `plan.roomChars` characters, of which those behind the end may be written too.
wchar_t* WriteRows(const RowPlan& plan, const std::uint8_t* body, bool hexadecimal, wchar_t* to);

}  // namespace SvcKivClass
