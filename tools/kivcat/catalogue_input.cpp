#include "tools/kivcat/catalogue_input.h"

#include <cstring>

#include "platform/os/safe_file.h"
#include "tools/kivcat/source_checker.h"

namespace kivcat {
namespace {

constexpr std::size_t kMaxSourceBytes = 256u * 1024 * 1024;

}  // namespace

std::string LoadSourceFile(const std::string& path, LoadedCatalogue& loaded) {
  std::string json;
  if (const int error = os::ReadWholeFile(path, kMaxSourceBytes, json); error != 0) {
    return path + ": " + std::strerror(error) + "\n";
  }
  Faults faults(path);
  const bool good = LoadSource(json, loaded.model, faults);
  if (!good) return faults.Text();
  loaded.warnings = faults.Text();
  return {};
}

std::string LoadCatalogue(const std::string& path, LoadedCatalogue& loaded) {
  return LoadSourceFile(path, loaded);
}

}  // namespace kivcat
