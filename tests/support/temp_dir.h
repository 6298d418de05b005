// A directory of a test's own, removed with all that is in it.
//
// Threads: the test's. Owns or borrows: owns the directory. Errors: throws when the system gives
// none.
#ifndef TESTS_SUPPORT_TEMP_DIR_H_
#define TESTS_SUPPORT_TEMP_DIR_H_

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kivtest {

class TempDir {
 public:
  TempDir() {
    std::string pattern = std::filesystem::temp_directory_path() / "kiv-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  // Without a slash at the end.
  const std::string& path() const { return path_; }
  std::string File(std::string_view name) const { return path_ + "/" + std::string(name); }
  // The same as a wide text; temporary directories have plain ASCII names.
  std::wstring WideFile(std::string_view name) const {
    const std::string file = File(name);
    return std::wstring(file.begin(), file.end());
  }
  std::wstring WidePath() const { return std::wstring(path_.begin(), path_.end()); }

  void Write(std::string_view name, std::string_view content) const {
    std::ofstream file(File(name), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
  }
  // Empty when there is no such file.
  std::string Read(std::string_view name) const {
    std::ifstream file(File(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  // Names of all entries, hidden ones too, sorted.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string path_;
};

}  // namespace kivtest

#endif  // TESTS_SUPPORT_TEMP_DIR_H_
