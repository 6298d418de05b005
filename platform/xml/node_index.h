// NodeIndex: the children of an element by tag and position, at the same cost wherever they stand.
//
// The XML engine keeps siblings in a linked list, so that reading entry n of a list walks n nodes.
// The index walks the children of an element once, at the first question, and follows what is
// appended and removed through it. Every change of the document's elements must go through here.
//
// Threads: one. Borrows the document, which outlives it or is followed by Clear.
// Errors: null nodes; std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// See the head of this file.
class NodeIndex {
 public:
  // Null when there are not so many.
  pugi::xml_node Child(pugi::xml_node parent, std::string_view tag, std::size_t position);
  std::size_t Count(pugi::xml_node parent, std::string_view tag);
  // Null without memory.
  pugi::xml_node Append(pugi::xml_node parent, const std::string& tag);
  // False when there is no such child. Cheapest at the end of a list.
  bool Remove(pugi::xml_node parent, std::string_view tag, std::size_t position);
  void Clear() { known_.clear(); }

  // How many nodes were walked so far: what tests hold against the length of a list.
  std::uint64_t steps() const { return steps_; }

 private:
  using Siblings = std::vector<pugi::xml_node>;
  using ByTag = std::map<std::string, Siblings, std::less<>>;

  ByTag& Known(pugi::xml_node parent);
  static Siblings* Find(ByTag& byTag, std::string_view tag);
  void Forget(pugi::xml_node node);

  std::unordered_map<const void*, ByTag> known_;  // by the engine's own node
  std::uint64_t steps_ = 0;
};
