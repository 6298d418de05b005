#include "hosts/terminal/command_help.h"

#include <vector>

#include "hosts/bench/caret_line.h"
#include "hosts/bench/typed_text.h"
#include "hosts/terminal/console_texts.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kNearestNames = 3;

// Words of the module that are no commands of a catalogue.
struct ModuleWord {
  const wchar_t* name;
  const wchar_t* text;
};
constexpr ModuleWord kModuleWords[] = {
    {L"help", L"lists all commands"},
    {L"?", L"lists all commands"},
    {L"ldnv", L"sends a file into a command's parameters"},
    {L"cts", L"runs a test case"},
    {L"ctscfg", L"configures test cases"},
    {L"ctsftl", L"shows or hides what tests reply"},
    {L"sh", L"runs a command in the device's shell"},
};

std::vector<CmdInfo> ModuleWords() {
  std::vector<CmdInfo> words;
  for (const ModuleWord& word : kModuleWords) {
    words.push_back(CmdInfo::Make(0, word.name, word.text, L"", 0, 0));
  }
  return words;
}

}  // namespace

void CommandHelp::Start() {
  if (index_ != nullptr) return;
  index_ = std::make_unique<hostbench::CommandIndexLater>(cataloguePath_, ModuleWords());
}

void CommandHelp::Forget() {
  guide_.reset();
  index_.reset();
}

hostbench::LineGuide& CommandHelp::Guide() {
  Start();
  if (guide_ == nullptr) {
    guide_ = std::make_unique<hostbench::LineGuide>(cataloguePath_, index_->Get());
  }
  return *guide_;
}

std::string CommandHelp::AfterRefusal(std::wstring_view line, std::size_t widthCells) {
  constexpr std::size_t kHeadCells = 5;  // "kiv: "
  hostbench::LineGuide& guide = Guide();
  if (const auto refusal = guide.RefusalOf(line)) {
    const std::size_t room = widthCells > kHeadCells ? widthCells - kHeadCells : 0;
    const hostbench::MarkedLine marked =
        hostbench::MarkLine(line, refusal->column, refusal->path, room);
    return PlaceText(ShownLine(marked.shown), ShownLine(marked.caret));
  }
  const std::wstring word = hostbench::SplitTyped(line).word.text;
  const hostbench::CommandIndex& commands = guide.Commands();
  if (word.empty() || commands.IndexOf(word) != hostbench::CommandIndex::kNone) return {};
  std::vector<std::string> names;
  for (const std::uint32_t index : commands.Nearest(word, kNearestNames)) {
    names.push_back(ShownLine(commands.At(index).GetName()));
  }
  return names.empty() ? std::string() : NearestText(names);
}

}  // namespace kiv
