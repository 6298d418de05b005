// FileWatch: tells whether an open file is still the one that its path names, unchanged since it
// was looked at first. Device, file number, size and time of the last modification are compared.
//
// Threads: one object for one thread at a time.
// Owns nothing; the handle is looked at in Begin only.
// Errors: a path that cannot be looked at any more counts as gone.
#pragma once

#include <cstdint>
#include <string>

#include "platform/os/files.h"
#include "platform/platform_export.h"

namespace os {

// What a FileWatch found.
enum class WatchedFile { kSame, kChanged, kGone };

// One file, from Begin on.
class KIVPLATFORM_API FileWatch {
 public:
  // Notes what the open file is now; false when the system does not tell. A file that was written
  // a moment ago is waited for until the clock of modification times has moved on (a few
  // milliseconds at most, once): a write that follows could otherwise carry the same time.
  bool Begin(HANDLE file, const wchar_t* path);
  // Another file under the path is a change too.
  WatchedFile Look() const;

 private:
  struct Stamp {
    std::uint64_t device = 0;
    std::uint64_t file = 0;
    std::uint64_t sizeBytes = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNs = 0;  // beyond the seconds
    bool operator==(const Stamp&) const = default;
  };
  struct Status;  // the system's own
  static Stamp StampOf(const Status& status);

  std::string mappedPath_;
  Stamp begun_;
};

}  // namespace os
