// The system calls that write files, in one place, so that tests can make the n-th one fail.
//
// safe_file and the system log go through here and nothing else of the platform writes to a file.
//
// Threads: any; the seam for tests is process-wide.
// Errors: the calls answer as the system's own do (-1 and errno).
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "platform/platform_export.h"

namespace os::system_calls {

int Open(const char* path, int flags, mode_t mode);
ssize_t Write(int file, const void* bytes, std::size_t countBytes);
int Sync(int file);
int Close(int file);
int Rename(const char* from, const char* to);
int Link(const char* from, const char* to);
int ChangeMode(int file, mode_t mode);

// For tests.
inline constexpr int kShortWrite = -1;
// Makes the n-th call from now on (1 is the next one) fail with `error`, and that one only; 0
// switches off. With kShortWrite a write that is hit writes half of what it was given, and any
// other call succeeds.
KIVPLATFORM_API void FailNth(std::uint64_t n, int error);
// Whether the n-th call has come since the last FailNth.
KIVPLATFORM_API bool Failed();

}  // namespace os::system_calls
