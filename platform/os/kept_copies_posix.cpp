#include "platform/os/kept_copies.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "platform/os/descriptor.h"
#include "platform/os/safe_file.h"
#include "platform/os/system_calls.h"

namespace os {
namespace {

constexpr std::size_t kMaxCopyBytes = std::size_t{64} * 1024 * 1024;
constexpr int kMaxAside = 10'000;

int Status(const std::string& path, struct stat& status) {
  return ErrorOf(RetryWhenInterrupted([&] { return lstat(path.c_str(), &status); }));
}

bool IsSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int Link(const std::string& from, const std::string& to) {
  return ErrorOf(
      RetryWhenInterrupted([&] { return system_calls::Link(from.c_str(), to.c_str()); }));
}

int Rename(const std::string& from, const std::string& to) {
  return ErrorOf(
      RetryWhenInterrupted([&] { return system_calls::Rename(from.c_str(), to.c_str()); }));
}

void Remove(const std::string& path) {
  RetryWhenInterrupted([&] { return unlink(path.c_str()); });
}

int CopyContent(const std::string& from, const std::string& to) {
  std::string content;
  const int error = ReadRegularFile(from, kMaxCopyBytes, content);
  return error != 0 ? error : WriteFileSafely(to, content, NewFileRights::kOwnerOnly);
}

bool HaveSameContent(const std::string& a, const struct stat& statusA, const std::string& b,
                     const struct stat& statusB) {
  if (!S_ISREG(statusA.st_mode) || !S_ISREG(statusB.st_mode)) return false;
  if (statusA.st_size != statusB.st_size) return false;
  std::string contentA, contentB;
  return ReadRegularFile(a, kMaxCopyBytes, contentA) == 0 &&
         ReadRegularFile(b, kMaxCopyBytes, contentB) == 0 && contentA == contentB;
}

// Under a name that nobody has. EEXIST when somebody took it meanwhile.
int KeepAs(const std::string& path, const std::string& asidePath) {
  const int linked = Link(path, asidePath);
  if (linked == 0 || linked == EEXIST) return linked;
  const int copied = CopyContent(path, asidePath);
  return copied == EFBIG ? Rename(path, asidePath) : copied;
}

}  // namespace

GoodCopy::~GoodCopy() {
  if (!newName_.empty()) Remove(newName_);
}

int GoodCopy::Prepare(const std::string& mappedPath, const std::string& copyPath) {
  struct stat file {
  }, copy{};
  if (const int error = Status(mappedPath, file)) return error;
  // Already the copy: it stays when the file is replaced. (Renaming a name over another of the same
  // file would leave both.)
  if (Status(copyPath, copy) == 0 && IsSameFile(file, copy)) return 0;
  copyPath_ = copyPath;
  newName_ = copyPath + "-new";
  Remove(newName_);  // of a process that was killed
  int error = Link(mappedPath, newName_);
  if (error != 0) error = CopyContent(mappedPath, newName_);
  if (error != 0) newName_.clear();
  return error;
}

int GoodCopy::Keep() {
  if (newName_.empty()) return 0;
  const int error = Rename(newName_, copyPath_);
  if (error == 0) newName_.clear();
  return error == 0 || CopyContent(newName_, copyPath_) == 0 ? 0 : error;
}

int SetAside(const std::string& mappedPath, std::string& asidePath) {
  struct stat file {
  }, other{};
  if (const int error = Status(mappedPath, file)) return error;
  for (int n = 1; n <= kMaxAside; ++n) {
    asidePath = mappedPath + ".corrupt-" + std::to_string(n);
    const int found = Status(asidePath, other);
    if (found == 0 && IsSameFile(file, other)) return 0;
    if (found == 0 && HaveSameContent(mappedPath, file, asidePath, other)) return 0;
    if (found == 0) continue;
    if (found != ENOENT) return found;
    if (const int error = KeepAs(mappedPath, asidePath); error != EEXIST) return error;
  }
  return EEXIST;
}

}  // namespace os
