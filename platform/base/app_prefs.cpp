#include "platform/base/app_prefs.h"

#include <string>
#include <string_view>

#include "platform/base/bench_setup.h"
#include "platform/os/paths.h"
#include "platform/os/safe_file.h"
#include "platform/text/file_path.h"

namespace {

bool IsSeparator(wchar_t ch) { return ch == L'/' || ch == L'\\'; }

bool IsAbsolute(std::wstring_view path) {
  if (path.empty()) return false;
  const bool isLetter =
      (path[0] >= L'a' && path[0] <= L'z') || (path[0] >= L'A' && path[0] <= L'Z');
  return IsSeparator(path[0]) || (isLetter && path.size() > 1 && path[1] == L':');
}

bool IsSameChar(wchar_t a, wchar_t b) { return a == b || (IsSeparator(a) && IsSeparator(b)); }

bool StartsWithPath(std::wstring_view path, std::wstring_view start) {
  if (path.size() < start.size()) return false;
  for (std::size_t i = 0; i < start.size(); ++i) {
    if (!IsSameChar(path[i], start[i])) return false;
  }
  return true;
}

}  // namespace

QCString CAppPrefs::GetConfigFileByVersion(const wchar_t* key, std::uint32_t version) const {
  QCString path = bench::GetSetup().configDir + L"/" + key;
  if (version != 0) path += QCString(L"-" + std::to_wstring(version));
  return path + L".xml";
}

QCString CAppPrefs::GetDirectory() const { return CFilePath::GetAppPath(); }

QCString CAppPrefs::AbsoluteFile2RelativeFile(const QCString& file,
                                              const QCString& directory) const {
  std::wstring_view start = directory.view();
  while (!start.empty() && IsSeparator(start.back())) start.remove_suffix(1);
  std::wstring_view rest = file.view();
  if (directory.IsEmpty() || !StartsWithPath(rest, start)) return file;
  rest.remove_prefix(start.size());
  if (rest.empty() || !IsSeparator(rest[0])) return file;
  rest.remove_prefix(1);
  // What would not lead back stays as it is.
  return rest.empty() || IsAbsolute(rest) ? file : QCString(rest);
}

QCString CAppPrefs::RelativeFile2AbsoluteFile(const QCString& file,
                                              const QCString& directory) const {
  if (IsAbsolute(file.view()) || directory.IsEmpty()) return file;
  const bool isClosed = IsSeparator(directory.GetAt(directory.GetLength() - 1));
  return directory + (isClosed ? L"" : L"/") + file;
}

CAppPrefs& GetAppPrefs() {
  static CAppPrefs prefs;
  return prefs;
}

int MakeDir(const QCString& path, std::int32_t flag) {
  const QCString directory = flag == 1 ? CFilePath(path).GetDirectory() : path;
  // The name of a file alone has its directory: the current one, or the root.
  if (flag == 1 && directory.IsEmpty()) return 0;
  return os::MakeDirectories(os::MapPath(directory.view()));
}
