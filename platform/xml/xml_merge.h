// Merging a settings document with what another process saved.
//
// A three-way merge. What `ours` has changed against `base` is brought into `theirs`: attribute by
// attribute, and element by element as the rules say (xml_config::MergeKind). Where both sides
// changed the same attribute, ours stays. An element that one side removed and the other changed
// stays. Several elements that no rule tells apart are paired in their order while no side removed
// one, else taken as one. An attribute that was missing before and that ours holds as unset
// (xml_config::UnsetValue) yields to what they have set; another spelling of the value of before
// (xml_config::StoredAs) is no change.
//
// A file that was lost and begun anew by somebody who had seen less than `base` removed nothing and
// set back nothing: what it lacks comes back from ours, what ours has set since it was loaded
// holds, and of the rest what nobody has set there yet is ours.
//
// Threads: any; no state. Errors: std::bad_alloc.
#pragma once

#include <pugixml.hpp>

#include "platform/xml/xml_config.h"

namespace xml_merge {

// The roots of the documents that are merged.
struct Sides {
  pugi::xml_node base, ours, theirs;
  // Of a file that began anew: ours as it was loaded, and what a new document begins with.
  pugi::xml_node loaded = {}, starting = {};
};

// Of the options what concerns merging is used. The roots have the same tag; `theirs` becomes the
// result.
void Merge(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
           const xml_config::Options& rules);
// The same when `theirs` began anew.
void MergeAnew(const Sides& sides, const xml_config::Options& rules);

}  // namespace xml_merge
