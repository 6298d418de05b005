#include "platform/os/paths.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "platform/os/user_home.h"
#include "platform/os/utf8.h"

namespace os {
namespace {

// The directory that SetDataDirectory chose. Never destroyed: the link's thread may map a path
// late.
struct ChosenDataDirectory {
  std::mutex lock;
  std::string path;
};

ChosenDataDirectory& Chosen() {
  static auto* chosen = new ChosenDataDirectory;
  return *chosen;
}

// An empty variable counts as unset.
std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

// A directory of the user, and what it was taken from.
struct UserDirectory {
  std::string path;
  std::string source;

  std::string NotUtf8() const { return IsUtf8(path) ? std::string() : source; }
};

// The base directory rules of the desktops: a relative XDG path is ignored.
UserDirectory FindDirectory(const char* ownVariable, const char* xdgVariable,
                            const char* belowHome) {
  const std::string own = Environment(ownVariable);
  if (!own.empty()) return {own, ownVariable};
  const std::string xdg = Environment(xdgVariable);
  if (xdg.starts_with('/')) return {xdg + "/kiv", xdgVariable};
  const std::string home = Environment("HOME");
  if (!home.empty()) return {home + belowHome, "HOME"};
  return {HomeOfUserDatabase() + belowHome, "the home directory"};
}

UserDirectory FindDataDirectory() {
  ChosenDataDirectory& chosen = Chosen();
  {
    const std::lock_guard<std::mutex> guard(chosen.lock);
    if (!chosen.path.empty()) return {chosen.path, "the data directory"};
  }
  return FindDirectory("KIV_DATA_DIR", "XDG_DATA_HOME", "/.local/share/kiv");
}

UserDirectory FindConfigDirectory() {
  return FindDirectory("KIV_CONFIG_DIR", "XDG_CONFIG_HOME", "/.config/kiv");
}

bool StartsWithDrive(const std::string& path) {
  if (path.size() < 3 || path[1] != ':' || path[2] != '/') return false;
  const char letter = path[0];
  return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z');
}

}  // namespace

std::string MapPath(std::wstring_view path) {
  std::string mapped = WideToUtf8(path);
  std::replace(mapped.begin(), mapped.end(), '\\', '/');
  if (!StartsWithDrive(mapped)) return mapped;
  return DataDirectory() + "/" + mapped[0] + mapped.substr(2);
}

void SetDataDirectory(const std::string& mappedPath) {
  ChosenDataDirectory& chosen = Chosen();
  const std::lock_guard<std::mutex> guard(chosen.lock);
  chosen.path = mappedPath;
}

std::string DataDirectory() { return FindDataDirectory().path; }

std::string DefaultConfigDirectory() { return FindConfigDirectory().path; }

std::string DataDirectoryNotUtf8() { return FindDataDirectory().NotUtf8(); }

std::string DefaultConfigDirectoryNotUtf8() { return FindConfigDirectory().NotUtf8(); }

}  // namespace os
