// From a structure of a catalogue to the layout of its value trees: the shapes that
// docs/catalogue-format.md gives under "Value trees".
//
// Threads: any. Owns nothing. Errors: throws std::bad_alloc.
#pragma once

#include <memory>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/tree_layout.h"

// `structure` is laid out. Names are converted to wide text here, once.
std::shared_ptr<const TreeLayout> MakeTreeLayout(const catalogue::Model& model,
                                                 std::uint32_t structure);
// A root without children and without a type name, for commands without parameters.
std::shared_ptr<const TreeLayout> MakeEmptyTreeLayout();
