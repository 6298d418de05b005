// FileStamp: tells whether a file is still the one that was seen before.
//
// Threads: any. Owns nothing.
#pragma once

#include <cstdint>
#include <string>

#include "platform/platform_export.h"

namespace os {

// What tells that a file is another one, or was written, since it was looked at.
struct FileStamp {
  std::uint64_t device = 0;
  std::uint64_t file = 0;
  std::uint64_t sizeBytes = 0;
  std::int64_t changedNs = 0;  // of content or attributes, since the system's epoch
  bool operator==(const FileStamp&) const = default;
};

// 0, or the system's error number; EISDIR for what is not a regular file.
KIVPLATFORM_API int StampOf(const std::string& mappedPath, FileStamp& stamp);

// Whether both names lead to one file or directory, which is there.
KIVPLATFORM_API bool LeadToOne(const std::string& mappedPathA, const std::string& mappedPathB);

}  // namespace os
