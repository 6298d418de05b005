// :set, the word of the console's own that lists, shows and writes settings.
//
// Threads: the main thread. Errors: told as notices.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kiv {

struct ConsoleContext;

// Without arguments all settings, with a name (or the name of an element) what it names, with a
// value behind it that is written.
int SetSetting(ConsoleContext& context, std::wstring_view arguments);
// Names, and behind a name the values that can be listed.
std::vector<std::wstring> CompleteSetting(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
