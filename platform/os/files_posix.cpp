#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <string>

#include "platform/os/descriptor.h"
#include "platform/os/file_handle_posix.h"
#include "platform/os/files.h"
#include "platform/os/last_error.h"
#include "platform/os/paths.h"

using os::DescriptorOf;
using os::HandleOf;

namespace {

BOOL Fail(int errorNumber) {
  os::SetLastErrorFrom(errorNumber);
  return 0;
}

int OpenFlags(DWORD access, DWORD disposition) {
  const bool reads = (access & GENERIC_READ) != 0;
  const bool writes = (access & GENERIC_WRITE) != 0;
  const int direction = writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
  const int creation = disposition == CREATE_ALWAYS ? O_CREAT : 0;
  return direction | creation | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
}

// Why what is there cannot be opened as a file; 0 when it can.
int RefusalOf(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EACCES;
}

// Where the folder is missing too the named service says so with a code of its own.
void SetOpenError(const std::string& mappedPath, int errorNumber) {
  const std::size_t slash = mappedPath.rfind('/');
  const bool hasFolder = slash != std::string::npos && slash > 0;
  const bool folderMissing = hasFolder && !os::IsDirectory(mappedPath.substr(0, slash));
  if (errorNumber == ENOENT && (folderMissing || mappedPath.empty())) {
    os::SetLastErrorCode(ERROR_PATH_NOT_FOUND);
  } else {
    os::SetLastErrorFrom(errorNumber);
  }
}

// 0, or an error number. Only a lock that somebody else holds counts: a file system that has none
// must not keep a file from being read.
int LockAgainstOthers(int descriptor) {
  const int locked = os::RetryWhenInterrupted([&] { return flock(descriptor, LOCK_EX | LOCK_NB); });
  return locked != 0 && errno == EWOULDBLOCK ? EWOULDBLOCK : 0;
}

int PrepareOpened(int descriptor, bool isShared, bool empties) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return errno;
  int error = RefusalOf(status);
  if (error == 0 && !isShared) error = LockAgainstOthers(descriptor);
  if (error == 0 && empties && ftruncate(descriptor, 0) != 0) error = errno;
  return error;
}

// The descriptor, or -1 with errno set. What is no regular file is not even opened: that alone may
// wait, or do something to a device.
int OpenRegularFile(const std::string& mappedPath, int flags, bool isShared, bool empties) {
  struct stat status {};
  int error = stat(mappedPath.c_str(), &status) == 0 ? RefusalOf(status) : 0;
  int descriptor = -1;
  if (error == 0) {
    descriptor = os::RetryWhenInterrupted([&] { return open(mappedPath.c_str(), flags, 0666); });
    error = descriptor < 0 ? errno : PrepareOpened(descriptor, isShared, empties);
  }
  if (error == 0) return descriptor;
  if (descriptor >= 0) close(descriptor);
  errno = error;
  return -1;
}

}  // namespace

HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void*, DWORD disposition, DWORD,
                   HANDLE) {
  const bool creates = disposition == CREATE_ALWAYS;
  if (!creates && disposition != OPEN_EXISTING) {
    os::SetLastErrorCode(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  const std::string mapped = path != nullptr ? os::MapPath(path) : std::string();
  const bool existed = creates && PathFileExistsW(path) != 0;
  const int descriptor =
      OpenRegularFile(mapped, OpenFlags(access, disposition), share != 0, creates);
  if (descriptor < 0) {
    SetOpenError(mapped, errno);
    return INVALID_HANDLE_VALUE;
  }
  if (creates) os::SetLastErrorCode(existed ? ERROR_ALREADY_EXISTS : 0);
  return HandleOf(descriptor);
}

DWORD GetFileSize(HANDLE file, DWORD* high) {
  struct stat status {};
  if (fstat(DescriptorOf(file), &status) != 0) {
    os::SetLastErrorFrom(errno);
    return INVALID_FILE_SIZE;
  }
  os::SetLastErrorCode(0);
  const auto size = static_cast<std::uint64_t>(status.st_size);
  if (high != nullptr) *high = static_cast<DWORD>(size >> 32);
  return static_cast<DWORD>(size);
}

namespace {

// Where the pointer would come to stand; -1 when the system does not tell.
std::int64_t TargetOf(int descriptor, std::int64_t distance, DWORD origin) {
  std::int64_t base = 0;
  struct stat status {};
  if (origin == FILE_CURRENT) base = lseek(descriptor, 0, SEEK_CUR);
  if (origin == FILE_END) base = fstat(descriptor, &status) == 0 ? status.st_size : -1;
  if (base < 0) return -1;
  if (distance > 0 && base > std::numeric_limits<std::int64_t>::max() - distance) {
    errno = EINVAL;
    return -1;
  }
  return base + distance;
}

DWORD FailSeek(DWORD code) {
  os::SetLastErrorCode(code);
  return INVALID_SET_FILE_POINTER;
}

}  // namespace

DWORD SetFilePointer(HANDLE file, LONG distanceBytes, LONG* distanceHigh, DWORD origin) {
  if (origin > FILE_END) return FailSeek(ERROR_INVALID_PARAMETER);
  const int descriptor = DescriptorOf(file);
  // Without an upper half and from the begin, the move itself tells all that can be wrong.
  const bool isPlain = distanceHigh == nullptr && origin == FILE_BEGIN && distanceBytes >= 0;
  if (!isPlain && lseek(descriptor, 0, SEEK_CUR) < 0) return FailSeek(os::WindowsCodeOf(errno));
  std::int64_t distance = distanceBytes;
  if (distanceHigh != nullptr) {
    distance = static_cast<std::int64_t>(static_cast<std::uint64_t>(*distanceHigh) << 32 |
                                         static_cast<std::uint32_t>(distanceBytes));
  }
  errno = 0;
  const std::int64_t target = TargetOf(descriptor, distance, origin);
  if (target < 0) return FailSeek(errno != 0 ? os::WindowsCodeOf(errno) : ERROR_NEGATIVE_SEEK);
  if (distanceHigh == nullptr && target > 0xFFFFFFFF) return FailSeek(ERROR_INVALID_PARAMETER);
  if (lseek(descriptor, target, SEEK_SET) < 0) return FailSeek(os::WindowsCodeOf(errno));
  if (distanceHigh != nullptr) *distanceHigh = static_cast<LONG>(target >> 32);
  os::SetLastErrorCode(0);
  return static_cast<DWORD>(target);
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD sizeBytes, DWORD* readBytes, void* overlapped) {
  if (readBytes == nullptr || overlapped != nullptr) return Fail(EINVAL);
  *readBytes = 0;
  if (buffer == nullptr && sizeBytes != 0) return Fail(EFAULT);
  const int descriptor = DescriptorOf(file);
  for (;;) {
    const ssize_t got =
        read(descriptor, static_cast<char*>(buffer) + *readBytes, sizeBytes - *readBytes);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return Fail(errno);
    *readBytes += static_cast<DWORD>(got);
    if (got == 0 || *readBytes == sizeBytes) return 1;
  }
}

BOOL CloseHandle(HANDLE file) {
  const int result = close(DescriptorOf(file));
  return result == 0 || errno == EINTR ? 1 : Fail(errno);
}

BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes) {
  const std::string mapped = path != nullptr ? os::MapPath(path) : std::string();
  struct stat status {};
  if (stat(mapped.c_str(), &status) != 0) {
    SetOpenError(mapped, errno);
    return 0;
  }
  const mode_t old = status.st_mode & 07777;
  const bool readOnly = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  const mode_t wanted = readOnly ? old & ~static_cast<mode_t>(0222) : old | S_IWUSR;
  if (wanted == old) return 1;
  return chmod(mapped.c_str(), wanted) == 0 ? 1 : Fail(errno);
}
