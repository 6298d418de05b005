#include "platform/catalogue/param_codec.h"

#include <cstring>

#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/catalogue.h"
#include "platform/catalogue/catalogue_registry.h"
#include "platform/catalogue/param_tree_block.h"

namespace {

bool KindOfMode(std::uint32_t mode, BodyKind& kind) {
  switch (mode) {
    case DecodeDescriptor::kCnf:
      kind = BodyKind::kConfirmation;
      return true;
    case DecodeDescriptor::kInd:
      kind = BodyKind::kIndication;
      return true;
    case DecodeDescriptor::kReq:
      kind = BodyKind::kRequest;
      return true;
    default:
      return false;
  }
}

}  // namespace

CParamCodec::CParamCodec(const wchar_t* cataloguePath) {
  openStatus_ = catalogue_registry::OpenFor(cataloguePath, catalogue_);
}

CParamCodec::~CParamCodec() = default;

std::uint32_t CParamCodec::QueryDefaultParam(std::uint32_t cmdId, CmdIdType /*kind*/,
                                             CParamNode& root) {
  std::shared_ptr<const TreeLayout> layout;
  std::uint32_t status = openStatus_;
  if (status == 0) status = catalogue_->Layout(cmdId, BodyKind::kRequest, layout);
  if (status == 0) return ParamTreeBlock::Fill(root, layout, nullptr);
  ParamTreeBlock::Clear(root);
  return status;
}

std::uint32_t CParamCodec::Encode(std::uint32_t cmdId, const CParamNode& root,
                                  std::uint32_t* lengthBytes, std::uint8_t** body) {
  if (lengthBytes == nullptr || body == nullptr) return result::kFailure;
  *lengthBytes = 0;
  *body = nullptr;
  if (openStatus_ != 0) return openStatus_;
  std::shared_ptr<const TreeLayout> layout;
  const std::uint32_t status = catalogue_->Layout(cmdId, BodyKind::kRequest, layout);
  if (status != 0) return status;
  const ParamTreeBlock* block = ParamTreeBlock::Of(root);
  if (block == nullptr || block->layout != layout) return result::kWrongTree;
  auto* copy = static_cast<std::uint8_t*>(PoolMalloc(layout->BodyBytes()));
  if (copy == nullptr) return result::kNoMemory;
  if (layout->BodyBytes() != 0) std::memcpy(copy, block->body, layout->BodyBytes());
  *lengthBytes = layout->BodyBytes();
  *body = copy;
  return result::kOk;
}

std::uint32_t CParamCodec::Decode(const DecodeDescriptor& descriptor, const std::uint8_t* bytes,
                                  CParamNode& root, CategoryIdType /*category*/) {
  std::shared_ptr<const TreeLayout> layout;
  BodyKind kind{};
  std::uint32_t status = openStatus_;
  if (status == 0 && !KindOfMode(descriptor.mode, kind)) status = result::kNotSupported;
  if (status == 0) status = catalogue_->Layout(descriptor.cmdId, kind, layout);
  if (status == 0 && (descriptor.lengthBytes != layout->BodyBytes() ||
                      (bytes == nullptr && descriptor.lengthBytes != 0))) {
    status = result::kBodySize;
  }
  if (status == 0) return ParamTreeBlock::Fill(root, layout, bytes);
  ParamTreeBlock::Clear(root);
  return status;
}
