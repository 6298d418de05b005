// A settings file from anywhere, imported: it never harms the own document, and what it brings is
// within the limits of the lists.
//
// Input: the file's bytes.
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/base/bench_setup.h"
#include "settings/command_lists.h"
#include "settings/svc_kiv_config_impl.h"

namespace {

using SvcKivClass::SvcKivConfigImpl;

constexpr std::size_t kMaxInputBytes = 1 << 16;

std::filesystem::path folder;

void Require(bool holds) {
  if (!holds) std::abort();
}

void RemoveFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

QCString Path(const char* name) { return QCString::FromUtf8((folder / name).string()); }

// Every code that an import may answer.
bool IsKnown(std::uint32_t status) {
  return status == 0 || status == 3004 || status == 3005 || status == 10007;
}

void RequireSoundMemory(SvcKivConfigImpl& config) {
  for (const auto& record : config.Lists().favourites) Require(SvcKivClass::IsSoundEntry(record));
  for (const auto& record : config.Lists().shortcuts) Require(SvcKivClass::IsSoundSlot(record));
}

// What was imported is the same when it has been stored and read again, but for spellings that
// stand for other characters.
void RequireStoredOnce(SvcKivConfigImpl& config) {
  const std::size_t favourites = config.Lists().favourites.GetCount();
  Require(config.StoreEverything(nullptr) == 0);
  Require(config.LoadEverything() == 0);
  Require(config.Lists().favourites.GetCount() == favourites);
  RequireSoundMemory(config);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::string pattern = (std::filesystem::temp_directory_path() / "kivfuzzXXXXXX").string();
  Require(mkdtemp(pattern.data()) != nullptr);
  folder = pattern;
  std::atexit(RemoveFolder);
  bench::Setup setup;
  setup.configDir = Path("config");
  setup.dataDir = Path("data");
  bench::SetSetup(setup);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMaxInputBytes) return 0;
  const std::filesystem::path file = folder / "other.xml";
  std::filesystem::remove(file);
  std::ofstream(file, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  SvcKivClass::LiveSwitches switches;
  SvcKivSpace::SvcKivMessage sender;
  // Nothing is saved: each input meets the starting document.
  SvcKivConfigImpl config({switches, sender, [](const QCString& path, xml_config::Options options) {
                             class Unsaved final : public CXmlConfig {
                              public:
                               using CXmlConfig::CXmlConfig;
                               std::uint32_t Save(std::int32_t) override { return 0; }
                             };
                             return std::make_unique<Unsaved>(path, std::move(options));
                           }});
  Require(config.SetSessionAndInstance(1, 1) == 0);
  Require(config.LoadEverything() == 0);
  Require(IsKnown(config.Import(Path("other.xml").c_str(), true, true, true)));
  Require(IsKnown(config.Import(Path("other.xml").c_str(), false, true, false)));
  Require(IsKnown(config.Import(Path("other.xml").c_str(), false, false, true)));
  RequireSoundMemory(config);
  RequireStoredOnce(config);
  return 0;
}
