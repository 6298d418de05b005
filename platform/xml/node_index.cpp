#include "platform/xml/node_index.h"

#include <algorithm>
#include <cstddef>

std::size_t NodeIndex::Siblings::Remove(std::size_t position) {
  const auto at = [this](std::size_t i) { return nodes_.begin() + static_cast<std::ptrdiff_t>(i); };
  const std::size_t old = gapLength_ == 0 ? position : gapBegin_;
  std::size_t moved = 0;
  if (position < old) {
    moved = old - position - 1;
    std::move_backward(at(position + 1), at(old), at(old + gapLength_));
  } else if (position > old) {
    moved = position - old;
    std::move(at(old + gapLength_), at(position + gapLength_), at(old));
  }
  gapBegin_ = position;
  ++gapLength_;
  return moved;
}

pugi::xml_node NodeIndex::Child(pugi::xml_node parent, std::string_view tag, std::size_t position) {
  const Siblings* siblings = Find(Known(parent), tag);
  if (siblings == nullptr || position >= siblings->size()) return {};
  return (*siblings)[position];
}

std::size_t NodeIndex::Count(pugi::xml_node parent, std::string_view tag) {
  const Siblings* siblings = Find(Known(parent), tag);
  return siblings != nullptr ? siblings->size() : 0;
}

pugi::xml_node NodeIndex::Append(pugi::xml_node parent, const std::string& tag) {
  ByTag& byTag = Known(parent);
  pugi::xml_node child = parent.append_child(pugi::node_element);
  if (!child) return {};
  if (!child.set_name(tag.c_str())) {
    parent.remove_child(child);
    return {};
  }
  byTag[tag].Append(child);
  return child;
}

bool NodeIndex::Remove(pugi::xml_node parent, std::string_view tag, std::size_t position) {
  Siblings* siblings = Find(Known(parent), tag);
  if (siblings == nullptr || position >= siblings->size()) return false;
  const pugi::xml_node child = (*siblings)[position];
  steps_ += siblings->Remove(position);
  Forget(child);
  return parent.remove_child(child);
}

NodeIndex::ByTag& NodeIndex::Known(pugi::xml_node parent) {
  const auto [at, isNew] = known_.try_emplace(parent.internal_object());
  if (!isNew) return at->second;
  for (const pugi::xml_node child : parent.children()) {
    ++steps_;
    if (child.type() == pugi::node_element) at->second[child.name()].Append(child);
  }
  return at->second;
}

NodeIndex::Siblings* NodeIndex::Find(ByTag& byTag, std::string_view tag) {
  const auto at = byTag.find(tag);
  return at != byTag.end() ? &at->second : nullptr;
}

// The engine gives the memory of removed nodes to new ones: nothing may be known of them.
void NodeIndex::Forget(pugi::xml_node node) {
  ++steps_;
  known_.erase(node.internal_object());
  for (const pugi::xml_node child : node.children()) Forget(child);
}
