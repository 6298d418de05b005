#include <sys/stat.h>

#include <cerrno>

#include "platform/os/descriptor.h"
#include "platform/os/file_stamp.h"

namespace os {

int StampOf(const std::string& mappedPath, FileStamp& stamp) {
  struct stat status {};
  if (RetryWhenInterrupted([&] { return stat(mappedPath.c_str(), &status); }) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return EISDIR;
  stamp.device = static_cast<std::uint64_t>(status.st_dev);
  stamp.file = static_cast<std::uint64_t>(status.st_ino);
  stamp.sizeBytes = static_cast<std::uint64_t>(status.st_size);
  stamp.changedNs = std::int64_t{status.st_ctim.tv_sec} * 1'000'000'000 + status.st_ctim.tv_nsec;
  return 0;
}

bool LeadToOne(const std::string& mappedPathA, const std::string& mappedPathB) {
  struct stat a {
  }, b{};
  return RetryWhenInterrupted([&] { return stat(mappedPathA.c_str(), &a); }) == 0 &&
         RetryWhenInterrupted([&] { return stat(mappedPathB.c_str(), &b); }) == 0 &&
         a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace os
