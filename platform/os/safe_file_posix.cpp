#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>

#include "platform/os/descriptor.h"
#include "platform/os/paths.h"
#include "platform/os/safe_file.h"
#include "platform/os/system_calls.h"

namespace os {
namespace {

constexpr int kMaxLinks = 40;
constexpr int kMaxNameTries = 100;
constexpr std::size_t kReadChunkBytes = 64 * 1024;

std::string DirectoryPart(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// What a symbolic link points to; empty for anything else. 0 or an error number.
int LinkTarget(const std::string& path, std::string& target) {
  target.clear();
  char text[PATH_MAX];
  const ssize_t lengthBytes =
      RetryWhenInterrupted([&] { return readlink(path.c_str(), text, sizeof(text)); });
  if (lengthBytes < 0) return errno == EINVAL || errno == ENOENT ? 0 : errno;
  target.assign(text, static_cast<std::size_t>(lengthBytes));
  if (!target.starts_with('/')) target.insert(0, DirectoryPart(path));
  return 0;
}

// The file that is to be replaced, as it is now.
struct OldFile {
  bool exists = false;
  struct stat status {};
};

// Only a regular file that this user may write is replaced: renaming over a device would remove it.
int LookAtOld(const std::string& path, OldFile& old) {
  const int found = RetryWhenInterrupted([&] { return stat(path.c_str(), &old.status); });
  if (found != 0) return errno == ENOENT ? 0 : errno;
  old.exists = true;
  if (S_ISDIR(old.status.st_mode)) return EISDIR;
  if (!S_ISREG(old.status.st_mode)) return EINVAL;
  return ErrorOf(
      RetryWhenInterrupted([&] { return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS); }));
}

// The new content under a name of its own; gone again when it was not renamed.
class Temporary {
 public:
  ~Temporary() {
    if (!path_.empty()) RetryWhenInterrupted([this] { return unlink(path_.c_str()); });
  }

  // A replacement is private until it has the old mode.
  int Create(const std::string& directory, const OldFile& old, NewFileRights rights) {
    const mode_t mode = old.exists || rights == NewFileRights::kOwnerOnly ? 0600 : 0666;
    for (int i = 0; i < kMaxNameTries; ++i) {
      const std::string path = directory + NextName();
      file_.Reset(RetryWhenInterrupted([&] {
        return system_calls::Open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
      }));
      if (file_.isOpen()) path_ = path;
      if (file_.isOpen() || errno != EEXIST) break;
    }
    return file_.isOpen() ? 0 : errno;
  }

