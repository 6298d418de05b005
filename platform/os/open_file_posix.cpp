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

// fopen opens a directory for reading and only the first read fails.
bool IsOpenDirectory(std::FILE* file) {
  struct stat status {};
  return fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsPipe(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

}  // namespace

std::FILE* OpenFile(const std::string& mappedPath, const char* mode) {
  if (mode == nullptr || mappedPath.find('\0') != std::string::npos) {
    errno = EINVAL;
    return nullptr;
  }
  if (IsPipe(mappedPath)) {
    errno = ESPIPE;
    return nullptr;
  }
  std::FILE* file = std::fopen(mappedPath.c_str(), PosixMode(mode).c_str());
  if (file == nullptr || !IsOpenDirectory(file)) return file;
  std::fclose(file);
  errno = EISDIR;
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
