// The named file services. On Windows the system's own serve; here they are made of POSIX calls.
//
// Paths go through os::MapPath. Security, templates and attributes at creation have no effect;
// overlapped reading is refused. A file that is opened without sharing (0) is locked, advisory and
// exclusive, against others that ask for the same; any sharing takes no lock.
//
// Threads: any; a handle is for one thread at a time. GetLastError is per thread.
// Owns or borrows: the caller closes a handle with CloseHandle. A null handle is no file and does
// no harm. Errors: as the named services have them: INVALID_HANDLE_VALUE, 0 or INVALID_FILE_SIZE,
// and the reason in GetLastError as a Windows error code (last_error.h). A call that went well
// leaves it alone, but for those that say otherwise.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdint>

#include "platform/platform_export.h"

using DWORD = std::uint32_t;
using LONG = std::int32_t;
using BOOL = int;
using HANDLE = void*;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1)))
inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFFu;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFu;
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 1;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;

// What is no regular file (a directory, a pipe, a device) is refused with ERROR_ACCESS_DENIED
// without waiting, a file that somebody else has locked with ERROR_SHARING_VIOLATION; a file system
// without locks refuses nobody. CREATE_ALWAYS sets the last error on success
// too: ERROR_ALREADY_EXISTS for a file that was there (it is then empty), else 0.
KIVPLATFORM_API HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security,
                                   DWORD disposition, DWORD attributes, HANDLE templateFile);
// Low 32 bits of the size in bytes; `high` (may be null) gets the upper 32. Sets the last error to
// 0 on success, because INVALID_FILE_SIZE may be a true low half.
KIVPLATFORM_API DWORD GetFileSize(HANDLE file, DWORD* high);
// Moves by the 64-bit distance in `distanceHigh`:`distanceBytes`, or by the signed `distanceBytes`
// when `distanceHigh` is null; answers the new position likewise. A position before the start gives
// ERROR_NEGATIVE_SEEK, one that does not fit the answer ERROR_INVALID_PARAMETER, and nothing moves.
// Sets the last error to 0 on success.
KIVPLATFORM_API DWORD SetFilePointer(HANDLE file, LONG distanceBytes, LONG* distanceHigh,
                                     DWORD origin);
// At the end of the file it succeeds with fewer bytes, or none. After a failure `readBytes` says
// how many came before it.
KIVPLATFORM_API BOOL ReadFile(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes,
                              void* overlapped);
KIVPLATFORM_API BOOL CloseHandle(HANDLE file);
KIVPLATFORM_API DWORD GetLastError();
// FILE_ATTRIBUTE_READONLY takes the right to write from everybody; any other attribute without it
// gives the owner that right.
KIVPLATFORM_API BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes);
#endif
