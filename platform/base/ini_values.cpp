#include "platform/base/ini_values.h"

#include <optional>
#include <string>

#include "platform/base/bench_setup.h"
#include "platform/base/decimal.h"
#include "platform/base/ini_file.h"
#include "platform/os/open_file.h"
#include "platform/os/paths.h"
#include "platform/os/utf8.h"

namespace {

constexpr const char* kFileName = "/platform.ini";

std::string PlatformIniPath() {
  const bench::Resolved& setup = bench::GetSetup();
  const std::string own = os::MapPath(setup.configDir.view()) + kFileName;
  return os::IsRegularFile(own) ? own : os::MapPath(setup.shareDir.view()) + kFileName;
}

std::optional<std::string> FindValue(const wchar_t* section, const wchar_t* key) {
  if (section == nullptr || key == nullptr) return std::nullopt;
  return ReadIniFile(PlatformIniPath()).Get(os::WideToUtf8(section), os::WideToUtf8(key));
}

}  // namespace

std::uint32_t GetIniUint32(const wchar_t* section, const wchar_t* key, std::uint32_t fallback) {
  const auto value = FindValue(section, key);
  return value ? ParseLeadingDecimal(*value).value_or(fallback) : fallback;
}

QCString GetIniString(const wchar_t* section, const wchar_t* key, const QCString& fallback) {
  const auto value = FindValue(section, key);
  return value ? QCString::FromUtf8(*value) : fallback;
}

QCString CAppPrefs::GetConfigDir() { return bench::GetSetup().configDir; }
QCString CAppPrefs::GetDataDir() { return bench::GetSetup().dataDir; }
QCString CAppPrefs::GetShareDir() { return bench::GetSetup().shareDir; }
