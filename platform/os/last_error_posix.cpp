#include <cerrno>

#include "platform/os/files.h"
#include "platform/os/last_error.h"

namespace {

thread_local DWORD g_lastError = 0;

struct ErrorRow {
  int errorNumber;
  DWORD code;
};

constexpr DWORD kGeneralFailure = 31;

constexpr ErrorRow kErrors[] = {
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EMFILE, 4},  // too many open files
    {ENFILE, 4},
    {EACCES, ERROR_ACCESS_DENIED},
    {EPERM, ERROR_ACCESS_DENIED},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EBADF, ERROR_INVALID_HANDLE},
    {ENOMEM, 8},  // not enough memory
    {EROFS, 19},  // write protected
    {EBUSY, ERROR_SHARING_VIOLATION},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EWOULDBLOCK, ERROR_SHARING_VIOLATION},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENOSPC, 112},  // disk full
    {EDQUOT, 112},
    {EEXIST, ERROR_ALREADY_EXISTS},
    {ENAMETOOLONG, 206},  // name too long
    {EFBIG, 223},         // file too large
    {EFAULT, 998},        // no access to memory
    {EIO, 1117},          // device error
    {ELOOP, 1921},        // name cannot be resolved
};

}  // namespace

DWORD GetLastError() { return g_lastError; }

namespace os {

void SetLastErrorCode(std::uint32_t code) { g_lastError = code; }

std::uint32_t WindowsCodeOf(int errorNumber) {
  for (const ErrorRow& row : kErrors) {
    if (row.errorNumber == errorNumber) return row.code;
  }
  return errorNumber == 0 ? 0 : kGeneralFailure;
}

void SetLastErrorFrom(int errorNumber) { SetLastErrorCode(WindowsCodeOf(errorNumber)); }

}  // namespace os
