// A bench for loading a file: a started module with the catalogue of the load command, files in a
// folder of its own, and the device's confirmations.
//
// Threads: the test's thread is the facade's and, while it confirms, the link's. Owns a temporary
// directory, which it removes.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEvent>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/fakes/module_bench.h"
#include "tests/support/temp_dir.h"

namespace kivtest {

inline constexpr std::uint32_t kLoadCmdId = 0x2001;
inline constexpr std::size_t kLoadChunkBytes = 2048;

// Bytes that differ from chunk to chunk and within each.
inline std::string LoadContent(std::size_t sizeBytes) {
  std::string content(sizeBytes, '\0');
  std::uint32_t state = 0x2545F491;
  for (char& byte : content) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return content;
}

// The body of a chunk's packet: index, count, 2048 bytes with zeros behind the last ones.
inline std::vector<std::uint8_t> ChunkBody(const std::string& content, std::size_t index) {
  const std::size_t count = (content.size() + kLoadChunkBytes - 1) / kLoadChunkBytes;
  std::vector<std::uint8_t> body = {
      static_cast<std::uint8_t>(index), static_cast<std::uint8_t>(index >> 8),
      static_cast<std::uint8_t>(count), static_cast<std::uint8_t>(count >> 8)};
  const std::string chunk = content.substr(index * kLoadChunkBytes, kLoadChunkBytes);
  body.insert(body.end(), chunk.begin(), chunk.end());
  body.resize(4 + kLoadChunkBytes);
  return body;
}

// The module of one test, and the files that it loads.
class LoadBench {
 public:
  LoadBench() : LoadBench(Catalogued({})) {}
  // `options` with the load command's catalogue.
  static ModuleBench::Options Catalogued(ModuleBench::Options options) {
    options.catalogue = TestCatalogue("load_commands");
    return options;
  }
  explicit LoadBench(ModuleBench::Options options) : bench_(std::move(options)) {}

  ModuleBench& Module() { return bench_; }
  SvcKivClass::SvcKivApp& App() { return bench_.App(); }
  CmdCtrl& Controller() { return bench_.Controller(); }
  const TempDir& Files() const { return files_; }

  // The reply to "ldnv" and the path of a file of this bench.
  std::wstring Load(const std::string& name) {
    return bench_.Run(L"ldnv " + files_.WideFile(name));
  }
  std::wstring LoadNew(const std::string& name, const std::string& content) {
    files_.Write(name, content);
    return Load(name);
  }
  void SetMaximum(const wchar_t* text) {
    auto* const settings = bench_.App().GetSettings();
    settings->WriteAttribute(text, L"NV_LOAD_FILE_MAX_SIZE",
                             (settings->SettingsPrefix() + L"POPULAR").c_str(),
                             (settings->SettingsInstancePath() + L".0").c_str());
  }

  // Tag of the newest post.
  static std::uint16_t NewestTag() { return fake::Posts().back().tag; }
  // The confirmation of a post arrives; what it queued runs.
  void Confirm(std::uint16_t tag, std::uint32_t resultCode = 0) {
    fake::Deliver({Confirmation(tag, resultCode)});
    RunQueued();
  }
  void ConfirmNewest(std::uint32_t resultCode = 0) { Confirm(NewestTag(), resultCode); }
  static fake::Packet Confirmation(std::uint16_t tag, std::uint32_t resultCode = 0) {
    return {.cmdId = kLoadCmdId, .resultCode = resultCode, .body = {1, 0}, .tag = tag};
  }
  // What confirmations queued for the controller's thread.
  static void RunQueued() { QCoreApplication::sendPostedEvents(); }
  // Confirms until nothing is posted any more.
  void ConfirmAll() {
    for (std::size_t before = 0; before != fake::Posts().size();) {
      before = fake::Posts().size();
      ConfirmNewest();
    }
  }

  // Whether the file is open in this process.
  bool IsHeld(const std::string& name) const {
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      if (std::filesystem::read_symlink(entry.path(), gone) == files_.File(name)) return true;
    }
    return false;
  }

 private:
  TempDir files_;
  ModuleBench bench_;
};

}  // namespace kivtest
