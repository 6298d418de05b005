// The module's debug traces. Off unless asked for, and never on the terminal: with --debug they go
// to kiv-debug.log in the configuration directory.
//
// Threads: installed once by the main thread; traces come from any thread and are written whole.
#pragma once

namespace kiv {

void InstallDebugLog(bool enabled);

}  // namespace kiv
