// Copies of a file that are kept beside it: the last good one, and broken ones.
//
// Both are second names of the same content (hard links): they cost no writing, and at no moment is
// the content without a name. Where the file cannot be linked (a file system without links, an
// error of the disk) the content is copied, so that the file keeps its own name then too; only a
// broken one of more than 64 MiB, which no console wrote, is renamed. The caller sees to it that
// nobody else changes the file meanwhile (FileLock).
//
// The good copy is kept in two steps around the replacing of the file, so that at each moment two
// files hold good content under the two names: whoever writes into one of them in place, as editors
// do, never harms both.
//
// Threads: any; a GoodCopy is one thread's. Owns names only.
// Errors: 0 or error numbers; the file itself is then as it was.
#pragma once

#include <string>

#include "platform/platform_export.h"

namespace os {

// Keeps what a file is now, while it is replaced: Prepare, replace the file, Keep.
class KIVPLATFORM_API GoodCopy {
 public:
  GoodCopy() = default;
  GoodCopy(const GoodCopy&) = delete;
  GoodCopy& operator=(const GoodCopy&) = delete;
  // Without Keep the former copy stays.
  ~GoodCopy();

  // Gives what `mappedPath` is now the name `copyPath`-new. `copyPath` stays as it is.
  int Prepare(const std::string& mappedPath, const std::string& copyPath);
  // `copyPath` becomes what was prepared, as one. Nothing to do when nothing was.
  int Keep();

 private:
  std::string newName_;  // empty: nothing is prepared
  std::string copyPath_;
};

// Keeps the file as `mappedPath`.corrupt-N with the first N from 1 that is free, and answers that
// name in `asidePath`. The old name stays until the file is replaced (but see above). A file that
// was set aside before, or whose content was copied there, keeps its name.
KIVPLATFORM_API int SetAside(const std::string& mappedPath, std::string& asidePath);

}  // namespace os
