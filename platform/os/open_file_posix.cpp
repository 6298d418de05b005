#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/os/open_file.h"

namespace os {
namespace {

// The C mode without "t", which POSIX does not know, and with "e" for close-on-exec.
std::string PosixMode(const char* mode) {
  std::string posix(mode);
  posix.erase(std::remove(posix.begin(), posix.end(), 't'), posix.end());
  return posix + "e";
}

// Why what is there is not opened; 0 when it may be.
int RefusalOf(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return 0;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ? ESPIPE : EACCES;
}

}  // namespace

std::FILE* OpenFile(const std::string& mappedPath, const char* mode) {
  if (mode == nullptr || mappedPath.find('\0') != std::string::npos) {
    errno = EINVAL;
    return nullptr;
  }
  // Before it is opened, since that alone may wait; and after it, since a path may change
  // meanwhile.
  struct stat status {};
  int refusal = stat(mappedPath.c_str(), &status) == 0 ? RefusalOf(status) : 0;
  std::FILE* file = nullptr;
  if (refusal == 0) {
    file = std::fopen(mappedPath.c_str(), PosixMode(mode).c_str());
    if (file == nullptr) return nullptr;
    if (fstat(fileno(file), &status) == 0) refusal = RefusalOf(status);
  }
  if (refusal == 0) return file;
  if (file != nullptr) std::fclose(file);
  errno = refusal;
  return nullptr;
}

std::uint64_t FileSizeBytes(std::FILE* file) {
  struct stat status {};
  if (fstat(fileno(file), &status) != 0) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

bool SeekSizeBytes(std::FILE* file, std::uint64_t& sizeBytes) {
  if (fseeko(file, 0, SEEK_END) != 0) return false;
  const off_t end = ftello(file);
  if (end < 0 || fseeko(file, 0, SEEK_SET) != 0) return false;
  sizeBytes = static_cast<std::uint64_t>(end);
  return true;
}

bool IsRegularFile(const std::string& mappedPath) {
  struct stat status {};
  return stat(mappedPath.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace os
