#include <sys/stat.h>
#include <time.h>

#include "platform/os/descriptor.h"
#include "platform/os/file_handle_posix.h"
#include "platform/os/file_watch.h"
#include "platform/os/paths.h"

namespace os {
namespace {

// The longest step of the clock that files are stamped with is 10 ms; a time in the future is not
// waited for.
constexpr int kMostPauses = 20;
constexpr timespec kPause = {0, 1'000'000};

// Whether a write at this moment would get the same time as the last one.
bool IsWrittenThisTick(const struct stat& status) {
  timespec now{};
  if (clock_gettime(CLOCK_REALTIME_COARSE, &now) != 0) return false;
  const timespec& written = status.st_mtim;
  return written.tv_sec > now.tv_sec ||
         (written.tv_sec == now.tv_sec && written.tv_nsec >= now.tv_nsec);
}

}  // namespace

struct FileWatch::Status {
  struct stat of;
};

FileWatch::Stamp FileWatch::StampOf(const Status& found) {
  const struct stat& status = found.of;
  return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
          static_cast<std::uint64_t>(status.st_size),
          static_cast<std::int64_t>(status.st_mtim.tv_sec),
          static_cast<std::int64_t>(status.st_mtim.tv_nsec)};
}

bool FileWatch::Begin(HANDLE file, const wchar_t* path) {
  mappedPath_ = MapPath(path);
  Status status{};
  for (int pauses = 0;; ++pauses) {
    if (fstat(DescriptorOf(file), &status.of) != 0) return false;
    if (pauses == kMostPauses || !IsWrittenThisTick(status.of)) break;
    nanosleep(&kPause, nullptr);
  }
  begun_ = StampOf(status);
  return true;
}

WatchedFile FileWatch::Look() const {
  Status status{};
  if (RetryWhenInterrupted([&] { return stat(mappedPath_.c_str(), &status.of); }) != 0) {
    return WatchedFile::kGone;
  }
  return StampOf(status) == begun_ ? WatchedFile::kSame : WatchedFile::kChanged;
}

}  // namespace os
