#include "platform/catalogue/param_tree_builder.h"

#include <algorithm>
#include <new>

#include "platform/base/result_codes.h"
#include "platform/catalogue/param_tree_block.h"

namespace {

constexpr std::uint64_t kMaxBodyBytes = 64u * 1024 * 1024;

// The bytes that a node needs so that nothing which its sizes promise lies outside them.
std::uint64_t StorageBytes(const ParamNodeSpec& spec) {
  std::uint64_t storage = std::max<std::uint64_t>(spec.inStructBytes, spec.bytes.size());
  if (IsValueKind(spec.kind)) storage = std::max<std::uint64_t>(storage, spec.dataTypeBytes);
  if (spec.bufferBytes != UINT64_MAX) storage = std::max(storage, spec.bufferBytes);
  return storage;
}

bool IsStructureKind(std::int32_t kind) {
  return kind == kKindContainer || kind == kKindStructure || kind == 25 || kind == 32 || kind == 33;
}

FieldLayout LayoutOf(const ParamNodeSpec& spec, std::uint64_t offsetBytes,
                     std::uint64_t storageBytes) {
  FieldLayout field;
  field.depth = spec.depth;
  field.kind = spec.kind;
  field.elementBytes = spec.dataTypeBytes;
  field.fieldBytes = spec.inStructBytes;
  field.offsetBytes = static_cast<std::uint32_t>(offsetBytes);
  field.storageBytes = static_cast<std::uint32_t>(storageBytes);
  field.isSigned = spec.isSigned;
  field.isChar = spec.isChar;
  field.takesBytes = !IsValueKind(spec.kind) && !IsStructureKind(spec.kind);
  field.hasBuffer = field.takesBytes && spec.hasBuffer;
  field.bufferBytes = spec.bufferBytes != UINT64_MAX ? spec.bufferBytes : spec.inStructBytes;
  return field;
}

std::uint32_t BuildTree(const std::vector<ParamNodeSpec>& specs, CParamNode& root) {
  TreeLayoutBuilder builder;
  std::vector<std::uint8_t> body;
  for (const ParamNodeSpec& spec : specs) {
    const std::uint64_t storage = StorageBytes(spec);
    if (storage > kMaxBodyBytes || body.size() + storage > kMaxBodyBytes) {
      return result::kPacketTooLong;
    }
    const FieldLayout field = LayoutOf(spec, body.size(), storage);
    if (!builder.Add(field, spec.variableName.view(), spec.typeName.view())) {
      return result::kNotSupported;
    }
    body.insert(body.end(), spec.bytes.begin(), spec.bytes.end());
    body.resize(field.offsetBytes + static_cast<std::size_t>(storage));
  }
  const std::shared_ptr<const TreeLayout> layout = builder.Finish(std::move(body));
  return layout != nullptr ? ParamTreeBlock::Fill(root, layout, nullptr) : result::kNotSupported;
}

}  // namespace

std::uint32_t ParamTreeBuilder::Build(CParamNode& root) const {
  ParamTreeBlock::Clear(root);
  try {
    return BuildTree(specs_, root);
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}
