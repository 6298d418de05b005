// FileLock: keeps several processes from changing one file at a time.
//
// The lock is on a file of its own (created with mode 0600, never removed), held by the open file
// and so gone with its process, however that ends: a lock file that lies there means nothing.
// Whoever waits gets the lock before one that has just had it asks again.
//
// The length of the lock file counts how often what it guards began anew instead of going on from
// what was there: whoever knows the number of before can tell that it went on without them.
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

  // While it is held; 0 on a file system without locks too.
  std::uint64_t CountBegun() const;
  // Counts one more; 0 or an error number.
  int NoteBegun();
  // The same without the lock; 0 when there is no lock file.
  static std::uint64_t CountBegun(const std::string& mappedPath);

 private:
  Descriptor file_;
};

}  // namespace os
