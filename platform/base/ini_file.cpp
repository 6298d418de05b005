#include "platform/base/ini_file.h"

#include "platform/os/safe_file.h"

namespace {
constexpr std::size_t kIniLimitBytes = std::size_t{16} * 1024 * 1024;
}  // namespace

os::IniDocument ReadIniFile(const std::string& mappedPath) {
  std::string content;
  if (os::ReadWholeFile(mappedPath, kIniLimitBytes, content) != 0) return {};
  return os::IniDocument(content);
}
