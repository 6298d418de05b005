// CParamNode: a node of a command's value tree.
//
// A tree is one block: a view over the packed body, described by an immutable layout that all trees
// of a command share. SetValue is a store into the body; no node is a heap object of its own. The
// root is the object that the caller constructs and the codec (or ParamTreeBuilder) fills; every
// other node lives in the root's block.
//
// Node kinds: 0 single value, 1 array, 17 array of structures, 24 structure are what catalogues
// give; 8 and 16 (single), 9 (array), 25, 32, 33 (structure) are taken the same way.
//
// Threads: one tree for one thread at a time.
// Owns: the root owns the whole tree; node pointers live until the root is destroyed or filled
// again. Errors: statuses, 0 on success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/platform_export.h"

class CParamNode;
struct ParamTreeBlock;
struct FieldLayout;

// Places for what is worked out once for all trees of one shape, see KeepLayoutNote.
enum class LayoutNote : std::uint32_t { kTextType, kFill, kRows, kRowsOnOneLine, kCount };

// `depth` of the root is the starting depth. A non-zero answer stops the walk.
using ParseNodesCallback = std::uint32_t (*)(CParamNode* node, void* user, std::uint32_t depth);

// A position in a value tree; the root owns it all.
class KIVPLATFORM_API CParamNode {
 public:
  // An empty root: kind 24, no names, no children.
  CParamNode();
  ~CParamNode();
  CParamNode(const CParamNode&) = delete;
  CParamNode& operator=(const CParamNode&) = delete;

  // Document order: a node, its children, its next neighbour. Answers the first non-zero callback
  // result, else 0. Nesting depth is bounded by the layout, the walk does not recurse.
  std::uint32_t ParseNodes(ParseNodesCallback callback, void* user, std::uint32_t startDepth);

  std::int32_t GetNodeType() const noexcept;
  // Both live as long as the tree; never null.
  const wchar_t* GetVariableName() const noexcept;
  const wchar_t* GetTypeName() const noexcept;
  std::uint32_t GetSizeOfDataType() const noexcept;  // bytes of one element, 0 for none
  std::uint32_t GetSizeInStruct() const noexcept;    // bytes of the whole field

  std::uint32_t IsSignedValue(std::int32_t* isSigned) const noexcept;
  std::uint32_t IsCharValue(std::int32_t* isChar) const noexcept;
  // Single values only. The value is zero-extended from the node's width (callers that print
  // sign-extend).
  std::uint32_t GetValue(std::uint64_t* value) const noexcept;
  // Keeps the low bytes that the node is wide.
  std::uint32_t SetValue(std::uint64_t value) noexcept;
  // 0 when the node has a buffer of its own, which may be written in place.
  std::uint32_t GetValueBuf(std::uint8_t** buffer, std::uint64_t* lengthBytes) noexcept;
  // Copies into the node's bytes. A shorter length zeroes the rest (the last chunk of a file is
  // short); a longer one gives a status and changes nothing. Where the catalogue has a field that
  // carries the used bytes of this array, that field is set to `lengthBytes`; what is written in
  // place through GetValueBuf leaves it as it is.
  std::uint32_t SetValueBuf(const std::uint8_t* bytes, std::uint64_t lengthBytes) noexcept;

  // Zeros that may be read behind a body, so that a value's bytes can be read all at once.
  static constexpr std::size_t kBodySlackBytes = 8;
  // The packed body of the whole tree, null for an empty root. What a walk finds behind
  // GetOffsetInBody and the sizes of a node is found there directly.
  std::uint8_t* GetBody() noexcept;
  std::uint32_t GetBodyBytes() const noexcept;
  // Where the node's own bytes begin in the body.
  std::uint32_t GetOffsetInBody() const noexcept;
  // Gives the body its defaults again; an empty root has none.
  void ResetBody() noexcept;
  // A note is plain bytes that belong to the shape of the tree, not to its values: kept with the
  // layout that all trees of a command share, so that what is worked out from names, kinds and
  // sizes is worked out once. Null when there is none yet. Any thread; lives as long as the tree.
  const void* GetLayoutNote(LayoutNote place) const noexcept;
  // Copies the bytes, which are aligned as for any type. When another thread was first, its note
  // stays. Null for an empty root and when there is no memory.
  const void* KeepLayoutNote(LayoutNote place, const void* bytes,
                             std::size_t lengthBytes) const noexcept;

  CParamNode* GetFirstChild() noexcept;
  CParamNode* GetNextNeighbor() noexcept;
  CParamNode* GetParent() noexcept;
  const CParamNode* GetFirstChild() const noexcept;
  const CParamNode* GetNextNeighbor() const noexcept;
  const CParamNode* GetParent() const noexcept;

 private:
  friend struct ParamTreeBlock;
  CParamNode(const FieldLayout* field, std::uint8_t* bytes, ParamTreeBlock* block)
      : field_(field), bytes_(bytes), block_(block) {}

  const FieldLayout* field_;  // never null
  std::uint8_t* bytes_;       // the node's own bytes within the packed body
  ParamTreeBlock*
      block_;  // the block that holds this tree; owned by the root, null for an empty one
};
