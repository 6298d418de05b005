// :diff: tells which fields changed since the last reply to the same request (change_notes.h),
// behind each line, or behind one.
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

// `arguments`: "on", "off", nothing (which of them it is), or a line that is run and compared.
int ShowChanges(ConsoleContext& context, std::wstring_view arguments);
std::vector<std::wstring> CompleteChanges(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
