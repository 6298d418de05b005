#include "hosts/terminal/console_completion.h"

#include <algorithm>
#include <string>
#include <vector>

#include "hosts/terminal/command_words.h"
#include "hosts/terminal/text_device.h"
#include "platform/os/utf8.h"

namespace kiv {
namespace {

constexpr std::wstring_view kBlanks = L" \t";
// More do not stand on a screen; they are counted.
constexpr std::size_t kMostCandidates = 500;

const ConsoleWord* FindWord(std::wstring_view name) {
  const std::string wanted = os::WideToUtf8(name);
  const auto words = ConsoleWords();
  const auto word = std::find_if(words.begin(), words.end(),
                                 [&wanted](const ConsoleWord& row) { return wanted == row.name; });
  return word == words.end() ? nullptr : &*word;
}

hostbench::Completion Nothing(std::wstring_view line) {
  hostbench::Completion completion;
  completion.from = line.size();
  return completion;
}

// ":describe COMMAND: the fields of a command, ..."
std::wstring NoteOf(const ConsoleWord& word) {
  return os::Utf8ToWide(std::string(word.name) + " " + word.arguments + ": " + word.help);
}

}  // namespace

hostbench::Completion ConsoleCompletion::Complete(std::wstring_view line, std::size_t cursor) {
  line = line.substr(0, cursor);
  hostbench::Completion completion = IsConsoleWord(line) ? OfOwnLine(line) : OfCommand(line);
  // Who asked the facade's thread has shown what arrived meanwhile.
  context_.display.ShowPrompt();
  return completion;
}

hostbench::Completion ConsoleCompletion::OfOwnLine(std::wstring_view line) {
  const std::size_t nameEnd = line.find_first_of(kBlanks);
  if (nameEnd == std::wstring_view::npos) {
    std::vector<hostbench::FieldCandidate> names;
    for (const ConsoleWord& word : ConsoleWords()) {
      const std::wstring name = os::Utf8ToWide(word.name);
      if (name.starts_with(line)) names.push_back({name, os::Utf8ToWide(word.help)});
    }
    hostbench::Completion completion = hostbench::CompleteWord(line, 0, std::move(names));
    if (completion.total == 1 && *FindWord(completion.common)->arguments == '\0') {
      completion.behind.clear();
    }
    return completion;
  }
  const ConsoleWord* const word = FindWord(line.substr(0, nameEnd));
  if (word == nullptr || *word->arguments == '\0') return Nothing(line);
  return OfArguments(*word, line, std::min(line.find_first_not_of(kBlanks, nameEnd), line.size()));
}

hostbench::Completion ConsoleCompletion::OfArguments(const ConsoleWord& word,
                                                     std::wstring_view line,
                                                     std::size_t argumentsAt) {
  const std::wstring_view arguments = line.substr(argumentsAt);
  const std::size_t lastBlank = arguments.find_last_of(kBlanks);
  hostbench::Completion completion = Nothing(line);
  if (word.complete == CompleteCommandName) {
    // With descriptions, as where a command itself is typed.
    if (lastBlank == std::wstring_view::npos) {
      completion = hostbench::CompleteLine(context_.help.Guide(), arguments, arguments.size(),
                                           kMostCandidates);
      completion.from += argumentsAt;
      completion.behind.clear();
    }
  } else if (word.complete != nullptr) {
    std::vector<hostbench::FieldCandidate> words;
    for (std::wstring& each : word.complete(context_, arguments)) {
      words.push_back({std::move(each), {}});
    }
    const std::size_t from =
        lastBlank == std::wstring_view::npos ? argumentsAt : argumentsAt + lastBlank + 1;
    completion = hostbench::CompleteWord(line, from, std::move(words));
  }
  if (completion.candidates.empty()) completion.note = NoteOf(word);
  return completion;
}

hostbench::Completion ConsoleCompletion::OfCommand(std::wstring_view line) {
  if (TakesLinesAsText()) return Nothing(line);
  const std::size_t colons = line.starts_with(L"::") ? 1 : 0;
  hostbench::Completion completion = hostbench::CompleteLine(
      context_.help.Guide(), line.substr(colons), line.size() - colons, kMostCandidates);
  completion.from += colons;
  return completion;
}

}  // namespace kiv
