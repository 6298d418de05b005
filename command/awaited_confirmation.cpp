#include "command/awaited_confirmation.h"

namespace SvcKivClass {
namespace {

constexpr std::uint64_t kMark = std::uint64_t{1} << 63;
constexpr unsigned kTagShift = 32;

constexpr std::uint64_t Packed(std::uint16_t tag, std::uint32_t number) {
  return kMark | std::uint64_t{tag} << kTagShift | number;
}

}  // namespace

void AwaitedConfirmation::Await(std::uint32_t cmdId, std::uint16_t tag) noexcept {
  newestTag_ = tag;
  awaited_.store(Packed(tag, cmdId), std::memory_order_release);
}

void AwaitedConfirmation::Forget() noexcept {
  awaited_.store(0, std::memory_order_release);
  confirmed_.store(0, std::memory_order_release);
}

bool AwaitedConfirmation::IsAwaited(std::uint32_t cmdId, std::uint16_t tag) const noexcept {
  return awaited_.load(std::memory_order_acquire) == Packed(tag, cmdId);
}

bool AwaitedConfirmation::Note(std::uint32_t cmdId, std::uint16_t tag,
                               std::uint32_t resultCode) noexcept {
  std::uint64_t expected = Packed(tag, cmdId);
  if (!awaited_.compare_exchange_strong(expected, 0, std::memory_order_acq_rel)) return false;
  confirmed_.store(Packed(tag, resultCode), std::memory_order_release);
  return true;
}

// One that was noted just before a newer Await is told by its tag.
std::optional<ConfirmedPost> AwaitedConfirmation::Take() noexcept {
  const std::uint64_t came = confirmed_.exchange(0, std::memory_order_acq_rel);
  const auto tag = static_cast<std::uint16_t>(came >> kTagShift);
  if (came == 0 || tag != newestTag_) return std::nullopt;
  return ConfirmedPost{tag, static_cast<std::uint32_t>(came)};
}

}  // namespace SvcKivClass
