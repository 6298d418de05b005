#include "tools/kivcat/catalogue_input.h"

#include <cerrno>
#include <cstring>

#include "platform/os/safe_file.h"
#include "platform/text/shown_text.h"
#include "tools/kivcat/compiled_checker.h"
#include "tools/kivcat/source_checker.h"

namespace kivcat {
namespace {

constexpr std::size_t kMaxFileBytes = 256u * 1024 * 1024;
constexpr std::string_view kCompiledStart("SQLite format 3\0", 16);

std::string ReadFile(const std::string& path, std::string& content) {
  const int error = os::ReadRegularFile(path, kMaxFileBytes, content);
  if (error == 0) return {};
  const char* reason = error == EINVAL ? "not a regular file" : std::strerror(error);
  return ShownLine(path) + ": " + reason + "\n";
}

std::string LoadJson(const std::string& path, const std::string& json, LoadedCatalogue& loaded) {
  Faults faults(path);
  const bool good = LoadSource(json, loaded.model, faults);
  if (!good) return faults.Text();
  loaded.warnings = faults.Text();
  return {};
}

}  // namespace

std::string LoadSourceFile(const std::string& path, LoadedCatalogue& loaded) {
  std::string content;
  std::string reason = ReadFile(path, content);
  return reason.empty() ? LoadJson(path, content, loaded) : reason;
}

std::string LoadCatalogue(const std::string& path, LoadedCatalogue& loaded) {
  std::string content;
  std::string reason = ReadFile(path, content);
  if (!reason.empty()) return reason;
  if (content.starts_with(kCompiledStart)) return LoadCompiled(path, content, loaded);
  return LoadJson(path, content, loaded);
}

}  // namespace kivcat
