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
  // False when there is no such child. Cheapest beside where the last one was removed.
  bool Remove(pugi::xml_node parent, std::string_view tag, std::size_t position);
  void Clear() { known_.clear(); }

  // How many nodes were walked or moved so far: what tests hold against the length of a list.
  std::uint64_t steps() const { return steps_; }

 private:
  // Positions of one tag. What is removed leaves a gap that moves to where the next one goes, so
  // that removing along a list, from either end, costs what the list is long.
  class Siblings {
   public:
    std::size_t size() const { return nodes_.size() - gapLength_; }
    pugi::xml_node operator[](std::size_t position) const {
      return nodes_[position < gapBegin_ ? position : position + gapLength_];
    }
    void Append(pugi::xml_node node) { nodes_.push_back(node); }
    // Answers how many nodes were moved.
    std::size_t Remove(std::size_t position);

   private:
    std::vector<pugi::xml_node> nodes_;
    std::size_t gapBegin_ = 0;
    std::size_t gapLength_ = 0;
  };
  using ByTag = std::map<std::string, Siblings, std::less<>>;

  ByTag& Known(pugi::xml_node parent);
  static Siblings* Find(ByTag& byTag, std::string_view tag);
  void Forget(pugi::xml_node node);

  std::unordered_map<const void*, ByTag> known_;  // by the engine's own node
  std::uint64_t steps_ = 0;
};
