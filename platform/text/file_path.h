// CFilePath and CFilePathOperator: parts of a path, and opening by wide path and mode text.
//
// Threads: any; no state.
#pragma once

#include <cstdint>
#include <cstdio>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// A path taken apart. Both "\" and "/" separate.
class KIVPLATFORM_API CFilePath {
 public:
  explicit CFilePath(const QCString& path) : path_(path) {}
  QCString GetPath() const { return path_; }
  // Everything before the last separator; empty when there is none.
  QCString GetDirectory() const;
  // Everything behind the last separator.
  QCString GetFileName() const;
  // From the last "." of the file name on, dot included; empty when there is none.
  QCString GetExtension() const;
  // The application directory, without a separator at its end: the per-user data directory of the
  // bench setup, where the relative paths of the settings begin.
  static QCString GetAppPath();

 private:
  QCString path_;
};

// Static functions on files by wide path.
class KIVPLATFORM_API CFilePathOperator {
 public:
  // Opens like fopen with the C mode text ("at", "wt", "rb", ...; "t" has no effect). The caller
  // closes with fclose. Null on failure, errno says why.
  static std::FILE* OpenFile(const QCString& path, const char* mode);
  // Seeks to the end and back to the start: false, and `sizeBytes` as it was, for what has no
  // position (a terminal).
  static bool GetSize(std::FILE* file, std::uint64_t& sizeBytes);
  // Whether `path` names an existing regular file (a directory is none).
  static bool IsRegularFile(const QCString& path);
};
