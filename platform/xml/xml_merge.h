// Merging a settings document with what another process saved.
//
// A three-way merge. What `ours` has changed against `base` is brought into `theirs`: attribute by
// attribute, and element by element as the rules say (xml_config::MergeKind). Where both sides
// changed the same attribute, ours stays. An element that one side removed and the other changed
// stays. Several elements that no rule tells apart are taken as one.
//
// Threads: any; no state. Errors: std::bad_alloc.
#pragma once

#include <pugixml.hpp>
#include <vector>

#include "platform/xml/xml_config.h"

namespace xml_merge {

// The three roots have the same tag; `theirs` becomes the result.
void Merge(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
           const std::vector<xml_config::MergeRule>& rules);

}  // namespace xml_merge
