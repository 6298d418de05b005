// FileLock: keeps several processes from changing one file at a time.
//
// The lock is on a file of its own (created with mode 0600, never removed), held by the open file
// and so gone with its process, however that ends: a lock file that lies there means nothing.
// Whoever waits gets the lock before one that has just had it asks again.
//
// Threads: one object for one thread at a time; two objects of one process exclude each other too.
// Owns the open file. Errors: error numbers; ETIMEDOUT when others held it all the time.
#pragma once

#include <cstdint>
#include <string>

#include "platform/os/descriptor.h"
#include "platform/platform_export.h"

namespace os {

// Held until Release or its end.
class KIVPLATFORM_API FileLock {
 public:
  FileLock() = default;
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock() { Release(); }

  // A file system that has no locks counts as locked.
  int Acquire(const std::string& mappedPath, std::uint32_t waitMs);
  void Release();

 private:
  Descriptor file_;
};

}  // namespace os
