// QuickFill: the usual parameter line into the usual tree, in one pass over both.
//
// Beside ParamLineParser and FillNode, never in their place: a line that has anything but numbers
// that stand where the tree wants them (a blank, a file, a fault, fewer braces than the tree) is
// theirs, and so is every text about a fault. tests/params compares the two on random lines.
//
// Threads: any; no state. Owns nothing.
#pragma once

#include <string_view>

#include "platform/catalogue/param_node.h"

namespace SvcKivClass {

// True: the tree holds what the walk with FillNode would have left in it. False: the tree has its
// defaults again, and the line is to be parsed. The tree has its defaults when this is called.
bool QuickFill(CParamNode& root, std::wstring_view line);

}  // namespace SvcKivClass
