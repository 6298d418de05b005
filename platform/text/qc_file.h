// QCFile and QCStdioFile: whole-file access by wide path, binary and by text lines.
//
// Paths go through the one path mapping of platform/os (backslash to slash, a leading drive letter
// to the per-user data directory).
//
// Threads: one object for one thread at a time. Owns its open file and closes it when destroyed.
// Errors: functions answer false or a short count; LastError() has the system's error number.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// A file read as bytes.
class KIVPLATFORM_API QCFile {
 public:
  QCFile() = default;
  ~QCFile();
  QCFile(const QCFile&) = delete;
  QCFile& operator=(const QCFile&) = delete;

  // Whether `path` names an existing file or directory.
  static bool Exists(const QCString& path);

  // Opens for binary reading. A directory cannot be opened.
  bool OpenRead(const QCString& path);
  // Reads up to `sizeBytes`; answers how many bytes came (fewer at the end of the file).
  std::uint32_t Read(void* buffer, std::uint32_t sizeBytes);
  // The file's size in bytes; 0 when it is not open.
  std::uint64_t GetLength() const;
  bool IsOpen() const noexcept { return file_ != nullptr; }
  void Close();
  int LastError() const noexcept { return lastError_; }

 private:
  std::FILE* file_ = nullptr;
  int lastError_ = 0;
};

// Text lines: UTF-8 (what is not becomes U+FFFD), a byte order mark at the start is skipped, "\r\n"
// and
// "\n" both end a line, a last line without an end counts, an empty file has no lines.
class KIVPLATFORM_API QCStdioFile {
 public:
  QCStdioFile();
  ~QCStdioFile();
  QCStdioFile(const QCStdioFile&) = delete;
  QCStdioFile& operator=(const QCStdioFile&) = delete;

  // Opens for reading as text. A directory cannot be opened.
  bool OpenRead(const QCString& path);
  // The next line without its terminator; false at the end (`line` is then empty), after a read
  // error and, with EFBIG, for a line of more than 256 MiB.
  bool ReadString(QCString& line);
  void Close();
  // 0 at the end of the file and after a call that went well.
  int LastError() const noexcept { return lastError_; }

 private:
  struct Reader;
  std::unique_ptr<Reader> reader_;
  int lastError_ = 0;
};
