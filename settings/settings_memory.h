// SettingsMemory: what the settings of one console instance are in memory.
//
// Threads: the facade's; `switches` any. Borrows the switches.
#pragma once

#include "service/message/live_switches.h"
#include "svckiv/svc_kiv_config.h"

namespace SvcKivClass {

// The record, the keys and the lists that hosts see, and the switches that replies look at.
struct SettingsMemory {
  LiveSwitches& switches;
  SvcKivSpace::KivSettings settings = {};
  SvcKivSpace::KivKeyBindings keys = {};
  SvcKivSpace::KivCommandLists lists = {};
};

}  // namespace SvcKivClass
