// :ind, :mute, :unmute and :grep: what is shown of what the device says by itself (shown_filter.h).
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

// "on", "off", or names of commands whose indications alone are shown from now on, with those that
// were named before; nothing: how it is.
int FilterIndications(ConsoleContext& context, std::wstring_view arguments);
// Names of commands, whose indications are hidden, and of channels; "off": none is hidden.
int Mute(ConsoleContext& context, std::wstring_view arguments);
// The same names; nothing: none is hidden.
int Unmute(ConsoleContext& context, std::wstring_view arguments);
// A regular expression, or "off".
int FilterLines(ConsoleContext& context, std::wstring_view arguments);

std::vector<std::wstring> CompleteIndications(ConsoleContext& context, std::wstring_view arguments);
std::vector<std::wstring> CompleteMuted(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
