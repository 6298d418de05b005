#include "command/awaited_confirmation.h"

#include <chrono>
#include <thread>
#include <utility>

namespace SvcKivClass {
namespace {

constexpr std::uint64_t kMark = std::uint64_t{1} << 63;
constexpr std::uint64_t kWatched = std::uint64_t{1} << 62;  // beside the mark, in awaited_
constexpr unsigned kTagShift = 32;

// An agent on the same machine answers within this time, most others need longer.
constexpr std::chrono::microseconds kMoment{50};
constexpr std::uint32_t kLooksSkipped = 64;

constexpr std::uint64_t Packed(std::uint16_t tag, std::uint32_t number) {
  return kMark | std::uint64_t{tag} << kTagShift | number;
}

}  // namespace

void AwaitedConfirmation::Await(std::uint32_t cmdId, std::uint16_t tag, bool looksOut) noexcept {
  newestTag_ = tag;
  const bool isSkipped = looksOut && looksToSkip_ != 0;
  if (isSkipped) --looksToSkip_;
  watched_ = looksOut && !isSkipped ? Packed(tag, cmdId) | kWatched : 0;
  awaited_.store(watched_ != 0 ? watched_ : Packed(tag, cmdId), std::memory_order_release);
}

void AwaitedConfirmation::Forget() noexcept {
  watched_ = 0;
  awaited_.store(0, std::memory_order_release);
  confirmed_.store(0, std::memory_order_release);
}

bool AwaitedConfirmation::IsAwaited(std::uint32_t cmdId, std::uint16_t tag) const noexcept {
  return (awaited_.load(std::memory_order_acquire) & ~kWatched) == Packed(tag, cmdId);
}

bool AwaitedConfirmation::Note(std::uint32_t cmdId, std::uint16_t tag,
                               std::uint32_t resultCode) noexcept {
  std::uint64_t expected = awaited_.load(std::memory_order_acquire);
  do {
    if ((expected & ~kWatched) != Packed(tag, cmdId)) return false;
  } while (!awaited_.compare_exchange_weak(expected, 0, std::memory_order_acq_rel));
  confirmed_.store(Packed(tag, resultCode), std::memory_order_release);
  return true;
}

bool AwaitedConfirmation::NoteWatched(std::uint32_t cmdId, std::uint16_t tag,
                                      std::uint32_t resultCode) noexcept {
  std::uint64_t expected = Packed(tag, cmdId) | kWatched;
  if (!awaited_.compare_exchange_strong(expected, 0, std::memory_order_acq_rel)) return false;
  confirmed_.store(Packed(tag, resultCode), std::memory_order_release);
  return true;
}

bool AwaitedConfirmation::HasCome() const noexcept {
  const std::uint64_t came = confirmed_.load(std::memory_order_acquire);
  return came != 0 && static_cast<std::uint16_t>(came >> kTagShift) == newestTag_;
}

bool AwaitedConfirmation::ComesSoon() noexcept {
  std::uint64_t watched = std::exchange(watched_, 0);
  if (watched == 0) return false;
  using Clock = std::chrono::steady_clock;
  const Clock::time_point until = Clock::now() + kMoment;
  bool isInTime = true;
  while (!HasCome() && isInTime) {
    std::this_thread::yield();
    isInTime = Clock::now() < until;
  }
  // Late, too, on a machine that is busy: there a thread that sleeps gets its turn sooner.
  if (!isInTime) looksToSkip_ = kLooksSkipped;
  if (awaited_.compare_exchange_strong(watched, watched & ~kWatched, std::memory_order_acq_rel)) {
    return false;
  }
  // Claimed by NoteWatched, which wakes nobody: what it notes is there in an instant.
  while (!HasCome()) std::this_thread::yield();
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
