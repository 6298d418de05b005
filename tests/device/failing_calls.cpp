#include "tests/device/failing_calls.h"

#include <dirent.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

namespace kivtest {
namespace {

int leftAllocations = 0;  // 0: none fails
int leftFileCalls = 0;
bool happened = false;
int live = 0;
size_t mostBytesOfAWrite = 0;  // 0: any
unsigned shortWrites = 0;

size_t LengthOfWrite(size_t length) {
  if (mostBytesOfAWrite == 0 || length <= mostBytesOfAWrite) return length;
  ++shortWrites;
  return mostBytesOfAWrite;
}

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

bool AllocationFails() {
  if (!IsTheOne(&leftAllocations)) return false;
  errno = ENOMEM;
  return true;
}

void* Counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}

}  // namespace

int LiveAllocations() { return live; }

FailingCall::FailingCall(Kind kind, int nth) {
  happened = false;
  (kind == Kind::kAllocation ? leftAllocations : leftFileCalls) = nth;
}

FailingCall::~FailingCall() {
  leftAllocations = 0;
  leftFileCalls = 0;
}

bool FailingCall::Happened() const { return happened; }

ShortWrites::ShortWrites() {
  mostBytesOfAWrite = 100;
  shortWrites = 0;
}

ShortWrites::~ShortWrites() { mostBytesOfAWrite = 0; }

unsigned ShortWrites::Count() const { return shortWrites; }

}  // namespace kivtest

extern "C" {

void* __real_malloc(size_t bytes);
void* __real_calloc(size_t count, size_t bytes);
void __real_free(void* block);
FILE* __real_fopen(const char* path, const char* mode);
DIR* __real_opendir(const char* path);
ssize_t __real_read(int file, void* bytes, size_t length);
ssize_t __real_pread(int file, void* bytes, size_t length, off_t at);
ssize_t __real_write(int file, const void* bytes, size_t length);
int __real_fsync(int file);
int __real_renameat(int fromFolder, const char* from, int toFolder, const char* to);

void* __wrap_malloc(size_t bytes) {
  return kivtest::AllocationFails() ? nullptr : kivtest::Counted(__real_malloc(bytes));
}

void* __wrap_calloc(size_t count, size_t bytes) {
  return kivtest::AllocationFails() ? nullptr : kivtest::Counted(__real_calloc(count, bytes));
}

void __wrap_free(void* block) {
  if (block != nullptr) --kivtest::live;
  __real_free(block);
}

FILE* __wrap_fopen(const char* path, const char* mode) {
  return kivtest::AllocationFails() ? nullptr : __real_fopen(path, mode);
}

DIR* __wrap_opendir(const char* path) {
  return kivtest::AllocationFails() ? nullptr : __real_opendir(path);
}

ssize_t __wrap_read(int file, void* bytes, size_t length) {
  return kivtest::FileCallFails() ? -1 : __real_read(file, bytes, length);
}

ssize_t __wrap_write(int file, const void* bytes, size_t length) {
  if (kivtest::FileCallFails()) return -1;
  return __real_write(file, bytes, kivtest::LengthOfWrite(length));
}

ssize_t __wrap_pread(int file, void* bytes, size_t length, off_t at) {
  return kivtest::FileCallFails() ? -1 : __real_pread(file, bytes, length, at);
}

int __wrap_fsync(int file) { return kivtest::FileCallFails() ? -1 : __real_fsync(file); }

int __wrap_renameat(int fromFolder, const char* from, int toFolder, const char* to) {
  return kivtest::FileCallFails() ? -1 : __real_renameat(fromFolder, from, toFolder, to);
}
}
