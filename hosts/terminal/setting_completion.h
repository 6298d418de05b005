// What the arguments of :set may become while they are typed.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_settings.h"

namespace kiv {

// Names in the order of the table, with all their parts where none begins as typed; behind a name
// its values where they can be listed, else the one that it has. Whole arguments in the place of
// the last one of `arguments`, in any case.
std::vector<std::wstring> SettingCompletions(const ConsoleSettings& settings,
                                             std::wstring_view arguments);

}  // namespace kiv
