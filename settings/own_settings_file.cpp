#include "settings/own_settings_file.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/os/file_stamp.h"
#include "platform/os/paths.h"
#include "platform/os/safe_file.h"

namespace SvcKivClass {
namespace {

// What follows the settings file's name.
constexpr std::string_view kKept[] = {".bak", ".bak-new", ".lock", ".notice"};
constexpr std::string_view kSetAside[] = {".corrupt-", ".bak.corrupt-"};

struct Name {
  std::string directory, file;
};

Name Split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

// The files stand beside a link's target.
std::string Target(const QCString& path) {
  std::string target = os::MapPath(path.view());
  os::FollowLinks(target);
  return target;
}

bool IsKept(std::string_view suffix) {
  return std::find(std::begin(kKept), std::end(kKept), suffix) != std::end(kKept) ||
         std::any_of(std::begin(kSetAside), std::end(kSetAside),
                     [suffix](std::string_view begin) { return suffix.starts_with(begin); });
}

}  // namespace

bool IsOwnSettingsFile(const QCString& path, const QCString& ownPath) {
  const std::string target = Target(path), own = Target(ownPath);
  if (target == own || os::LeadToOne(target, own)) return true;
  const Name targetName = Split(target), ownName = Split(own);
  return targetName.file.starts_with(ownName.file) &&
         IsKept(std::string_view(targetName.file).substr(ownName.file.size())) &&
         os::LeadToOne(targetName.directory, ownName.directory);
}

}  // namespace SvcKivClass
