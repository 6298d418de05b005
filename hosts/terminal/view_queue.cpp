#include "hosts/terminal/view_queue.h"

#include <algorithm>
#include <utility>

namespace kiv {
namespace {

// What an event costs beside its text, so that empty texts are bounded too.
constexpr std::size_t kEventBytes = sizeof(ViewEvent);

}  // namespace

bool ViewQueue::Add(std::unique_lock<std::mutex>& lock, ViewEvent event) {
  if (closed_) return false;
  const bool wanted = events_.empty() || event.kind == ViewEvent::Kind::kReply;
  heldBytes_ += event.text.size() + kEventBytes;
  events_.push_back(std::move(event));
  lock.unlock();
  if (wanted) wake_();
  return true;
}

bool ViewQueue::PushWaiting(ViewEvent event) {
  std::unique_lock lock(mutex_);
  room_.wait(lock, [this] { return closed_ || heldBytes_ < limitBytes_; });
  return Add(lock, std::move(event));
}

bool ViewQueue::Push(ViewEvent event) {
  std::unique_lock lock(mutex_);
  return Add(lock, std::move(event));
}

bool ViewQueue::TakeReply(std::uint64_t line, ViewEvent& reply) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(events_.begin(), events_.end(), [line](const ViewEvent& event) {
    return event.kind == ViewEvent::Kind::kReply && event.line == line;
  });
  if (found == events_.end()) return false;
  heldBytes_ -= found->text.size() + kEventBytes;
  reply = std::move(*found);
  events_.erase(found);
  return true;
}

std::deque<ViewEvent> ViewQueue::TakeAll() {
  std::deque<ViewEvent> taken;
  {
    const std::lock_guard lock(mutex_);
    taken.swap(events_);
    heldBytes_ = 0;
  }
  room_.notify_all();
  return taken;
}

std::deque<ViewEvent> ViewQueue::TakeSome(std::size_t leastBytes) {
  std::deque<ViewEvent> taken;
  {
    const std::lock_guard lock(mutex_);
    std::size_t takenBytes = 0;
    while (!events_.empty() && takenBytes < leastBytes) {
      takenBytes += events_.front().text.size() + kEventBytes;
      taken.push_back(std::move(events_.front()));
      events_.pop_front();
    }
    heldBytes_ -= takenBytes;
  }
  room_.notify_all();
  return taken;
}

bool ViewQueue::IsEmpty() {
  const std::lock_guard lock(mutex_);
  return events_.empty();
}

ViewQueue::Fill ViewQueue::GetFill() {
  const std::lock_guard lock(mutex_);
  return {events_.size(), heldBytes_, limitBytes_};
}

void ViewQueue::Close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    events_.clear();
    heldBytes_ = 0;
  }
  room_.notify_all();
}

}  // namespace kiv
