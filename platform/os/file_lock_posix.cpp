#include "platform/os/file_lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "platform/os/file_stamp.h"

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

bool HasNoLocks(int error) {
  return error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP || error == EINVAL;
}

}  // namespace

int FileLock::Acquire(const std::string& mappedPath, std::uint32_t waitMs) {
  const auto end = Clock::now() + std::chrono::milliseconds(waitMs);
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

std::uint64_t FileLock::CountBegun() const {
  struct stat status {};
  if (!file_.isOpen() || fstat(file_.number(), &status) != 0) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

int FileLock::NoteBegun() {
  if (!file_.isOpen()) return EBADF;
  if (lseek(file_.number(), 0, SEEK_END) < 0) return errno;
  return ErrorOf(
      RetryWhenInterrupted([&] { return system_calls::Write(file_.number(), "\n", 1); }));
}

std::uint64_t FileLock::CountBegun(const std::string& mappedPath) {
  FileStamp stamp;
  return StampOf(mappedPath, stamp) == 0 ? stamp.sizeBytes : 0;
}

}  // namespace os
