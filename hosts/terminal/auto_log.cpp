#include "hosts/terminal/auto_log.h"

#include <condition_variable>
#include <deque>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "platform/os/append_log.h"

namespace kiv {
namespace {

// How long what could not be written waits before it is tried again.
constexpr std::chrono::seconds kRetryAfter{1};

}  // namespace

struct AutoLog::Shared {
  struct Batch {
    std::string path;
    std::string texts;
  };

  explicit Shared(std::function<void()> waker) : wake(std::move(waker)) {}
  void Tell(std::string line) {
    problem += line;
    if (!isAbandoned) wake();
  }

  const std::function<void()> wake;
  std::mutex mutex;  // of all that follows
  std::condition_variable changed;
  std::deque<Batch> batches;  // for different paths, in order
  std::size_t heldBytes = 0;
  std::string problem;
  bool hasFailed = false;  // the last attempt
  bool isLost = false;
  bool isClosing = false;
  bool isDone = false;
  bool isAbandoned = false;
};

AutoLog::AutoLog(std::function<void()> wake) : shared_(std::make_shared<Shared>(std::move(wake))) {}

AutoLog::~AutoLog() { Close(std::chrono::milliseconds(0)); }

void AutoLog::SetPath(const std::string& path) {
  Flush();
  path_ = path;
  if (!path_.empty() && !writer_.joinable()) {
    writer_ = std::thread([shared = shared_] { Write(*shared); });
  }
}

void AutoLog::Flush() {
  if (pending_.empty()) return;
  {
    const std::lock_guard lock(shared_->mutex);
    if (shared_->heldBytes + pending_.size() > kHeldBytes) {
      shared_->isLost = true;
    } else {
      shared_->heldBytes += pending_.size();
      auto& batches = shared_->batches;
      if (batches.empty() || batches.back().path != path_) batches.push_back({path_, {}});
      batches.back().texts += pending_;
    }
  }
  pending_.clear();
  shared_->changed.notify_all();
}

std::string AutoLog::TakeProblem() {
  const std::lock_guard lock(shared_->mutex);
  return std::exchange(shared_->problem, {});
}

// With the lock, but for the time of the write.
void AutoLog::WriteFirst(Shared& shared, std::unique_lock<std::mutex>& lock) {
  Shared::Batch batch = std::move(shared.batches.front());
  shared.batches.pop_front();
  lock.unlock();
  const os::Appended appended = os::AppendToRegularFile(batch.path, batch.texts);
  lock.lock();
  shared.heldBytes -= appended.writtenBytes;
  if (appended.error != 0 && !shared.hasFailed) {
    shared.Tell(LogNotWrittenText(batch.path, appended.error));
  }
  shared.hasFailed = appended.error != 0;
  if (!shared.hasFailed && std::exchange(shared.isLost, false)) {
    shared.Tell(LogIncompleteText(batch.path));
  }
  batch.texts.erase(0, appended.writtenBytes);
  if (!batch.texts.empty()) shared.batches.push_front(std::move(batch));
}

void AutoLog::Write(Shared& shared) {
  std::unique_lock lock(shared.mutex);
  const auto hasWork = [&shared] { return shared.isClosing || !shared.batches.empty(); };
  while (!(shared.isClosing && (shared.batches.empty() || shared.hasFailed))) {
    if (shared.hasFailed) {
      shared.changed.wait_for(lock, kRetryAfter, [&shared] { return shared.isClosing; });
    } else {
      shared.changed.wait(lock, hasWork);
    }
    if (!shared.batches.empty()) WriteFirst(shared, lock);
  }
  shared.isDone = true;
  shared.changed.notify_all();
}

void AutoLog::Close(std::chrono::milliseconds patience) {
  if (!writer_.joinable()) return;
  Flush();
  path_.clear();
  std::unique_lock lock(shared_->mutex);
  shared_->isClosing = true;
  shared_->changed.notify_all();
  const bool isDone = shared_->changed.wait_for(lock, patience, [this] { return shared_->isDone; });
  shared_->isAbandoned = !isDone;
  lock.unlock();
  if (isDone) {
    writer_.join();
  } else {
    writer_.detach();
  }
}

}  // namespace kiv
