// Driver of a fuzz target in builds without libFuzzer: replay_main FOLDER
//
// Runs the target over every file of the kept corpus, then over inputs mutated from them, the same
// ones each time. It knows nothing of coverage and finds less than libFuzzer, but every build runs
// it, those with gcc and its sanitizers too. An input that ends the process is left in the working
// folder as crash-FOLDER. A folder without files is an error: a lost corpus has not passed.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/support/sweep.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t lengthBytes);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

constexpr int64_t kFullMutations = 200'000;
constexpr auto kMutationTime = std::chrono::seconds(20);
constexpr size_t kMaxMutatedBytes = 16 * 1024;

const Bytes* currentInput = nullptr;
std::string crashFile;

void KeepCurrentInput() {
  if (currentInput == nullptr) return;
  if (std::FILE* file = std::fopen(crashFile.c_str(), "wb")) {
    std::fwrite(currentInput->data(), 1, currentInput->size(), file);
    std::fclose(file);
    std::fprintf(stderr, "the input is kept in %s\n", crashFile.c_str());
  }
}

extern "C" void OnFatalSignal(int number) {
  std::signal(number, SIG_DFL);
  KeepCurrentInput();
  std::raise(number);
}

void RunInput(const Bytes& input) {
  currentInput = &input;
  // A heap copy of exactly this size lets the address sanitizer see one byte too far.
  const Bytes exact(input);
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
  currentInput = nullptr;
}

std::vector<Bytes> LoadCorpus(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<Bytes> inputs;
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return inputs;
}

// Makes new inputs from the corpus by a few small changes each.
class Mutator {
 public:
  explicit Mutator(const std::vector<Bytes>& corpus) : corpus_(corpus) {}

  Bytes Next() {
    Bytes input = Pick();
    for (size_t changes = 1 + Below(6); changes > 0; --changes) Change(input);
    if (input.size() > kMaxMutatedBytes) input.resize(kMaxMutatedBytes);
    return input;
  }

 private:
  size_t Below(size_t limit) { return static_cast<size_t>(random_() % limit); }
  const Bytes& Pick() { return corpus_[Below(corpus_.size())]; }

  void Change(Bytes& input) {
    const size_t at = input.empty() ? 0 : Below(input.size());
    const auto here = input.begin() + static_cast<std::ptrdiff_t>(at);
    switch (Below(7)) {
      case 0:
        if (!input.empty()) input[at] ^= static_cast<uint8_t>(1u << Below(8));
        break;
      case 1:
        if (!input.empty()) input[at] = static_cast<uint8_t>(random_());
        break;
      case 2:
        input.insert(here, kTelling[Below(std::size(kTelling))]);
        break;
      case 3:
        input.resize(at);
        break;
      case 4:
        input.erase(here, here + static_cast<std::ptrdiff_t>(
                                     std::min(input.size() - at, size_t{1} + Below(16))));
        break;
      case 5: {  // a piece of this input once more
        const Bytes piece(here, here + static_cast<std::ptrdiff_t>(
                                           std::min(input.size() - at, size_t{1} + Below(64))));
        input.insert(here, piece.begin(), piece.end());
        break;
      }
      default: {  // the tail of another input
        const Bytes& other = Pick();
        const size_t from = other.empty() ? 0 : Below(other.size());
        input.resize(at);
        input.insert(input.end(), other.begin() + static_cast<std::ptrdiff_t>(from), other.end());
      }
    }
  }

  // Bytes at which formats turn: ends, signs, escapes, brackets.
  static constexpr uint8_t kTelling[] = {0,   1,   0x7D, 0x7E, 0x7F, 0x80, 0xFF, '{', '}', '[',
                                         ']', ',', '"',  '\\', '-',  ' ',  '\n', '%', '$', '@'};

  const std::vector<Bytes>& corpus_;
  std::mt19937_64 random_{20240607};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]), 2;
  const fs::path folder = argv[1];
  crashFile = "crash-" + folder.filename().string();
  for (const int number : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
    if (__sanitizer_set_death_callback == nullptr) std::signal(number, OnFatalSignal);
  }
  if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(KeepCurrentInput);
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);

  const auto corpus = LoadCorpus(folder);
  if (corpus.empty()) return std::fprintf(stderr, "%s: no corpus\n", argv[1]), 1;
  for (const auto& input : corpus) RunInput(input);

  const auto end = std::chrono::steady_clock::now() + kMutationTime;
  const int64_t wanted = kivtest::SweepCount(kFullMutations);
  Mutator mutator(corpus);
  int64_t done = 0;
  while (done < wanted && std::chrono::steady_clock::now() < end) {
    RunInput(mutator.Next());
    ++done;
  }
  std::printf("%s: %zu inputs, %lld mutated\n", argv[1], corpus.size(),
              static_cast<long long>(done));
  return 0;
}
