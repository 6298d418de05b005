// FileLock: keeps several processes from changing one file at a time.
//
// The lock is on a file of its own (created with mode 0600, never removed), held by the open file
// and so gone with its process, however that ends: a lock file that lies there means nothing.
// Whoever waits gets the lock before one that has just had it asks again.
//
// In the lock file stands a mark, another one each time what it guards began anew instead of going
// on from what was there: whoever knows the mark of before can tell that it went on without them.
// No mark comes twice, also not when the lock file was removed meanwhile. It has one length always,
// so that a new one needs no room on a full disk.
//
// Threads: one object for one thread at a time; two objects of one process exclude each other too.
// Owns the open file. Errors: error numbers; ETIMEDOUT when others held it all the time.
#pragma once

#include <chrono>
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

  // A file system that has no locks counts as locked. Held is the file that has the name now.
  int Acquire(const std::string& mappedPath, std::uint32_t waitMs);
  void Release();

  // While it is held; empty when nothing began anew yet.
  std::string Mark() const;
  // Another mark; 0 or an error number. After an error it is the old one or one that nobody knows.
  int NoteBegun();
  // The same without the lock; empty when there is no lock file.
  static std::string Mark(const std::string& mappedPath);

 private:
  using Clock = std::chrono::steady_clock;
  int AcquireOpened(const std::string& mappedPath, Clock::time_point end);

  Descriptor file_;
};

}  // namespace os
