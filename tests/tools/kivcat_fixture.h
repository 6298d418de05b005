// One call of kivcat in the test's own process, and a folder for its files that goes away with the
// test.
//
// Threads: one. Owns its folder.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/tree_paths.h"
#include "tools/kivcat/kivcat_program.h"

namespace kivtest {

struct CallResult {
  int status = 0;
  std::string output;
  std::string errorOutput;
};

class KivcatFolder {
 public:
  KivcatFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kivcat_XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~KivcatFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  KivcatFolder(const KivcatFolder&) = delete;
  KivcatFolder& operator=(const KivcatFolder&) = delete;

  std::string File(const std::string& name) const { return path_ + "/" + name; }
  std::string Write(const std::string& name, const std::string& content) const {
    std::ofstream stream(File(name), std::ios::binary | std::ios::trunc);
    stream << content;
    EXPECT_TRUE(stream.flush().good()) << File(name);
    return File(name);
  }
  static std::string Read(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    EXPECT_TRUE(stream.good()) << path;
    return {std::istreambuf_iterator<char>(stream), {}};
  }

 private:
  std::string path_;
};

inline CallResult Kivcat(const std::vector<std::string>& arguments) {
  kivcat::Outputs outputs;
  const int status = kivcat::RunKivcat(arguments, outputs);
  return {status, outputs.output, outputs.errorOutput};
}

inline std::string BoardSource() { return std::string(SourceDir()) + "/catalogues/board.json"; }
inline std::string BoardCompiled() { return std::string(BuildDir()) + "/share/kiv/board.kcat"; }

}  // namespace kivtest
