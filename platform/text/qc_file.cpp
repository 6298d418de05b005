#include "platform/text/qc_file.h"

#include <cerrno>

#include "platform/os/open_file.h"
#include "platform/os/paths.h"

QCFile::~QCFile() { Close(); }

bool QCFile::Exists(const QCString& path) { return PathFileExistsW(path.c_str()) != 0; }

bool QCFile::OpenRead(const QCString& path) {
  Close();
  file_ = os::OpenFile(os::MapPath(path.view()), "rb");
  lastError_ = file_ != nullptr ? 0 : errno;
  return file_ != nullptr;
}

std::uint32_t QCFile::Read(void* buffer, std::uint32_t sizeBytes) {
  if (file_ == nullptr || buffer == nullptr) {
    lastError_ = file_ == nullptr ? EBADF : EINVAL;
    return 0;
  }
  const std::size_t readBytes = std::fread(buffer, 1, sizeBytes, file_);
  lastError_ = std::ferror(file_) != 0 ? errno : 0;
  return static_cast<std::uint32_t>(readBytes);
}

std::uint64_t QCFile::GetLength() const { return file_ != nullptr ? os::FileSizeBytes(file_) : 0; }

void QCFile::Close() {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
}
