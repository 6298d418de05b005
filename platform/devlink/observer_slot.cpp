#include "platform/devlink/observer_slot.h"

#include <atomic>
#include <chrono>

namespace devlink {

namespace {

std::atomic<LinkObserver*> theObserver{nullptr};

std::uint64_t WallClockNs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace

void SetLinkObserver(LinkObserver* observer) {
  theObserver.store(observer, std::memory_order_release);
}

LinkObserver* Observer() noexcept { return theObserver.load(std::memory_order_acquire); }

void Tap(Direction direction, const FrameHead& head, std::span<const std::uint8_t> body,
         std::chrono::steady_clock::time_point readAt) {
  LinkObserver* const observer = Observer();
  if (observer == nullptr) return;
  TapMessage message;
  message.direction = direction;
  message.kind = head.kind;
  message.cmdId = head.id;
  message.tag = head.tag;
  message.word16 = head.word16;
  message.word = head.word32;
  message.resultCode = head.result;
  message.sequence = head.sequence;
  message.body = body.data();
  message.bodyLengthBytes = body.size();
  message.timeNs = WallClockNs();
  message.readAt = readAt;
  observer->OnMessage(message);
}

}  // namespace devlink
