#include "hosts/terminal/diff_word.h"

#include "hosts/terminal/change_notes.h"
#include "hosts/terminal/command_words.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::wstring_view kOn = L"on";
constexpr std::wstring_view kOff = L"off";

}  // namespace

int ShowChanges(ConsoleContext& context, std::wstring_view arguments) {
  if (arguments.empty()) {
    context.display.Answer(context.changes.AreTold() ? "changed fields are shown\n"
                                                     : "changed fields are not shown\n");
    return kDone;
  }
  if (arguments == kOn || arguments == kOff) {
    context.changes.Tell(arguments == kOn);
    return kDone;
  }
  if (IsConsoleWord(arguments)) {
    context.display.Notice("kiv: :diff runs lines of the module only\n");
    return kCommandFailed;
  }
  context.changes.TellNext();
  return context.runner.Run(ModuleLine(arguments));
}

std::vector<std::wstring> CompleteChanges(ConsoleContext& context, std::wstring_view arguments) {
  std::vector<std::wstring> rows;
  if (arguments.find(L' ') != std::wstring_view::npos) return rows;
  for (const std::wstring_view word : {kOn, kOff}) {
    if (word.starts_with(arguments)) rows.emplace_back(word);
  }
  for (std::wstring& name : CompleteCommandName(context, arguments))
    rows.push_back(std::move(name));
  return rows;
}

}  // namespace kiv
