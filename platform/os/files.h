// The named file services. On Windows the system's own serve; here they are made of POSIX calls.
//
// Threads: any; a handle is for one thread at a time. GetLastError is per thread.
// Errors: as the named services have them: INVALID_HANDLE_VALUE, 0 or INVALID_FILE_SIZE, and the reason in
// GetLastError as a Windows error code (ERROR_FILE_NOT_FOUND 2, ERROR_ACCESS_DENIED 5, ...).
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
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

KIVPLATFORM_API HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security,
                                   DWORD disposition, DWORD attributes, HANDLE templateFile);
// Low 32 bits of the size in bytes; `high` (may be null) gets the upper 32.
KIVPLATFORM_API DWORD GetFileSize(HANDLE file, DWORD* high);
KIVPLATFORM_API DWORD SetFilePointer(HANDLE file, LONG distanceBytes, LONG* distanceHigh, DWORD origin);
KIVPLATFORM_API BOOL ReadFile(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes,
                              void* overlapped);
KIVPLATFORM_API BOOL CloseHandle(HANDLE file);
KIVPLATFORM_API DWORD GetLastError();
KIVPLATFORM_API BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes);
#endif
