// Copies of a file that are kept beside it: the last good one, and broken ones.
//
// Both are second names of the same content (hard links): they cost no writing, and at no moment is
// the content without a name. Where the file system has no links, the good one is copied and a
// broken one renamed. The caller sees to it that nobody else changes the file meanwhile (FileLock).
//
// Threads: any. Errors: 0 or error numbers; the file itself is then as it was.
#pragma once

#include <string>

#include "platform/platform_export.h"

namespace os {

// `copyPath` becomes what `mappedPath` is now, as one.
KIVPLATFORM_API int KeepCopy(const std::string& mappedPath, const std::string& copyPath);

// Keeps the file as `mappedPath`.corrupt-N with the first N from 1 that is free, and answers that
// name in `asidePath`. The old name stays until the file is replaced (but see above). A file that
// was set aside before keeps its name.
KIVPLATFORM_API int SetAside(const std::string& mappedPath, std::string& asidePath);

}  // namespace os
