// :timing: how long the last lines took, step by step (line_timing.h).
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

// `arguments`: how many lines, 10 when empty.
int ShowTiming(ConsoleContext& context, std::wstring_view arguments);
std::vector<std::wstring> CompleteTiming(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
