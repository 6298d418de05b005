// ConsoleSettings: the values of all groups of the settings, as the drawing thread sees them. The
// facade's thread makes a copy when the settings are loaded and after each change; it comes as an
// event kSettings, is kept in ConsoleNews::settings, and whoever draws by it is called
// (EventPump::OnSettings).
//
// A value: nothing in it refers to the module. Lists (history, favourites, shortcut commands) are
// not in it.
#pragma once

#include <cstdint>
#include <string>

#include "svckiv/svc_kiv_config.h"

namespace kiv {

inline constexpr std::uint32_t kFirstInstantIndMs = 10'000;
inline constexpr std::uint32_t kFirstWaitMs = 5000;

struct ConsoleSettings {
  // Whether settings were found; else everything is as a new document has it, or 0.
  bool areThere = false;
  // As the module holds them, but for savePath and pluginPath: see below.
  SvcKivSpace::KivSettings values;
  SvcKivSpace::KivKeyBindings keys;
  // The three that replies and indications depend on.
  std::int32_t oneLineArrays = 0;
  std::int32_t showType = 0;
  std::int32_t indicationsEnabled = 1;
  // Paths as they stand in the document, and the whole path of the file that the log is saved to:
  // absolute, with its suffix, for os::MapPath.
  std::wstring storedSavePath;
  std::wstring storedPluginPath;
  std::wstring logPath;
  // The console's own, beside what every host of the module has.
  std::int32_t hexadecimal = 0;
  std::uint32_t instantIndMs = kFirstInstantIndMs;
};

}  // namespace kiv
