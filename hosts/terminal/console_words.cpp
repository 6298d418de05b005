#include "hosts/terminal/console_words.h"

#include <algorithm>
#include <utility>

#include "hosts/bench/edit_distance.h"
#include "hosts/terminal/change_notes.h"
#include "hosts/terminal/command_words.h"
#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/diff_word.h"
#include "hosts/terminal/filter_words.h"
#include "hosts/terminal/memory_words.h"
#include "hosts/terminal/settings_words.h"
#include "hosts/terminal/status_word.h"
#include "hosts/terminal/timing_word.h"
#include "hosts/terminal/watch_word.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::wstring_view kBlanks = L" \t";
constexpr std::size_t kLongestWord = 80;  // a longer one is none that was meant

std::string NameColumn(const ConsoleWord& word) {
  std::string column = word.name;
  if (*word.arguments != '\0') column += " " + std::string(word.arguments);
  return column;
}

int Help(ConsoleContext& context, std::wstring_view) {
  constexpr std::string_view kEscaped = "::x";
  std::size_t widthChars = kEscaped.size();
  for (const ConsoleWord& word : ConsoleWords()) {
    widthChars = std::max(widthChars, NameColumn(word).size());
  }
  std::string text;
  const auto add = [&text, widthChars](std::string column, std::string_view help) {
    column.resize(widthChars + 2, ' ');
    text.append(column).append(help).append("\n");
  };
  for (const ConsoleWord& word : ConsoleWords()) add(NameColumn(word), word.help);
  add(std::string(kEscaped), "send the line :x to the module");
  context.display.Answer(text);
  return kDone;
}

int Link(ConsoleContext& context, std::wstring_view) {
  const ConsoleNews& news = context.pump.News();
  context.display.Answer(news.connected ? news.connectedText : DisconnectedText(news.lastReason));
  return kDone;
}

int Quit(ConsoleContext& context, std::wstring_view) {
  context.quit = true;
  return kDone;
}

int Reload(ConsoleContext& context, std::wstring_view) {
  ViewEvent reply;
  const auto reload = [](FacadeThread& here, ViewEvent& answer) {
    answer.isCommand = here.ReloadCatalogue();
  };
  if (!context.runner.Ask(reload, reply)) return kInterrupted;
  context.help.Forget();
  context.changes.Forget();
  return reply.isCommand ? kDone : kCommandFailed;
}

constexpr ConsoleWord kWords[] = {
    {":again", "[N]", "run the last line once more, or line N of the history", RunAgain, nullptr},
    {":describe", "COMMAND", "the fields of a command, and the line that types its defaults",
     DescribeCommand, CompleteCommandName},
    {":diff", "[on|off|LINE]", "show which fields changed since the last reply to the same line",
     ShowChanges, CompleteChanges},
    {":export", kCarryArguments, "write keys, favourites and shortcut commands to a settings file",
     ExportSettings, CompleteSettingsFile},
    {":fav", kFavouriteArguments, "favourite lines: keep one (the last), list, remove, run",
     Favourites, CompleteFavourites},
    {":find", "WORDS", "commands that have all the words in name or description", FindCommands,
     nullptr},
    {":grep", "[PATTERN|off]", "of what the device says by itself, show the lines that have it",
     FilterLines, nullptr},
    {":help", "", "this list", Help, nullptr},
    {":history", "[N | WORDS]", "the lines that were typed, in all sessions", ShowHistory, nullptr},
    {":import", kCarryArguments, "take keys, favourites and shortcut commands from a settings file",
     ImportSettings, CompleteSettingsFile},
    {":ind", "[on|off|NAME...]", "show all indications, none, or those of some commands alone",
     FilterIndications, CompleteIndications},
    {":key", kKeyArguments, "the lines that F1 to F10 run: list, set, remove, run", ShortcutKeys,
     CompleteShortcutKeys},
    {":link", "", "what the console is connected to", Link, nullptr},
    {":mute", "[NAME...|off]", "hide indications of commands, and at, shell, hci or cts", Mute,
     CompleteMuted},
    {":quit", "", "end the console", Quit, nullptr},
    {":reload", "", "read the command catalogue again", Reload, nullptr},
    {":set", "[NAME [VALUE]]", "the settings: all, one, or another value for one", SetSetting,
     CompleteSetting},
    {":status", "", "link, device, catalogues, counters, losses, queue and settings", ShowStatus,
     nullptr},
    {":timing", "[N]", "how long the last lines took, step by step, with p50 and p99", ShowTiming,
     CompleteTiming},
    {":unmute", "[NAME...]", "show again what :mute hides", Unmute, CompleteMuted},
    {":watch", "LINE [every 1s] [N times]", "run the line again and again and show what changes",
     Watch, CompleteWatch},
};

// A word and what stands behind it, without the blanks around it.
std::pair<std::wstring_view, std::wstring_view> Split(std::wstring_view line) {
  const std::size_t blank = std::min(line.find_first_of(kBlanks), line.size());
  std::wstring_view rest = line.substr(blank);
  rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  rest = rest.substr(0, rest.find_last_not_of(kBlanks) + 1);
  return {line.substr(0, blank), rest};
}

// As far from the typed one as a slip of the fingers is.
std::vector<std::string> NearestWords(std::string_view typed) {
  constexpr std::size_t kLettersForEachSlip = 4;
  const std::size_t most = std::clamp<std::size_t>(typed.size() / kLettersForEachSlip, 1, 2);
  std::vector<std::string> near;
  if (typed.size() > kLongestWord) return near;
  for (std::size_t slips = 1; slips <= most && near.empty(); ++slips) {
    for (const ConsoleWord& word : ConsoleWords()) {
      if (hostbench::EditDistance(typed, word.name, slips) == slips) near.emplace_back(word.name);
    }
  }
  return near;
}

}  // namespace

std::span<const ConsoleWord> ConsoleWords() { return kWords; }

std::wstring ModuleLine(std::wstring_view line) {
  return std::wstring(line.substr(line.starts_with(L"::") ? 1 : 0));
}

bool IsConsoleWord(std::wstring_view line) {
  return line.starts_with(L":") && !line.starts_with(L"::");
}

int RunTypedLine(ConsoleContext& context, std::wstring_view line) {
  if (IsConsoleWord(line)) return RunConsoleWord(context, line);
  return context.runner.Run(ModuleLine(line));
}

int RunConsoleWord(ConsoleContext& context, std::wstring_view line) {
  const auto [name, arguments] = Split(line);
  const std::string typed = ShownLine(name);
  const auto words = ConsoleWords();
  const auto word = std::find_if(words.begin(), words.end(),
                                 [&typed](const ConsoleWord& row) { return typed == row.name; });
  if (word == words.end()) {
    context.display.Notice(UnknownWordText(typed));
    const std::vector<std::string> near = NearestWords(typed);
    if (!near.empty()) context.display.Notice(NearestText(near));
    return kCommandFailed;
  }
  if (!arguments.empty() && *word->arguments == '\0') {
    context.display.Notice(NoArgumentsText(typed));
    return kCommandFailed;
  }
  return word->run(context, arguments);
}

}  // namespace kiv
