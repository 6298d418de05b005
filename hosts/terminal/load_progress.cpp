#include "hosts/terminal/load_progress.h"

#include <utility>

#include "platform/base/result_codes.h"
#include "platform/catalogue/param_codec.h"

namespace kiv {
namespace {

// Of a single value; false when it is none.
bool ReadNumber(const CParamNode* node, std::uint32_t& number) {
  std::uint64_t value = 0;
  if (node == nullptr || node->GetValue(&value) != result::kOk) return false;
  number = static_cast<std::uint32_t>(value);
  return true;
}

}  // namespace

void LoadProgress::BeginLine(std::uint32_t cmdId) {
  cmdId_ = cmdId;
  isFirst_ = true;
}

// Index and count are the first two fields, whatever their sizes are.
void LoadProgress::BeginLoad(std::span<const std::uint8_t> body) {
  const LoadState before = IsOpen() ? state_ : LoadState{};
  state_ = {};
  isClosed_ = false;
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{cmdId_, DecodeDescriptor::kReq,
                                    static_cast<std::uint32_t>(body.size())};
  if (codec.Decode(descriptor, body.data(), tree, CategoryIdType::Any) != result::kOk) return;
  CParamNode* const index = tree.GetFirstChild();
  CParamNode* const count = index != nullptr ? index->GetNextNeighbor() : nullptr;
  if (!ReadNumber(index, state_.index) || !ReadNumber(count, state_.count)) return;
  state_.confirmed = state_.first = state_.index;
  // A confirmation may have come that the module has not looked at yet.
  state_.isResumed = before.isPosted && before.index == state_.index &&
                     before.count == state_.count && (before.isWaiting || before.index > 0);
}

bool LoadProgress::Posted(std::uint32_t cmdId, std::uint16_t tag,
                          std::span<const std::uint8_t> body) {
  if (cmdId == 0 || cmdId != cmdId_) return false;
  const bool isFirst = std::exchange(isFirst_, false);
  if (isFirst) {
    BeginLoad(body);
  } else if (!state_.isWaiting) {
    ++state_.index;
  }
  state_.isPosted = state_.isWaiting = true;
  state_.latest = Clock::now();
  tag_ = tag;
  return isFirst;
}

void LoadProgress::PostFailed(std::uint32_t cmdId, std::uint16_t tag) {
  if (IsLast(cmdId, tag)) state_.isWaiting = false;
}

bool LoadProgress::Confirmed(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode) {
  if (!IsLast(cmdId, tag)) return false;
  state_.isWaiting = false;
  state_.latest = Clock::now();
  state_.result = resultCode;
  if (resultCode == result::kOk) state_.confirmed = state_.index + 1;
  return state_.IsStored() || state_.IsRefused();
}

}  // namespace kiv
