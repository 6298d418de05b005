// The words that speak of the catalogue's commands: :describe and :find.
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

// A command with all its fields, and the line that types them.
int DescribeCommand(ConsoleContext& context, std::wstring_view arguments);
// Commands whose names or descriptions have all words.
int FindCommands(ConsoleContext& context, std::wstring_view arguments);
// Names that begin with what is typed.
std::vector<std::wstring> CompleteCommandName(ConsoleContext& context, std::wstring_view arguments);

}  // namespace kiv
