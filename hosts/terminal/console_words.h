// The console's own words: lines that begin with one colon. One row gives a word's name, its
// arguments, its help, what it does and how it is completed; :help and the completion walk the
// table. A new word is a row in console_words.cpp and a function wherever it belongs.
//
// Threads: the main thread. Errors: a word tells its faults as notices and answers a status.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/command_help.h"
#include "hosts/terminal/console_options.h"
#include "hosts/terminal/display.h"
#include "hosts/terminal/event_pump.h"
#include "hosts/terminal/line_runner.h"

namespace kiv {

class ChangeNotes;
class LineTiming;

// What a word works with. Borrows everything.
struct ConsoleContext {
  const ConsoleOptions& options;
  EventPump& pump;
  Display& display;
  LineRunner& runner;  // runs lines of the module, and asks the facade's thread
  CommandHelp& help;   // what the catalogue says of its commands
  ChangeNotes& changes;
  LineTiming& timing;
  LinkWatch& watch;
  ViewQueue& queue;
  const bool isTyped;   // somebody types lines
  bool quit = false;    // set: the console ends behind this line
  int nestedLines = 0;  // lines that are running because another one brought them
};

struct ConsoleWord {
  // What stands behind the word, without the blanks around it.
  using Run = int (*)(ConsoleContext& context, std::wstring_view arguments);
  // What the last of the arguments typed so far may become: what begins behind the last blank, or
  // nothing behind a blank at the end. `arguments` is what stands between the word and the cursor,
  // without the blanks in front. Whole arguments, each in the place of the last one, those that fit
  // it alone; the first are the best. It may ask the facade's thread.
  using Complete = std::vector<std::wstring> (*)(ConsoleContext& context,
                                                 std::wstring_view arguments);

  const char* name;       // with its colon
  const char* arguments;  // as :help shows them; empty: the word takes none
  const char* help;
  Run run;            // answers the line's status
  Complete complete;  // null: nothing to complete
};

// In the order in which :help lists them.
std::span<const ConsoleWord> ConsoleWords();

// Whether the line is one of the console's own; two colons send a line that begins with one.
bool IsConsoleWord(std::wstring_view line);
// Any other line as the module gets it.
std::wstring ModuleLine(std::wstring_view line);
// Runs a line as it was typed, of the console's own or of the module's; answers its status.
int RunTypedLine(ConsoleContext& context, std::wstring_view line);
// Runs the word of such a line; answers the line's status.
int RunConsoleWord(ConsoleContext& context, std::wstring_view line);

}  // namespace kiv
