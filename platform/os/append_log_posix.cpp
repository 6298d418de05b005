#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/os/append_log.h"
#include "platform/os/descriptor.h"
#include "platform/os/safe_file.h"

namespace os {
namespace {

// Another writer may rotate between our look and our lock; that often in a row nobody does.
constexpr int kMaxTries = 8;

int OpenLog(const std::string& path, Descriptor& file) {
  // Without blocking: a pipe of that name must not hold up who logs.
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY;
  const auto open = [&path] { return system_calls::Open(path.c_str(), kFlags, 0600); };
  file.Reset(RetryWhenInterrupted(open));
  if (file.isOpen() || errno != ENOENT) return file.isOpen() ? 0 : errno;
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ENOENT;
  if (const int error = MakeDirectories(path.substr(0, slash))) return error;
  file.Reset(RetryWhenInterrupted(open));
  return file.isOpen() ? 0 : errno;
}

bool IsFull(const Descriptor& file, std::size_t lineBytes, std::size_t limitBytes) {
  struct stat status {};
  if (fstat(file.number(), &status) != 0 || status.st_size == 0) return false;
  return static_cast<std::size_t>(status.st_size) + lineBytes > limitBytes;
}

// Whether the path still names the open file.
bool IsCurrent(const std::string& path, const Descriptor& file) {
  struct stat named {};
  struct stat opened {};
  return stat(path.c_str(), &named) == 0 && fstat(file.number(), &opened) == 0 &&
         named.st_ino == opened.st_ino && named.st_dev == opened.st_dev;
}

// Moves the full log aside, unless another writer just did.
int Rotate(const std::string& path, const Descriptor& file) {
  if (RetryWhenInterrupted([&file] { return flock(file.number(), LOCK_EX); }) != 0) return errno;
  if (!IsCurrent(path, file)) return 0;
  return ErrorOf(RetryWhenInterrupted(
      [&path] { return system_calls::Rename(path.c_str(), (path + ".1").c_str()); }));
}

bool IsRegular(const Descriptor& file) {
  struct stat status {};
  return fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

Appended AppendToRegularFile(const std::string& mappedPath, std::string_view text) {
  Descriptor file;
  Appended appended;
  appended.error = OpenLog(mappedPath, file);
  // A pipe that nobody reads, likewise.
  if (appended.error == ENXIO) appended.error = EINVAL;
  if (appended.error == 0 && !IsRegular(file)) appended.error = EINVAL;
  while (appended.error == 0 && appended.writtenBytes < text.size()) {
    const std::string_view rest = text.substr(appended.writtenBytes);
    const ssize_t written = RetryWhenInterrupted(
        [&] { return system_calls::Write(file.number(), rest.data(), rest.size()); });
    if (written < 0) {
      appended.error = errno;
    } else if (written == 0) {
      appended.error = ENOSPC;
    } else {
      appended.writtenBytes += static_cast<std::size_t>(written);
    }
  }
  const int closed = file.Close();
  if (appended.error == 0) appended.error = closed;
  return appended;
}

int AppendLogLine(const std::string& mappedPath, std::string_view line, std::size_t limitBytes) {
  Descriptor file;
  for (int i = 0; i < kMaxTries; ++i) {
    if (const int error = OpenLog(mappedPath, file)) return error;
    if (!IsFull(file, line.size(), limitBytes)) break;
    if (const int error = Rotate(mappedPath, file)) return error;
  }
  const ssize_t written = RetryWhenInterrupted(
      [&] { return system_calls::Write(file.number(), line.data(), line.size()); });
  if (written < 0) return errno;
  return static_cast<std::size_t>(written) == line.size() ? file.Close() : ENOSPC;
}

}  // namespace os
