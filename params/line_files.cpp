#include "params/line_files.h"

#include <string_view>

#include "params/params_texts.h"
#include "platform/os/paths.h"
#include "platform/text/qc_file.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

bool Exists(const QCString& path, QCString& errorText) {
  if (PathFileExistsW(path.c_str()) != 0) return true;
  errorText = path + Translated(texts::kDoesNotExist);
  return false;
}

// `File` is a class with OpenRead.
template <typename File>
bool Open(File& file, const QCString& path, QCString& errorText) {
  if (!Exists(path, errorText)) return false;
  if (file.OpenRead(path)) return true;
  errorText = FailedToOpenText(path);
  return false;
}

bool ReadLines(const QCString& path, bool cutComments, std::wstring& content, QCString& errorText) {
  QCStdioFile file;
  if (!Open(file, path, errorText)) return false;
  content.clear();
  for (QCString line; content.size() <= kMaxLineChars && file.ReadString(line);) {
    std::wstring_view text = line.view();
    if (cutComments) text = text.substr(0, text.find(L'#'));
    content.append(text).push_back(L' ');
  }
  if (content.size() <= kMaxLineChars && file.LastError() == 0) return true;
  errorText = FailedToOpenText(path);  // too long, or not readable to its end
  return false;
}

}  // namespace

bool ReadCommandFile(const QCString& path, std::wstring& content, QCString& errorText) {
  return ReadLines(path, true, content, errorText);
}

bool ReadTextFile(const QCString& path, std::wstring& content, QCString& errorText) {
  return ReadLines(path, false, content, errorText);
}

bool ReadBinaryFile(const QCString& path, std::uint8_t* buffer, std::uint32_t bufferBytes,
                    QCString& errorText) {
  QCFile file;
  if (!Open(file, path, errorText)) return false;
  return file.Read(buffer, bufferBytes) == bufferBytes;
}

QCString FailedToOpenText(const QCString& path) {
  return Translated(texts::kFailedToOpen) + path + L"\n";
}

}  // namespace SvcKivClass
