// Paths at the edge to the system.
//
// Users see paths as the system's own tool writes them (backslashes, a fixed drive). MapPath is the
// one function that turns such a text into a path of the file system: every backslash becomes a
// slash, a leading "X:/" becomes the per-user data directory plus "/X/"; anything else is used as
// it is.
//
// This folder is the lowest of the platform: it knows nothing of QCString.
//
// Threads: any.
#pragma once

#include <string>
#include <string_view>

#include "platform/platform_export.h"

namespace os {
// The path in the file system's own 8-bit form (UTF-8).
KIVPLATFORM_API std::string MapPath(std::wstring_view path);
// Where drive letters map to; the bench setup sets it. Unset or set to an empty text: KIV_DATA_DIR,
// else $XDG_DATA_HOME/kiv, else ~/.local/share/kiv with the home of the user database when HOME is
// not set (the root directory for a user that it does not know).
KIVPLATFORM_API void SetDataDirectory(const std::string& mappedPath);
KIVPLATFORM_API std::string DataDirectory();
// KIV_CONFIG_DIR, else $XDG_CONFIG_HOME/kiv, else ~/.config/kiv, likewise.
KIVPLATFORM_API std::string DefaultConfigDirectory();
// Paths are texts to everybody above, so one that is not UTF-8 would come back as another path.
// What DataDirectory or DefaultConfigDirectory takes such a path from: the name of a variable, or
// "the home directory"; empty when the path is UTF-8.
KIVPLATFORM_API std::string DataDirectoryNotUtf8();
KIVPLATFORM_API std::string DefaultConfigDirectoryNotUtf8();
// Directory of the running program, without a slash at the end; empty when the system does not
// tell.
KIVPLATFORM_API std::string ProgramDirectory();
// Directory of the file that this library was loaded from, likewise (a host may stand elsewhere).
KIVPLATFORM_API std::string LibraryDirectory();
// Whether the path names an existing directory (a symbolic link to one counts).
KIVPLATFORM_API bool IsDirectory(const std::string& mappedPath);
}  // namespace os

// Non-zero when the path (mapped) names an existing file or directory.
KIVPLATFORM_API int PathFileExistsW(const wchar_t* path);
