#include "platform/base/share_dir.h"

#include "platform/os/paths.h"

namespace {

constexpr const char* kInstalledShareDir = KIV_INSTALLED_SHARE_DIR;

std::string ParentOf(const std::string& directory) {
  const std::size_t slash = directory.rfind('/');
  return slash == std::string::npos ? std::string() : directory.substr(0, slash);
}

}  // namespace

std::string ShareDirectory() {
  const std::string programParent = ParentOf(os::ProgramDirectory());
  const std::string bases[] = {programParent, ParentOf(programParent),
                               ParentOf(os::LibraryDirectory())};
  for (const std::string& base : bases) {
    std::string candidate = base + "/share/kiv";
    if (!base.empty() && os::IsDirectory(candidate)) return candidate;
  }
  return kInstalledShareDir;
}
