#include "platform/catalogue/tree_layout.h"

#include <cstdlib>
#include <cstring>

TreeLayout::~TreeLayout() {
  for (std::atomic<void*>& note : notes_) std::free(note.load(std::memory_order_relaxed));
}

const void* TreeLayout::KeepNote(std::size_t place, const void* bytes,
                                 std::size_t lengthBytes) const noexcept {
  if (place >= kNotePlaces || lengthBytes == 0) return nullptr;
  void* const copy = std::malloc(lengthBytes);
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, bytes, lengthBytes);
  void* first = nullptr;
  if (notes_[place].compare_exchange_strong(first, copy, std::memory_order_acq_rel)) return copy;
  std::free(copy);
  return first;
}

bool TreeLayoutBuilder::Add(const FieldLayout& field, std::wstring_view variableName,
                            std::wstring_view typeName) {
  std::vector<FieldLayout>& fields = layout_->fields_;
  if (fields.empty() ? field.depth != 0 : field.depth == 0 || field.depth > open_.size()) {
    return false;
  }
  const auto index = static_cast<std::uint32_t>(fields.size());
  fields.push_back(field);
  nameOffsets_.push_back({Intern(variableName), Intern(typeName)});
  Link(index);
  return true;
}

// Closes the nodes that are as deep or deeper, and hangs the new one below the one that is left.
void TreeLayoutBuilder::Link(std::uint32_t index) {
  std::vector<FieldLayout>& fields = layout_->fields_;
  const std::uint32_t depth = fields[index].depth;
  if (open_.size() > depth) fields[open_[depth]].nextNeighbor = index;
  while (open_.size() > depth) {
    fields[open_.back()].subtreeEnd = index;
    open_.pop_back();
  }
  if (!open_.empty()) {
    fields[index].parent = open_.back();
    FieldLayout& parent = fields[open_.back()];
    if (parent.firstChild == FieldLayout::kNone) parent.firstChild = index;
  }
  open_.push_back(index);
}

std::uint32_t TreeLayoutBuilder::Intern(std::wstring_view name) {
  const auto [found, isNew] = known_.emplace(std::wstring(name), 0);
  if (isNew) {
    found->second = static_cast<std::uint32_t>(layout_->names_.size());
    layout_->names_.append(name).push_back(L'\0');
  }
  return found->second;
}

void TreeLayoutBuilder::AddGap(std::uint64_t beginBytes, std::uint64_t endBytes) {
  if (beginBytes >= endBytes) return;
  layout_->gaps_.push_back(
      {static_cast<std::uint32_t>(beginBytes), static_cast<std::uint32_t>(endBytes - beginBytes)});
}

std::shared_ptr<const TreeLayout> TreeLayoutBuilder::Finish(std::vector<std::uint8_t> defaults) {
  std::vector<FieldLayout>& fields = layout_->fields_;
  if (fields.empty()) return nullptr;
  for (const std::uint32_t index : open_) {
    fields[index].subtreeEnd = static_cast<std::uint32_t>(fields.size());
  }
  const wchar_t* names = layout_->names_.c_str();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    fields[i].variableName = names + nameOffsets_[i].variableName;
    fields[i].typeName = names + nameOffsets_[i].typeName;
  }
  layout_->defaults_ = std::move(defaults);
  return std::move(layout_);
}
