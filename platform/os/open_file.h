// Opening a file of the C library by an already mapped path.
//
// Threads: any. Owns or borrows: the caller closes with fclose.
// Errors: null, and errno says why.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/platform_export.h"

namespace os {
// Like fopen with the C mode text; "t" has no effect, a child process does not inherit the file.
// Only regular files are opened. A pipe or a socket fails with ESPIPE: it could keep its opener
// waiting for ever, a log's writer as well as a reader. A directory fails with EISDIR, a device
// with EACCES, a path with a zero character in it or a null mode with EINVAL.
KIVPLATFORM_API std::FILE* OpenFile(const std::string& mappedPath, const char* mode);
// Size in bytes of an open file; 0 when the system does not tell.
KIVPLATFORM_API std::uint64_t FileSizeBytes(std::FILE* file);
// Size in bytes by seeking to the end and back to the start; false, and `sizeBytes` as it was, for
// what cannot be seeked in.
KIVPLATFORM_API bool SeekSizeBytes(std::FILE* file, std::uint64_t& sizeBytes);
// Whether the path names an existing regular file (a directory is none).
KIVPLATFORM_API bool IsRegularFile(const std::string& mappedPath);
}  // namespace os
