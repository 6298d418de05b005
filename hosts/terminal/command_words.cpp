#include "hosts/terminal/command_words.h"

#include <algorithm>

#include "hosts/bench/caret_line.h"
#include "hosts/terminal/command_help.h"
#include "hosts/terminal/console_texts.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kFoundRows = 100;
constexpr std::size_t kCompletedNames = 100;
constexpr std::size_t kNearestNames = 3;
constexpr std::size_t kMaxNameCells = 40;  // a longer name moves its own row only

std::string FoundRows(const hostbench::CommandIndex& commands,
                      const std::vector<std::uint32_t>& found) {
  std::size_t nameCells = 0;
  for (const std::uint32_t index : found) {
    nameCells = std::max(nameCells, hostbench::CellWidth(commands.At(index).GetName()));
  }
  nameCells = std::min(nameCells, kMaxNameCells);
  std::string rows;
  for (const std::uint32_t index : found) {
    const CmdInfo& command = commands.At(index);
    const std::size_t cells = hostbench::CellWidth(command.GetName());
    rows += ShownLine(command.GetName());
    rows.append(cells < nameCells ? nameCells - cells + 2 : 2, ' ');
    rows += ShownLine(command.GetDescription().view()) + "\n";
  }
  return rows;
}

}  // namespace

int DescribeCommand(ConsoleContext& context, std::wstring_view arguments) {
  hostbench::LineGuide& guide = context.help.Guide();
  hostbench::CommandDescription description;
  if (guide.Describe(arguments, description)) {
    context.display.Answer(ShownText(hostbench::DescriptionText(description)));
    return kDone;
  }
  std::vector<std::string> names;
  for (const std::uint32_t index : guide.Commands().Nearest(arguments, kNearestNames)) {
    names.push_back(ShownLine(guide.Commands().At(index).GetName()));
  }
  context.display.Notice(NoSuchCommandText(ShownLine(arguments)));
  if (!names.empty()) context.display.Notice(NearestText(names));
  return kCommandFailed;
}

int FindCommands(ConsoleContext& context, std::wstring_view arguments) {
  const hostbench::CommandIndex& commands = context.help.Guide().Commands();
  std::size_t total = 0;
  const std::vector<std::uint32_t> found = commands.Find(arguments, kFoundRows, &total);
  if (found.empty()) {
    context.display.Notice(NothingFoundText(ShownLine(arguments)));
    return kCommandFailed;
  }
  context.display.Answer(FoundRows(commands, found));
  if (total > found.size()) context.display.Notice(MoreFoundText(found.size(), total));
  return kDone;
}

std::vector<std::wstring> CompleteCommandName(ConsoleContext& context,
                                              std::wstring_view arguments) {
  std::vector<std::wstring> names;
  const hostbench::CommandIndex& commands = context.help.Guide().Commands();
  for (const hostbench::CommandMatch& match : commands.Complete(arguments, kCompletedNames).rows) {
    if (match.kind == hostbench::MatchKind::kPrefix) {
      names.emplace_back(commands.At(match.index).GetName());
    }
  }
  return names;
}

}  // namespace kiv
