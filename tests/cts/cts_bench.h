// A bench for the test-case channel: a channel object of its own, a configuration directory with
// files, and the ini file where the channel looks for it.
//
// Threads: the test's. Owns a temporary directory.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "cts/kiv_cts.h"
#include "tests/fakes/channel_bench.h"

namespace kivtest {

inline constexpr char kLogHead[] =
    "Config Init complete.\n=============================================\n\n";

// The configuration directory is called "cases"; nothing is configured yet.
class CtsBench : public ChannelBench {
 protected:
  CtsBench() {
    version_query::NoteDevice(248, 0);
    std::filesystem::create_directories(Path("cases/pbin"));
  }

  // As the module sees it: with a backslash behind the directory's own path.
  std::wstring Cases() const { return WidePath("cases").str(); }
  std::string CasesUtf8() const { return Path("cases"); }
  void Init() { cts_.Init(RecordingServices()); }
  std::int32_t Run(const std::wstring& word, const std::wstring& rest) {
    return cts_.HandleCommand(word.c_str(), rest.c_str());
  }
  std::int32_t Answer(std::uint32_t id, const std::string& text) {
    return cts_.HandleResponse(id, nullptr, reinterpret_cast<const std::uint8_t*>(text.data()),
                               static_cast<std::uint32_t>(text.size()));
  }
  // Configures without a word to the view.
  void Configure() {
    Init();
    cts_.SetConfigPath(Cases().c_str(), L"");
  }
  std::string Log(const std::string& title = "na") const {
    return FileText("cases/cts_" + title + ".log");
  }
  static constexpr char kIni[] = "data/C/Kestrax/kit_kiv_plc_cts.ini";
  void WriteIni(const std::string& content) const {
    std::filesystem::create_directories(Path("data/C/Kestrax"));
    Write(kIni, content);
  }

  SvcKivClass::KivCts cts_;
};

}  // namespace kivtest
