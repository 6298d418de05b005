// FillTrace: the module's own parser and fill run over a tree, with a note of where in the line
// each field began and how it ended. Whatever is told about a line is read from such a trace, so it
// cannot differ from what the module does.
//
// Threads: one call for one thread. Borrows the tree, which is filled as the module fills it.
// Errors: none of its own; the module's are in the trace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/catalogue/param_node.h"
#include "platform/text/qc_string.h"

namespace hostbench {

// One field that the fill came to.
struct FillStep {
  static constexpr std::uint32_t kUsedUp = 0xFFFFFFFFu;

  std::uint32_t position;  // in the parser's line, where its value is looked for; kUsedUp: nowhere
  std::uint32_t behind;    // the parser's position after it
  std::uint32_t depth;     // braces around `position`; all ones: a line without braces
};

// What happened.
struct FillTrace {
  bool lineTaken = false;       // SetParamLine took it
  QCString line;                // the parser's
  std::vector<FillStep> steps;  // one for each field that was come to, in order
  std::uint32_t status = 0;     // of the walk; 0: all of it was taken
  // The step that failed: the last one. Unset where no field did (a node that no catalogue makes).
  std::optional<std::size_t> failedStep;
  bool depthDiffered = false;  // it failed on its depth, before a value was asked for
  bool isShortFile = false;    // it failed without a text: a binary file gave too few bytes

  bool IsAccepted() const noexcept { return lineTaken && status == 0; }
};

// Both in one call, as the module does it for a text that is not empty.
FillTrace TraceFill(CParamNode& tree, const QCString& parameters);

}  // namespace hostbench
