// UniqueFd: owner of one file descriptor.
//
// Threads: one object for one thread. Errors: none; -1 is "no descriptor".
#pragma once

#include <unistd.h>

#include <utility>

namespace devlink {

// A descriptor that is closed with its owner.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  ~UniqueFd() { Reset(); }

  int Get() const noexcept { return fd_; }
  bool Valid() const noexcept { return fd_ >= 0; }
  int Release() noexcept { return std::exchange(fd_, -1); }
  void Reset(int fd = -1) noexcept {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

}  // namespace devlink
