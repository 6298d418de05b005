// The words of the console's memory: :history, :again, :fav, :key, :import and :export. Arguments
// are checked here, what they ask for is done on the facade's thread (command_memory.h).
//
// A line that one of them brings runs as if it had been typed: it is shown behind the prompt where
// somebody types on a terminal, and goes into the history.
//
// Threads: the main thread. Errors: as ConsoleWord::Run.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/console_words.h"

namespace kiv {

// How they are called.
inline constexpr char kFavouriteArguments[] = "add [LINE] | list | rm N | run N";
inline constexpr char kKeyArguments[] = "[N [LINE] | rm N | run N]";
inline constexpr char kCarryArguments[] = "[keys] [favourites] [shortcuts] FILE";

// All lines; the newest so many; or those that have all the words.
int ShowHistory(ConsoleContext& context, std::wstring_view arguments);
// The last line, or the one with this number of the history.
int RunAgain(ConsoleContext& context, std::wstring_view arguments);
int Favourites(ConsoleContext& context, std::wstring_view arguments);
int ShortcutKeys(ConsoleContext& context, std::wstring_view arguments);
int ImportSettings(ConsoleContext& context, std::wstring_view arguments);
int ExportSettings(ConsoleContext& context, std::wstring_view arguments);

std::vector<std::wstring> CompleteFavourites(ConsoleContext& context, std::wstring_view arguments);
std::vector<std::wstring> CompleteShortcutKeys(ConsoleContext& context,
                                               std::wstring_view arguments);
// Groups, and files of the directory that is typed.
std::vector<std::wstring> CompleteSettingsFile(ConsoleContext& context,
                                               std::wstring_view arguments);

}  // namespace kiv
