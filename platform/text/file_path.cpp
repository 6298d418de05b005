#include "platform/text/file_path.h"

#include "platform/os/open_file.h"
#include "platform/os/paths.h"

namespace {

// Position of the last "\" or "/"; npos when there is none.
std::size_t LastSeparator(const QCString& path) { return path.view().find_last_of(L"\\/"); }

}  // namespace

QCString CFilePath::GetAppPath() { return QCString::FromUtf8(os::DataDirectory()); }

QCString CFilePath::GetDirectory() const {
  const std::size_t separator = LastSeparator(path_);
  return separator != QCString::npos ? path_.Left(separator) : QCString();
}

QCString CFilePath::GetFileName() const {
  const std::size_t separator = LastSeparator(path_);
  return separator != QCString::npos ? path_.Mid(separator + 1) : path_;
}

QCString CFilePath::GetExtension() const {
  const QCString name = GetFileName();
  const std::size_t dot = name.ReverseFind(L'.');
  return dot != QCString::npos ? name.Mid(dot) : QCString();
}

std::FILE* CFilePathOperator::OpenFile(const QCString& path, const char* mode) {
  return os::OpenFile(os::MapPath(path.view()), mode);
}

bool CFilePathOperator::GetSize(std::FILE* file, std::uint64_t& sizeBytes) {
  return os::SeekSizeBytes(file, sizeBytes);
}

bool CFilePathOperator::IsRegularFile(const QCString& path) {
  return os::IsRegularFile(os::MapPath(path.view()));
}
