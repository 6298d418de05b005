#include "platform/catalogue/param_node.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/param_tree_block.h"

namespace {

constexpr FieldLayout kEmptyRoot{};

static_assert(static_cast<std::size_t>(LayoutNote::kCount) == TreeLayout::kNotePlaces);

// Bytes of a value that fit both the node and 64 bits.
std::uint32_t ValueWidth(const FieldLayout& field) noexcept {
  return std::min({field.elementBytes, field.storageBytes, std::uint32_t{8}});
}

// `widthBytes` is at most 8.
void StoreLittleEndian(std::uint64_t value, std::uint32_t widthBytes,
                       std::uint8_t* bytes) noexcept {
  for (std::uint32_t i = 0; i < widthBytes; ++i) {
    bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

}  // namespace

// The block's parts in the order in which they stand: itself, the nodes, the body. The body comes
// last, because it alone needs no alignment.
ParamTreeBlock* ParamTreeBlock::Make(CParamNode& root,
                                     const std::shared_ptr<const TreeLayout>& layout) {
  static_assert(sizeof(ParamTreeBlock) % alignof(CParamNode) == 0);
  const std::vector<FieldLayout>& fields = layout->Fields();
  const std::size_t nodesBytes = fields.size() * sizeof(CParamNode);
  auto* memory = static_cast<std::uint8_t*>(PoolMalloc(
      sizeof(ParamTreeBlock) + nodesBytes + layout->BodyBytes() + CParamNode::kBodySlackBytes));
  if (memory == nullptr) return nullptr;
  auto* nodes = reinterpret_cast<CParamNode*>(memory + sizeof(ParamTreeBlock));
  std::uint8_t* body = memory + sizeof(ParamTreeBlock) + nodesBytes;
  std::memset(body + layout->BodyBytes(), 0, CParamNode::kBodySlackBytes);
  return new (memory) ParamTreeBlock{layout, &root, nodes, body, false};
}

void ParamTreeBlock::MakeNodes() noexcept {
  const std::vector<FieldLayout>& fields = layout->Fields();
  for (std::size_t i = 1; i < fields.size(); ++i) {
    new (nodes + i) CParamNode(&fields[i], body + fields[i].offsetBytes, this);
  }
  nodesMade = true;
}

void ParamTreeBlock::FillBody(const std::uint8_t* from) noexcept {
  if (layout->BodyBytes() != 0) {
    std::memcpy(body, from != nullptr ? from : layout->Defaults().data(), layout->BodyBytes());
  }
  for (const TreeLayout::Gap& gap : layout->Gaps()) {
    std::memset(body + gap.offsetBytes, 0, gap.lengthBytes);
  }
}

std::uint32_t ParamTreeBlock::Fill(CParamNode& root,
                                   const std::shared_ptr<const TreeLayout>& layout,
                                   const std::uint8_t* body) {
  if (root.block_ == nullptr || root.block_->layout != layout) {
    Clear(root);
    root.block_ = Make(root, layout);
    if (root.block_ == nullptr) return result::kNoMemory;
    root.field_ = layout->Fields().data();
    root.bytes_ = root.block_->body + root.field_->offsetBytes;
  }
  root.block_->FillBody(body);
  return result::kOk;
}

void ParamTreeBlock::Clear(CParamNode& root) noexcept {
  ParamTreeBlock* block = root.block_;
  root.field_ = &kEmptyRoot;
  root.bytes_ = nullptr;
  root.block_ = nullptr;
  if (block == nullptr) return;
  block->~ParamTreeBlock();
  PoolFree(block);
}

CParamNode::CParamNode() : field_(&kEmptyRoot), bytes_(nullptr), block_(nullptr) {}

CParamNode::~CParamNode() { ParamTreeBlock::Clear(*this); }

std::uint32_t CParamNode::ParseNodes(ParseNodesCallback callback, void* user,
                                     std::uint32_t startDepth) {
  if (callback == nullptr) return result::kNotSupported;
  if (block_ == nullptr) return callback(this, user, startDepth);
  const FieldLayout* fields = block_->layout->Fields().data();
  const std::uint32_t begin = block_->IndexOf(*this);
  const std::uint32_t end = field_->subtreeEnd;
  const std::uint32_t base = startDepth - field_->depth;
  for (std::uint32_t i = begin; i < end; ++i) {
    const std::uint32_t status = callback(block_->NodeAt(i), user, base + fields[i].depth);
    if (status != 0) return status;
  }
  return 0;
}

std::int32_t CParamNode::GetNodeType() const noexcept { return field_->kind; }
const wchar_t* CParamNode::GetVariableName() const noexcept { return field_->variableName; }
const wchar_t* CParamNode::GetTypeName() const noexcept { return field_->typeName; }
std::uint32_t CParamNode::GetSizeOfDataType() const noexcept { return field_->elementBytes; }
std::uint32_t CParamNode::GetSizeInStruct() const noexcept { return field_->fieldBytes; }

std::uint32_t CParamNode::IsSignedValue(std::int32_t* isSigned) const noexcept {
  if (isSigned == nullptr) return result::kNotSupported;
  *isSigned = field_->isSigned ? 1 : 0;
  return result::kOk;
}

std::uint32_t CParamNode::IsCharValue(std::int32_t* isChar) const noexcept {
  if (isChar == nullptr) return result::kNotSupported;
  *isChar = field_->isChar ? 1 : 0;
  return result::kOk;
}

std::uint32_t CParamNode::GetValue(std::uint64_t* value) const noexcept {
  if (value == nullptr || !IsValueKind(field_->kind)) return result::kNotSupported;
  std::uint64_t read = 0;
  for (std::uint32_t i = ValueWidth(*field_); i > 0; --i) read = read << 8 | bytes_[i - 1];
  *value = read;
  return result::kOk;
}

std::uint32_t CParamNode::SetValue(std::uint64_t value) noexcept {
  if (!IsValueKind(field_->kind)) return result::kNotSupported;
  StoreLittleEndian(value, ValueWidth(*field_), bytes_);
  return result::kOk;
}

std::uint32_t CParamNode::GetValueBuf(std::uint8_t** buffer, std::uint64_t* lengthBytes) noexcept {
  if (buffer == nullptr || lengthBytes == nullptr || !field_->hasBuffer) {
    return result::kNotSupported;
  }
  *buffer = bytes_;
  *lengthBytes = field_->bufferBytes;
  return result::kOk;
}

std::uint32_t CParamNode::SetValueBuf(const std::uint8_t* bytes,
                                      std::uint64_t lengthBytes) noexcept {
  if (!field_->takesBytes) return result::kNotSupported;
  if (lengthBytes > field_->storageBytes) return result::kBodySize;
  if (bytes == nullptr && lengthBytes != 0) return result::kNotSupported;
  if (lengthBytes != 0) std::memmove(bytes_, bytes, static_cast<std::size_t>(lengthBytes));
  std::memset(bytes_ + lengthBytes, 0,
              field_->storageBytes - static_cast<std::size_t>(lengthBytes));
  if (field_->lengthWidthBytes != 0) {
    StoreLittleEndian(lengthBytes, field_->lengthWidthBytes,
                      block_->body + field_->lengthOffsetBytes);
  }
  return result::kOk;
}

std::uint8_t* CParamNode::GetBody() noexcept { return block_ != nullptr ? block_->body : nullptr; }
std::uint32_t CParamNode::GetBodyBytes() const noexcept {
  return block_ != nullptr ? block_->layout->BodyBytes() : 0;
}
std::uint32_t CParamNode::GetOffsetInBody() const noexcept { return field_->offsetBytes; }

void CParamNode::ResetBody() noexcept {
  if (block_ != nullptr) block_->FillBody(nullptr);
}

const void* CParamNode::GetLayoutNote(LayoutNote place) const noexcept {
  return block_ != nullptr ? block_->layout->Note(static_cast<std::size_t>(place)) : nullptr;
}

const void* CParamNode::KeepLayoutNote(LayoutNote place, const void* bytes,
                                       std::size_t lengthBytes) const noexcept {
  if (block_ == nullptr) return nullptr;
  return block_->layout->KeepNote(static_cast<std::size_t>(place), bytes, lengthBytes);
}

CParamNode* CParamNode::GetFirstChild() noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->firstChild) : nullptr;
}
CParamNode* CParamNode::GetNextNeighbor() noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->nextNeighbor) : nullptr;
}
CParamNode* CParamNode::GetParent() noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->parent) : nullptr;
}
const CParamNode* CParamNode::GetFirstChild() const noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->firstChild) : nullptr;
}
const CParamNode* CParamNode::GetNextNeighbor() const noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->nextNeighbor) : nullptr;
}
const CParamNode* CParamNode::GetParent() const noexcept {
  return block_ != nullptr ? block_->NodeAt(field_->parent) : nullptr;
}
