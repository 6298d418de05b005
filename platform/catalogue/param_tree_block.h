// ParamTreeBlock: the one block of memory behind a value tree: the layout's share, a node object
// for each field, and the body. Only the root is elsewhere: it is the caller's object. The node
// objects are made when somebody first walks the tree: filling a body and rendering one do not.
//
// Threads: as the tree. Owns the block, which is from the pool.
// Errors: 500 when the pool has no memory.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/catalogue/param_node.h"
#include "platform/catalogue/tree_layout.h"

struct ParamTreeBlock {
  // Makes `root` a tree of the layout with this body (null: the defaults), which has the layout's
  // size. A root that has a tree of the same layout keeps its block, so nodes of the old tree then
  // show the new values. On failure `root` is empty.
  static std::uint32_t Fill(CParamNode& root, const std::shared_ptr<const TreeLayout>& layout,
                            const std::uint8_t* body);
  // Makes `root` empty.
  static void Clear(CParamNode& root) noexcept;
  // Null for an empty root.
  static const ParamTreeBlock* Of(const CParamNode& node) noexcept { return node.block_; }

  std::uint32_t IndexOf(const CParamNode& node) const noexcept {
    return static_cast<std::uint32_t>(node.field_ - layout->Fields().data());
  }
  // Null for FieldLayout::kNone.
  CParamNode* NodeAt(std::uint32_t index) noexcept {
    if (index == FieldLayout::kNone) return nullptr;
    if (!nodesMade) MakeNodes();
    return index == 0 ? root : nodes + index;
  }
  // The layout's defaults for null, else as many bytes as the body has.
  void FillBody(const std::uint8_t* from) noexcept;

  std::shared_ptr<const TreeLayout> layout;
  CParamNode* root;
  CParamNode* nodes;  // the first stands for the root and is not used
  std::uint8_t* body;
  bool nodesMade;

 private:
  void MakeNodes() noexcept;
  static ParamTreeBlock* Make(CParamNode& root, const std::shared_ptr<const TreeLayout>& layout);
};
