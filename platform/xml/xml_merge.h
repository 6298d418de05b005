// Merging a settings document with what another process saved.
//
// A three-way merge. What `ours` has changed against `base` is brought into `theirs`: attribute by
// attribute, and element by element as the rules say (xml_config::MergeKind). Where both sides
// changed the same attribute, ours stays. An element that one side removed and the other changed
// stays. Several elements that no rule tells apart are taken as one. An attribute that was missing
// before and that ours holds as unset (xml_config::UnsetValue) yields to what they have set.
//
// A file that was lost and begun anew by somebody who had seen less than `base` removed nothing:
// what it lacks comes back from ours.
//
// Threads: any; no state. Errors: std::bad_alloc.
#pragma once

#include <pugixml.hpp>
#include <vector>

#include "platform/xml/xml_config.h"

namespace xml_merge {

struct Rules {
  const std::vector<xml_config::MergeRule>& elements;
  const std::vector<xml_config::UnsetValue>& unsetValues;
};

// Whether `theirs` goes on from `base`, or began anew.
enum class Descent { kGoesOn, kBeganAnew };

// The three roots have the same tag; `theirs` becomes the result.
void Merge(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs, const Rules& rules,
           Descent descent = Descent::kGoesOn);

}  // namespace xml_merge
