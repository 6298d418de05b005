// kivcts: compiles a test configuration. `kivcts NAME.pcfg FOLDER` writes FOLDER/NAME.pcfg and, for
// each index, FOLDER/pbin/NAME.pcfg.rt.INDEX: the folder is what a console's "ctscfg" wants.
// Compiled files of an index that is no longer there are removed, so that none is sent by mistake.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/console_events.h"
#include "platform/os/error_text.h"
#include "platform/os/safe_file.h"
#include "platform/text/shown_text.h"
#include "tools/kivcts/test_config.h"

namespace {

constexpr std::size_t kSourceLimitBytes = 16u << 20;
constexpr std::string_view kSuffix = ".pcfg";
constexpr char kUsage[] = "Usage: kivcts NAME.pcfg FOLDER\n";

int Fail(const std::string& path, const std::string& problem) {
  std::fputs(("kivcts: " + ShownLine(path) + ": " + ShownLine(problem) + "\n").c_str(), stderr);
  return 1;
}

// 0, or the first error; `path` is then the file of it.
int RemoveStale(const std::string& folder, const std::string& configName,
                const std::vector<kivcts::Variation>& variations, std::string& path) {
  std::vector<std::string> stale;
  std::error_code error;
  path = folder;
  for (std::filesystem::directory_iterator at(folder, error), end; !error && at != end;
       at.increment(error)) {
    const std::string fileName = at->path().filename().string();
    const std::string_view index = kivcts::IndexOfCompiled(fileName, configName);
    const bool isThere =
        std::any_of(variations.begin(), variations.end(),
                    [index](const kivcts::Variation& each) { return each.index == index; });
    if (!index.empty() && !isThere) stale.push_back(at->path().string());
  }
  for (auto each = stale.begin(); !error && each != stale.end(); ++each) {
    path = *each;
    std::filesystem::remove(path, error);
  }
  return error.value();
}

int Compile(const std::string& sourcePath, const std::string& folder) {
  const std::string name = sourcePath.substr(sourcePath.rfind('/') + 1);
  const std::string_view stem = std::string_view(name).substr(0, name.size() - kSuffix.size());
  if (const std::string problem = kivcts::NameProblem(stem); !problem.empty()) {
    return Fail(sourcePath, problem);
  }
  std::string source;
  if (const int error = os::ReadRegularFile(sourcePath, kSourceLimitBytes, source); error != 0) {
    return Fail(sourcePath, os::ErrorText(error));
  }
  std::vector<kivcts::Variation> variations;
  std::string problem;
  if (!kivcts::ReadTestConfig(source, variations, problem)) return Fail(sourcePath, problem);
  if (const int error = os::MakeDirectories(folder + "/pbin"); error != 0) {
    return Fail(folder, os::ErrorText(error));
  }
  for (const kivcts::Variation& variation : variations) {
    const std::string path = folder + "/pbin/" + name + ".rt." + variation.index;
    const int error = os::WriteFileSafely(path, variation.bytes);
    if (error != 0) return Fail(path, os::ErrorText(error));
  }
  std::string stalePath;
  if (const int error = RemoveStale(folder + "/pbin", name, variations, stalePath); error != 0) {
    return Fail(stalePath, os::ErrorText(error));
  }
  // The last, so that a build which sees it knows that the others are there.
  const std::string path = folder + "/" + name;
  const int error = os::WriteFileSafely(path, source);
  return error == 0 ? 0 : Fail(path, os::ErrorText(error));
}

}  // namespace

int main(int argc, char** argv) {
  os::LetLongWritesFail();
  const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
    if (std::fputs(kUsage, stdout) >= 0 && std::fflush(stdout) == 0) return 0;
    std::fputs("kivcts: standard output cannot be written\n", stderr);
    return 1;
  }
  const bool isConfig = !arguments.empty() && arguments[0].ends_with(kSuffix);
  if (arguments.size() == 2 && isConfig) return Compile(arguments[0], arguments[1]);
  std::fputs(kUsage, stderr);
  return 2;
}
