// SafeFile: replaces a file as one, so that after a power cut, a full disk or kill -9 at any moment
// the old content or the new one is there, whole.
//
// Writes a temporary beside the file in one checked loop, fsyncs it, renames it over the file and
// fsyncs the directory. Mode and owner of an existing file are kept as far as the system allows; a
// symbolic link is followed, its target replaced.
//
// Only a regular file is replaced, and only one that the user may write; a device or a pipe is
// refused with EINVAL.
//
// Threads: any.
// Errors: 0, or the system's error number; the old file is then as it was and no temporary is left.
// The one exception is a sync of the directory that fails: the new content is then in place and
// only its name is not yet known to be on the disk. That is an error too, since a power cut may
// still bring the old file back; writing once more mends it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/platform_export.h"

namespace os {
// Replaces `mappedPath` by what symbolic links lead to, which need not exist; 0 or an error number.
KIVPLATFORM_API int FollowLinks(std::string& mappedPath);
// Who may read a file that was not there before: whom the umask lets, or its owner alone.
enum class NewFileRights { kUmask, kOwnerOnly };
KIVPLATFORM_API int WriteFileSafely(const std::string& mappedPath, std::string_view content,
                                    NewFileRights rights = NewFileRights::kUmask);
// Reads a whole file of at most `limitBytes`; 0, or an error number (EFBIG beyond the limit,
// EISDIR), and `content` is then empty.
KIVPLATFORM_API int ReadWholeFile(const std::string& mappedPath, std::size_t limitBytes,
                                  std::string& content);
// The same without waiting: EINVAL for a pipe, a device or a socket.
KIVPLATFORM_API int ReadRegularFile(const std::string& mappedPath, std::size_t limitBytes,
                                    std::string& content);
// 0 or an error number.
KIVPLATFORM_API int RemoveFile(const std::string& mappedPath);
// Creates a directory and its missing parents, mode 0700, and syncs the parents of new ones; 0 or
// an error number.
KIVPLATFORM_API int MakeDirectories(const std::string& mappedPath);
}  // namespace os
