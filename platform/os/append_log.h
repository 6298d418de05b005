// Appending lines to a log file that never grows beyond a limit.
//
// A line is one write in append mode, so lines of several threads and processes do not mix. A file
// that the line would take beyond the limit is first renamed to PATH.1 (an older one is replaced);
// a lock on the file makes sure that of several writers only one does so.
//
// Threads: any. Errors: 0, or the system's error number; the line is then lost.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/platform_export.h"

namespace os {

// What became of an append.
struct Appended {
  int error = 0;  // 0, or the system's number; EINVAL where the path is no regular file
  std::size_t writtenBytes = 0;
};
// Appends all of `text` to a file that is opened and closed again, in as few writes as the system
// takes. A file that is made is private to its owner; missing parent directories are created.
KIVPLATFORM_API Appended AppendToRegularFile(const std::string& mappedPath, std::string_view text);

// Missing parent directories are created. The file is private to its owner.
int AppendLogLine(const std::string& mappedPath, std::string_view line, std::size_t limitBytes);
}  // namespace os
