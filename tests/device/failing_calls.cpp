#include "tests/device/failing_calls.h"

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace kivtest {
namespace {

int leftAllocations = 0;  // 0: none fails
int leftFileCalls = 0;
bool happened = false;

bool IsTheOne(int* left) {
  if (*left == 0 || --*left > 0) return false;
  happened = true;
  return true;
}

bool FileCallFails() {
  if (!IsTheOne(&leftFileCalls)) return false;
  errno = EIO;
  return true;
}

}  // namespace

FailingCall::FailingCall(Kind kind, int nth) {
  happened = false;
  (kind == Kind::kAllocation ? leftAllocations : leftFileCalls) = nth;
}

FailingCall::~FailingCall() {
  leftAllocations = 0;
  leftFileCalls = 0;
}

bool FailingCall::Happened() const { return happened; }

}  // namespace kivtest

extern "C" {

void* __real_malloc(size_t bytes);
void* __real_calloc(size_t count, size_t bytes);
ssize_t __real_read(int file, void* bytes, size_t length);
ssize_t __real_write(int file, const void* bytes, size_t length);
int __real_fsync(int file);
int __real_renameat(int fromFolder, const char* from, int toFolder, const char* to);

void* __wrap_malloc(size_t bytes) {
  return kivtest::IsTheOne(&kivtest::leftAllocations) ? nullptr : __real_malloc(bytes);
}

void* __wrap_calloc(size_t count, size_t bytes) {
  return kivtest::IsTheOne(&kivtest::leftAllocations) ? nullptr : __real_calloc(count, bytes);
}

ssize_t __wrap_read(int file, void* bytes, size_t length) {
  return kivtest::FileCallFails() ? -1 : __real_read(file, bytes, length);
}

ssize_t __wrap_write(int file, const void* bytes, size_t length) {
  return kivtest::FileCallFails() ? -1 : __real_write(file, bytes, length);
}

int __wrap_fsync(int file) { return kivtest::FileCallFails() ? -1 : __real_fsync(file); }

int __wrap_renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  return kivtest::FileCallFails() ? -1 : __real_renameat(fromFolder, from, toFolder, to);
}
}
