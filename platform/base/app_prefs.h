// CAppPrefs: where an application's files stand. One object a process, GetAppPrefs().
//
// Paths are texts as users see them and are mapped (os::MapPath) when they touch the file system.
// Relative paths of the settings begin in the application directory, which is the per-user data
// directory: the program's own may not be written.
//
// Threads: any. Errors: none; a directory that cannot be made shows when a file is opened in it.
#pragma once

#include <cstdint>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

class KIVPLATFORM_API CAppPrefs {
 public:
  // The settings file of an application: KEY.xml in the bench setup's configuration directory for
  // version 0, KEY-VERSION.xml for others.
  QCString GetConfigFileByVersion(const wchar_t* key, std::uint32_t version) const;
  // The directory that logs go to when the user named none: the application directory. Without a
  // separator at its end.
  QCString GetDirectory() const;
  // The rest behind the directory of `file` when that lies beneath it, else `file` itself. Both
  // separators are the same; "." and ".." are not resolved.
  QCString AbsoluteFile2RelativeFile(const QCString& file, const QCString& directory) const;
  // `file` itself when it is absolute ("/...", "\...", "X:..."), else `directory`, a separator and
  // `file`.
  QCString RelativeFile2AbsoluteFile(const QCString& file, const QCString& directory) const;
};

KIVPLATFORM_API CAppPrefs& GetAppPrefs();

// Makes a directory with its missing parents. Flag 1: `path` names a file, and only its directory
// part is made. 0, or an error number.
KIVPLATFORM_API int MakeDir(const QCString& path, std::int32_t flag);