  int WriteAll(std::string_view content) {
    while (!content.empty()) {
      const ssize_t written = RetryWhenInterrupted(
          [&] { return system_calls::Write(file_.number(), content.data(), content.size()); });
      if (written < 0) return errno;
      if (written == 0) return EIO;
      content.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
  }

  // The owner as far as the system allows; the mode must come along.
  int TakeAttributes(const OldFile& old) {
    if (!old.exists) return 0;
    if (ChangeOwner(old.status.st_uid, old.status.st_gid) != 0) {
      ChangeOwner(static_cast<uid_t>(-1), old.status.st_gid);
    }
    return ErrorOf(RetryWhenInterrupted(
        [&] { return system_calls::ChangeMode(file_.number(), old.status.st_mode & 07777); }));
  }

  int SyncAndClose() {
    const int error =
        ErrorOf(RetryWhenInterrupted([&] { return system_calls::Sync(file_.number()); }));
    return error != 0 ? error : file_.Close();
  }

  int RenameTo(const std::string& path) {
    const int error = ErrorOf(
        RetryWhenInterrupted([&] { return system_calls::Rename(path_.c_str(), path.c_str()); }));
    if (error == 0) path_.clear();
    return error;
  }

 private:
  int ChangeOwner(uid_t user, gid_t group) {
    return RetryWhenInterrupted([&] { return fchown(file_.number(), user, group); });
  }

  static std::string NextName() {
    static std::atomic<unsigned> counter{0};
    return ".kiv-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".tmp";
  }

  Descriptor file_;
  std::string path_;
};

// Opened before anything is changed, so that after the rename only the sync itself can fail. A
// directory that may be written but not read cannot be synced: then there is nothing to open.
int OpenDirectory(const std::string& directory, Descriptor& opened) {
  const std::string path = directory.empty() ? "." : directory;
  opened.Reset(RetryWhenInterrupted(
      [&] { return system_calls::Open(path.c_str(), O_RDONLY | O_DIRECTORY, 0); }));
  return opened.isOpen() || errno == EACCES ? 0 : errno;
}

// Some file systems do not sync directories and say EINVAL.
int SyncDirectory(const Descriptor& directory) {
  if (!directory.isOpen()) return 0;
  const int error =
      ErrorOf(RetryWhenInterrupted([&] { return system_calls::Sync(directory.number()); }));
  return error == EINVAL ? 0 : error;
}

// A new directory is on the disk when its parent is. Without the right to say so it is as safe as
// any directory that a user makes.
void SyncParentOf(const std::string& path) {
  Descriptor parent;
  if (OpenDirectory(DirectoryPart(path), parent) == 0) SyncDirectory(parent);
}

int Replace(const std::string& path, const OldFile& old, std::string_view content,
            NewFileRights rights) {
  const std::string directoryPath = DirectoryPart(path);
  Descriptor directory;
  Temporary temporary;
  int error = OpenDirectory(directoryPath, directory);
  if (error == 0) error = temporary.Create(directoryPath, old, rights);
  if (error == 0) error = temporary.WriteAll(content);
  if (error == 0) error = temporary.TakeAttributes(old);
  if (error == 0) error = temporary.SyncAndClose();
  if (error == 0) error = temporary.RenameTo(path);
  return error != 0 ? error : SyncDirectory(directory);
}

int ReadAll(int file, std::size_t limitBytes, std::string& content) {
  for (;;) {
    const std::size_t had = content.size();
    content.resize(had + kReadChunkBytes);
    const ssize_t got =
        RetryWhenInterrupted([&] { return read(file, content.data() + had, kReadChunkBytes); });
    content.resize(had + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got <= 0) return ErrorOf(got);
    if (content.size() > limitBytes) return EFBIG;
  }
}

// With O_NONBLOCK only a regular file is read: opening a pipe without it waits for a writer.
int ReadOpened(const std::string& mappedPath, int flags, std::size_t limitBytes,
               std::string& content) {
  content.clear();
  if (mappedPath.find('\0') != std::string::npos) return ENOENT;
  const Descriptor file(RetryWhenInterrupted(
      [&] { return open(mappedPath.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | flags); }));
  if (!file.isOpen()) return errno;
  struct stat status {};
  if (flags != 0 && fstat(file.number(), &status) != 0) return errno;
  if (flags != 0 && !S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  const int error = ReadAll(file.number(), limitBytes, content);
  if (error != 0) content.clear();
  return error;
}

}  // namespace

int FollowLinks(std::string& mappedPath) {
  std::string target;
  for (int i = 0; i < kMaxLinks; ++i) {
    if (const int error = LinkTarget(mappedPath, target)) return error;
    if (target.empty()) return 0;
    mappedPath = target;
  }
  return ELOOP;
}

int WriteFileSafely(const std::string& mappedPath, std::string_view content, NewFileRights rights) {
  if (mappedPath.empty() || mappedPath.find('\0') != std::string::npos) return ENOENT;
  std::string path = mappedPath;
  if (const int error = FollowLinks(path)) return error;
  OldFile old;
  if (const int error = LookAtOld(path, old)) return error;
  return Replace(path, old, content, rights);
}

int ReadWholeFile(const std::string& mappedPath, std::size_t limitBytes, std::string& content) {
  return ReadOpened(mappedPath, 0, limitBytes, content);
}

int ReadRegularFile(const std::string& mappedPath, std::size_t limitBytes, std::string& content) {
  return ReadOpened(mappedPath, O_NONBLOCK, limitBytes, content);
}

int RemoveFile(const std::string& mappedPath) {
  return ErrorOf(RetryWhenInterrupted([&] { return unlink(mappedPath.c_str()); }));
}

int MakeDirectories(const std::string& mappedPath) {
  for (std::size_t end = 0; end != std::string::npos && end < mappedPath.size();) {
    end = mappedPath.find('/', end + 1);
    const std::string part = mappedPath.substr(0, end);
    const int error = ErrorOf(RetryWhenInterrupted([&] { return mkdir(part.c_str(), 0700); }));
    if (error == 0) {
      SyncParentOf(part);
      continue;
    }
    if (!IsDirectory(part)) return error == EEXIST ? ENOTDIR : error;
  }
  return mappedPath.empty() ? ENOENT : 0;
}

}  // namespace os
