#include <algorithm>
#include <cerrno>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/os/ini_document.h"
#include "platform/os/ini_files.h"
#include "platform/os/last_error.h"
#include "platform/os/paths.h"
#include "platform/os/safe_file.h"
#include "platform/os/utf8.h"

namespace {

constexpr std::size_t kIniLimitBytes = std::size_t{16} * 1024 * 1024;

std::mutex& WriterLock() {
  static auto* lock = new std::mutex;
  return *lock;
}

// The value in the file; false, with the last error set, when it is not there.
bool FindValue(const wchar_t* section, const wchar_t* key, const wchar_t* file,
               std::wstring& value) {
  if (section == nullptr || key == nullptr || file == nullptr) {
    os::SetLastErrorCode(ERROR_FILE_NOT_FOUND);
    return false;
  }
  std::string content;
  if (const int error = os::ReadWholeFile(os::MapPath(file), kIniLimitBytes, content)) {
    os::SetLastErrorFrom(error);
    return false;
  }
  const auto found = os::IniDocument(content).Get(os::WideToUtf8(section), os::WideToUtf8(key));
  os::SetLastErrorCode(found ? 0 : ERROR_FILE_NOT_FOUND);
  if (found) value = os::Utf8ToWide(*found);
  return found.has_value();
}

// A text that stays on its line.
bool IsOneLine(std::wstring_view text) {
  return text.find_first_of(std::wstring_view(L"\r\n\0", 3)) == std::wstring_view::npos;
}

bool IsSectionName(std::wstring_view name) {
  return IsOneLine(name) && name.find(L']') == std::wstring_view::npos;
}

bool IsKeyName(std::wstring_view name) {
  const std::size_t first = name.find_first_not_of(L" \t");
  return first != std::wstring_view::npos && IsOneLine(name) && name[first] != L';' &&
         name[first] != L'[' && name.find(L'=') == std::wstring_view::npos;
}

// Reads the file, which need not exist, into `content`; 0 or an error number.
int ReadOld(const std::string& path, std::string& content) {
  const int error = os::ReadWholeFile(path, kIniLimitBytes, content);
  return error == ENOENT ? 0 : error;
}

int WriteNew(const std::string& path, const std::string& content) {
  const std::size_t slash = path.rfind('/');
  if (slash != std::string::npos && slash > 0) {
    if (const int error = os::MakeDirectories(path.substr(0, slash))) return error;
  }
  return os::WriteFileSafely(path, content);
}

void Apply(os::IniDocument& document, const std::string& section, const wchar_t* key,
           const wchar_t* value) {
  if (key == nullptr) {
    document.RemoveSection(section);
  } else if (value == nullptr) {
    document.Remove(section, os::WideToUtf8(key));
  } else {
    document.Set(section, os::WideToUtf8(key), os::WideToUtf8(value));
  }
}

int ChangeFile(const std::string& path, const wchar_t* section, const wchar_t* key,
               const wchar_t* value) {
  const std::lock_guard<std::mutex> guard(WriterLock());
  std::string content;
  if (const int error = ReadOld(path, content)) return error;
  os::IniDocument document(content);
  Apply(document, os::WideToUtf8(section), key, value);
  const std::string changed = document.Text();
  return changed == content ? 0 : WriteNew(path, changed);
}

}  // namespace

DWORD GetPrivateProfileStringW(const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                               wchar_t* value, DWORD sizeChars, const wchar_t* file) {
  std::wstring found;
  if (!FindValue(section, key, file, found)) found = fallback != nullptr ? fallback : L"";
  if (value == nullptr || sizeChars == 0) return 0;
  const std::size_t lengthChars = std::min<std::size_t>(found.size(), sizeChars - 1);
  std::copy_n(found.begin(), lengthChars, value);
  value[lengthChars] = L'\0';
  return static_cast<DWORD>(lengthChars);
}

BOOL WritePrivateProfileStringW(const wchar_t* section, const wchar_t* key, const wchar_t* value,
                                const wchar_t* file) {
  const bool isValid = section != nullptr && file != nullptr && IsSectionName(section) &&
                       (key == nullptr || IsKeyName(key)) && (value == nullptr || IsOneLine(value));
  if (!isValid) {
    os::SetLastErrorCode(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const int error = ChangeFile(os::MapPath(file), section, key, value);
  if (error != 0) os::SetLastErrorFrom(error);
  return error == 0 ? 1 : 0;
}
