#include "hosts/terminal/load_progress.h"

#include <algorithm>
#include <string_view>
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

// Bodies are laid out with the small end first.
std::uint32_t ReadSmallEndFirst(std::span<const std::uint8_t> bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | bytes[i];
  return static_cast<std::uint32_t>(value);
}

// How the shipped catalogue calls the field that says how far a load is, its type, and the value
// for a file that is on the disk.
constexpr std::wstring_view kStateField = L"state";
constexpr std::wstring_view kStateType = L"load_state";
constexpr std::uint32_t kStateStored = 2;

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
  indexBytes_ = 0;
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{cmdId_, DecodeDescriptor::kReq,
                                    static_cast<std::uint32_t>(body.size())};
  if (codec.Decode(descriptor, body.data(), tree, CategoryIdType::Any) != result::kOk) return;
  CParamNode* const index = tree.GetFirstChild();
  CParamNode* const count = index != nullptr ? index->GetNextNeighbor() : nullptr;
  if (!ReadNumber(index, state_.index) || !ReadNumber(count, state_.count)) return;
  state_.confirmed = state_.first = state_.index;
  const std::size_t width = index->GetSizeInStruct();
  const bool isInFront = width <= sizeof(std::uint64_t) && width <= body.size() &&
                         ReadSmallEndFirst(body.first(width)) == state_.index;
  indexBytes_ = isInFront ? width : 0;
  // A confirmation may have come that the module has not looked at yet.
  state_.isResumed = before.isPosted && before.index == state_.index &&
                     before.count == state_.count && (before.isWaiting || before.index > 0);
}

// What the chunk says of itself holds: a device that confirms ahead keeps the module going though
// the chunk before looks unconfirmed from here.
void LoadProgress::SendNext(std::span<const std::uint8_t> body) {
  if (indexBytes_ != 0 && body.size() >= indexBytes_) {
    state_.index = ReadSmallEndFirst(body.first(indexBytes_));
    state_.confirmed = std::max(state_.confirmed, state_.index);
  } else if (!state_.isWaiting) {
    ++state_.index;
  }
}

bool LoadProgress::Posted(std::uint32_t cmdId, std::uint16_t tag,
                          std::span<const std::uint8_t> body, bool isUnclear) {
  if (cmdId == 0 || cmdId != cmdId_) return false;
  const bool isFirst = std::exchange(isFirst_, false);
  if (isFirst) {
    BeginLoad(body);
  } else {
    SendNext(body);
  }
  state_.isPosted = state_.isWaiting = true;
  state_.isUnclear = isUnclear;
  state_.latest = Clock::now();
  tag_ = tag;
  return isFirst;
}

void LoadProgress::PostFailed(std::uint32_t cmdId, std::uint16_t tag) {
  if (IsLast(cmdId, tag)) state_.isWaiting = false;
}

bool LoadProgress::Confirmed(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode,
                             std::span<const std::uint8_t> body) {
  if (!IsLast(cmdId, tag)) return false;
  state_.isWaiting = false;
  state_.latest = Clock::now();
  state_.result = resultCode;
  if (resultCode == result::kOk) {
    state_.confirmed = state_.index + 1;
    state_.isDenied = state_.IsAtLastChunk() && IsDenial(body);
  }
  return state_.HasEnded();
}

// A good result means that the file is stored. A device that says otherwise about this very chunk,
// in the fields that the catalogue gives it for that, is believed; one that says nothing is not
// asked for more.
bool LoadProgress::IsDenial(std::span<const std::uint8_t> body) const {
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{cmdId_, DecodeDescriptor::kCnf,
                                    static_cast<std::uint32_t>(body.size())};
  if (codec.Decode(descriptor, body.data(), tree, CategoryIdType::Any) != result::kOk) return false;
  const CParamNode* const index = std::as_const(tree).GetFirstChild();
  const CParamNode* const count = index != nullptr ? index->GetNextNeighbor() : nullptr;
  std::uint32_t answeredIndex = 0;
  std::uint32_t answeredCount = 0;
  if (!ReadNumber(index, answeredIndex) || !ReadNumber(count, answeredCount)) return false;
  if (answeredIndex != state_.index || answeredCount != state_.count) return false;
  for (const CParamNode* node = count; node != nullptr; node = node->GetNextNeighbor()) {
    std::uint32_t value = 0;
    if (node->GetVariableName() == kStateField && node->GetTypeName() == kStateType &&
        ReadNumber(node, value)) {
      return value != kStateStored;
    }
  }
  return false;
}

}  // namespace kiv
