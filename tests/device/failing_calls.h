// Makes the n-th call of the agent's library to malloc, calloc, fopen, opendir, read, pread, write,
// fsync or renameat fail, or writes short, and counts what it has allocated and not freed. The test
// program is linked so that calls out of static libraries pass here.
//
// Threads: one. Owns or borrows: nothing. Errors: the failing call answers ENOMEM or EIO.
#ifndef TESTS_DEVICE_FAILING_CALLS_H_
#define TESTS_DEVICE_FAILING_CALLS_H_

namespace kivtest {

// While it lives, the `nth` call (1 is the first) of the kind fails, and no other.
class FailingCall {
 public:
  // fopen and opendir are allocations: both want memory of their own.
  enum class Kind { kAllocation, kFile };
  FailingCall(Kind kind, int nth);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

  // Whether there were so many calls that one failed.
  bool Happened() const;
};

// Blocks of malloc and calloc that were not freed.
int LiveAllocations();

// While it lives, every write takes at most 100 bytes.
class ShortWrites {
 public:
  ShortWrites();
  ~ShortWrites();
  ShortWrites(const ShortWrites&) = delete;
  ShortWrites& operator=(const ShortWrites&) = delete;

  // How many were cut.
  unsigned Count() const;
};

}  // namespace kivtest

#endif  // TESTS_DEVICE_FAILING_CALLS_H_
