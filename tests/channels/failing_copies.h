// Makes the n-th bounds-checked zeroing or copy fail that the module or its platform makes. The
// test program is linked so that these calls pass here.
//
// Threads: one. Owns nothing. Errors: a failing copy moves nothing and answers ERANGE; a failing
// zeroing zeroes all the same, as the real one does where it can.
#pragma once

#include <cerrno>

namespace kivtest {

inline constexpr int kBoundedError = ERANGE;

// While it lives, the `nth` call (1 is the next one) of the kind fails, and no other.
class FailingCopy {
 public:
  enum class Kind { kZeroing, kCopy };
  FailingCopy(Kind kind, int nth);
  ~FailingCopy();
  FailingCopy(const FailingCopy&) = delete;
  FailingCopy& operator=(const FailingCopy&) = delete;

  // Whether there were so many calls that one failed.
  bool Happened() const;
};

}  // namespace kivtest
