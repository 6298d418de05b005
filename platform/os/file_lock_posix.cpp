#include "platform/os/file_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>

namespace os {
namespace {

using Clock = std::chrono::steady_clock;

// Two bytes of the lock file. Who wants the lock takes the queue first and leaves it when it has
// the lock, so that of two processes that save all the time each gets its turn.
constexpr off_t kQueueByte = 0;
constexpr off_t kLockByte = 1;

constexpr auto kShortestPause = std::chrono::microseconds(50);
constexpr auto kLongestPause = std::chrono::milliseconds(5);

int SetLock(int file, short type, off_t byte) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  return ErrorOf(RetryWhenInterrupted([&] { return fcntl(file, F_OFD_SETLK, &range); }));
}

bool IsHeldByOthers(int error) { return error == EAGAIN || error == EACCES; }

// The system's waiting for a lock has no limit, so this asks again and again.
int WaitForLock(int file, off_t byte, Clock::time_point end) {
  auto pause = std::chrono::duration_cast<Clock::duration>(kShortestPause);
  for (;;) {
    const int error = SetLock(file, F_WRLCK, byte);
    if (!IsHeldByOthers(error)) return error;
    if (Clock::now() >= end) return ETIMEDOUT;
    std::this_thread::sleep_for(pause);
    pause = std::min<Clock::duration>(pause * 2, kLongestPause);
  }
}

constexpr std::size_t kMarkBytes = 48;

// Of this process at this moment, and of this call when the clock stands.
std::string NewMark() {
  static std::atomic<std::uint32_t> calls{0};
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  std::string mark = std::to_string(std::chrono::nanoseconds(now).count()) + " " +
                     std::to_string(getpid()) + " " + std::to_string(calls++);
  mark.resize(kMarkBytes - 1, ' ');
  return mark + '\n';
}

std::string MarkIn(const Descriptor& file) {
  std::string mark(kMarkBytes, '\0');
  if (!file.isOpen()) return {};
  const ssize_t got =
      RetryWhenInterrupted([&] { return pread(file.number(), mark.data(), mark.size(), 0); });
  mark.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return mark;
}

// Whether the name still leads to the file. One that the system does not tell counts as it.
bool HasName(const Descriptor& file, const std::string& path) {
  struct stat held {
  }, named{};
  if (fstat(file.number(), &held) != 0) return true;
  if (RetryWhenInterrupted([&] { return lstat(path.c_str(), &named); }) != 0) {
    return errno != ENOENT;
  }
  return held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

bool HasNoLocks(int error) {
  return error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP || error == EINVAL;
}

}  // namespace

int FileLock::Acquire(const std::string& mappedPath, std::uint32_t waitMs) {
  const auto end = Clock::now() + std::chrono::milliseconds(waitMs);
  for (;;) {
    const int error = AcquireOpened(mappedPath, end);
    // Somebody may have removed the lock file while this waited: then others take another one.
    if (error != 0 || HasName(file_, mappedPath)) return error;
    Release();
    if (Clock::now() >= end) return ETIMEDOUT;
  }
}

int FileLock::AcquireOpened(const std::string& mappedPath, Clock::time_point end) {
  file_.Reset(RetryWhenInterrupted([&] {
    return system_calls::Open(mappedPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600);
  }));
  if (!file_.isOpen()) return errno;
  int error = WaitForLock(file_.number(), kQueueByte, end);
  if (error == 0) error = WaitForLock(file_.number(), kLockByte, end);
  if (error == 0) error = SetLock(file_.number(), F_UNLCK, kQueueByte);
  if (HasNoLocks(error)) return 0;
  if (error != 0) Release();
  return error;
}

// Unlocked before it is closed: a close that fails must not leave this process locked out.
void FileLock::Release() {
  if (!file_.isOpen()) return;
  SetLock(file_.number(), F_UNLCK, kQueueByte);
  SetLock(file_.number(), F_UNLCK, kLockByte);
  file_.Reset(-1);
}

std::string FileLock::Mark() const { return MarkIn(file_); }

int FileLock::NoteBegun() {
  if (!file_.isOpen()) return EBADF;
  if (lseek(file_.number(), 0, SEEK_SET) < 0) return errno;
  const std::string mark = NewMark();
  for (std::string_view rest = mark; !rest.empty();) {
    const ssize_t written = RetryWhenInterrupted(
        [&] { return system_calls::Write(file_.number(), rest.data(), rest.size()); });
    if (written < 0) return errno;
    if (written == 0) return EIO;
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

std::string FileLock::Mark(const std::string& mappedPath) {
  return MarkIn(Descriptor(RetryWhenInterrupted([&] {
    return open(mappedPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  })));
}

}  // namespace os
