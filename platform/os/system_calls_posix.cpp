#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/os/system_calls.h"

namespace os::system_calls {
namespace {

std::atomic<std::uint64_t> g_untilFailure{0};
std::atomic<int> g_error{0};
std::atomic<bool> g_failed{false};

// Whether this call is the one to fail.
bool IsHit() {
  std::uint64_t left = g_untilFailure.load();
  while (left != 0) {
    if (!g_untilFailure.compare_exchange_weak(left, left - 1)) continue;
    if (left == 1) g_failed.store(true);
    return left == 1;
  }
  return false;
}

// Whether this call is to answer -1 now; errno is then set.
bool Fails() {
  if (!IsHit() || g_error.load() == kShortWrite) return false;
  errno = g_error.load();
  return true;
}

}  // namespace

int Open(const char* path, int flags, mode_t mode) {
  return Fails() ? -1 : ::open(path, flags | O_CLOEXEC, mode);
}

ssize_t Write(int file, const void* bytes, std::size_t countBytes) {
  if (!IsHit()) return ::write(file, bytes, countBytes);
  if (g_error.load() == kShortWrite) return ::write(file, bytes, (countBytes + 1) / 2);
  errno = g_error.load();
  return -1;
}

int Sync(int file) { return Fails() ? -1 : ::fsync(file); }

// The descriptor is gone also when closing fails.
int Close(int file) {
  const bool fails = Fails();
  const int error = errno;
  const int result = ::close(file);
  if (!fails) return result;
  errno = error;
  return -1;
}

int Rename(const char* from, const char* to) { return Fails() ? -1 : std::rename(from, to); }

int Link(const char* from, const char* to) { return Fails() ? -1 : ::link(from, to); }

int ChangeMode(int file, mode_t mode) { return Fails() ? -1 : ::fchmod(file, mode); }

void FailNth(std::uint64_t n, int error) {
  g_error.store(error);
  g_failed.store(false);
  g_untilFailure.store(n);
}

bool Failed() { return g_failed.load(); }

}  // namespace os::system_calls
