#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include "platform/os/descriptor.h"
#include "platform/os/paths.h"

namespace os {
namespace {

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

}  // namespace

std::string ProgramDirectory() {
  char path[PATH_MAX];
  const ssize_t lengthBytes = readlink("/proc/self/exe", path, sizeof(path));
  if (lengthBytes <= 0) return {};
  return DirectoryOf(std::string(path, static_cast<std::size_t>(lengthBytes)));
}

std::string LibraryDirectory() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ProgramDirectory), &info) == 0) return {};
  char path[PATH_MAX];
  if (info.dli_fname == nullptr || realpath(info.dli_fname, path) == nullptr) return {};
  return DirectoryOf(path);
}

bool IsDirectory(const std::string& mappedPath) {
  struct stat status {};
  const int found = RetryWhenInterrupted([&] { return stat(mappedPath.c_str(), &status); });
  return found == 0 && S_ISDIR(status.st_mode);
}

}  // namespace os

int PathFileExistsW(const wchar_t* path) {
  if (path == nullptr) return 0;
  const std::string mapped = os::MapPath(path);
  struct stat status {};
  return stat(mapped.c_str(), &status) == 0 ? 1 : 0;
}
