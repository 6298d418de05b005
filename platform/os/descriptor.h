// A file descriptor that closes itself, and calls that are repeated when a signal interrupts them.
//
// Threads: one object for one thread at a time. Owns its descriptor. Errors: see Close.
#pragma once

#include <cerrno>

#include "platform/os/system_calls.h"

namespace os {

// `call` answers -1 and sets errno when it fails.
template <typename Call>
auto RetryWhenInterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

// 0, or what errno says of a call that answered -1.
inline int ErrorOf(long result) { return result == -1 ? errno : 0; }

// A descriptor that is closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }

  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }

  void Reset(int number) {
    Close();
    number_ = number;
  }

  // 0 or an error number. Interrupted counts as closed: the system has let go of it.
  int Close() {
    if (!isOpen()) return 0;
    const int error = ErrorOf(system_calls::Close(number_));
    number_ = -1;
    return error == EINTR ? 0 : error;
  }

 private:
  int number_;
};

}  // namespace os
