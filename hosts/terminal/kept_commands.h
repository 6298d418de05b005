// KeptCommands: favourites and the commands of the ten shortcut keys, as lines; what the drawing
// thread knows of them. It comes as an event kKept when the settings are loaded and after each
// change, and is kept in ConsoleNews::kept.
//
// A value: nothing in it refers to the module.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "svckiv/svc_kiv_config.h"

namespace kiv {

struct KeptCommands {
  std::vector<std::wstring> favourites;
  std::array<std::wstring, SvcKivSpace::kShortcutCommands> shortcuts;  // empty: not set
};

}  // namespace kiv
