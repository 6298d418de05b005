// Driver of a fuzz target in builds without libFuzzer: runs the target once over every file of the
// corpus folders named as arguments. A folder without files is an error, so that a lost corpus is
// not taken for a passed one.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t lengthBytes);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> SortedFiles(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

void RunFile(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  // An exact heap copy lets the address sanitizer see one byte too far.
  std::vector<uint8_t> exact(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  for (int i = 1; i < argc; ++i) {
    const auto files = SortedFiles(argv[i]);
    if (files.empty()) {
      std::fprintf(stderr, "%s: no corpus\n", argv[i]);
      return 1;
    }
    for (const auto& file : files) RunFile(file);
    std::printf("%s: %zu inputs\n", argv[i], files.size());
  }
  return argc > 1 ? 0 : 1;
}
