// A folder of a test's own under the system's temporary directory, removed with all that is in it.
//
// Threads: one test. Owns the folder. Errors: throws std::filesystem::filesystem_error.
#ifndef TESTS_SUPPORT_SCRATCH_FOLDER_H_
#define TESTS_SUPPORT_SCRATCH_FOLDER_H_

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace kivtest {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::random_device random;
    do {
      path_ = std::filesystem::temp_directory_path() / ("kivtest" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string Path() const { return path_.string(); }
  // A path in the folder, whether or not something is there.
  std::string Path(std::string_view name) const { return (path_ / name).string(); }
  // Writes the bytes as they are and answers the file's path.
  std::string Write(std::string_view name, std::string_view bytes) const {
    std::ofstream stream(path_ / name, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) throw std::filesystem::filesystem_error("write", path_ / name, {});
    return Path(name);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace kivtest

#endif  // TESTS_SUPPORT_SCRATCH_FOLDER_H_
