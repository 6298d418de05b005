#include "hosts/bench/line_guide.h"

#include <utility>

#include "command/packet/diag_packet.h"
#include "platform/base/bench_setup.h"
#include "platform/catalogue/request_model.h"

namespace hostbench {

// A command with its shape and a tree to try lines on.
struct LineGuide::Known {
  Known(std::uint32_t cmdId, const QCString& cataloguePath) : packet(cmdId, cataloguePath) {}

  std::uint32_t index = CommandIndex::kNone;
  SvcKivClass::DiagPacket packet;
  ParameterShape shape;
};

LineGuide::LineGuide(QCString cataloguePath, std::shared_ptr<const CommandIndex> commands)
    : cataloguePath_(std::move(cataloguePath)),
      catalogue_(cataloguePath_.IsEmpty() ? bench::GetSetup().catalogue : cataloguePath_),
      commands_(std::move(commands)) {
  catalogue_.IsCmdIdInWhiteList(L"0x0");  // any question opens it
}

LineGuide::~LineGuide() = default;

LineGuide::Known* LineGuide::Know(std::wstring_view command) {
  const std::uint32_t index = commands_->IndexOf(command);
  if (index == CommandIndex::kNone) return nullptr;
  if (known_ != nullptr && known_->index == index) {
    known_->packet.Tree().ResetBody();
    return known_.get();
  }
  known_.reset();
  const std::uint32_t id = commands_->At(index).GetId();
  auto known = std::make_unique<Known>(id, cataloguePath_);
  catalogue::Model model;
  std::int32_t structure = catalogue::Command::kNoStructure;
  if (known->packet.QueryDefaults() != 0 ||
      catalogue::ReadRequest(cataloguePath_.c_str(), id, model, structure) != 0) {
    return nullptr;
  }
  if (structure != catalogue::Command::kNoStructure) {
    known->shape =
        ParameterShape(known->packet.Tree(), &model, static_cast<std::uint32_t>(structure));
  }
  known->index = index;
  known_ = std::move(known);
  return known_.get();
}

LineHelp LineGuide::At(std::wstring_view line, std::size_t cursor, std::size_t limit) {
  LineHelp help;
  const TypedParts parts = SplitTypedSoFar(line.substr(0, cursor));
  const std::wstring& word = parts.word.text;
  if (word.find(L' ') != std::wstring::npos) return help;    // a line for the AT channel
  if (parts.rest.columns[0] == parts.word.columns.back()) {  // no blank behind the word yet
    help.place = LinePlace::kWord;
    help.from = parts.word.ColumnAt(0);
    help.word = word;
    help.commands = commands_->Complete(word, limit);
    return help;
  }
  Known* const known = Know(word);
  if (known == nullptr) return help;
  help.place = LinePlace::kParameters;
  if (known->packet.IsStringTyped()) {
    const TypedRoute route = SplitTypedRoute(parts.rest);
    help.field.state = route.hasOption ? HelpState::kRoutePath : HelpState::kText;
    help.field.from = (route.hasOption ? route.path : route.parameters).ColumnAt(0);
    help.field.typed = (route.hasOption ? route.path : route.parameters).text;
  } else {
    help.field = HelpAt(known->packet.Tree(), known->shape, parts.rest);
  }
  help.text = HelpText(help.field, known->shape);
  return help;
}

std::optional<Refusal> LineGuide::RefusalOf(std::wstring_view line) {
  const TypedParts parts = SplitTyped(line);
  if (parts.rest.text.empty() || parts.rest.text.size() > kMaxParameterChars) return std::nullopt;
  Known* const known = Know(parts.word.text);
  if (known == nullptr || known->packet.IsStringTyped()) return std::nullopt;
  const std::wstring id = CommandIdText(commands_->At(known->index).GetId());
  if (!catalogue_.IsCmdIdCombinedInWhiteList(id.c_str(), parts.rest.text.c_str())) {
    return std::nullopt;
  }
  return FindRefusal(known->packet.Tree(), known->shape, SplitTypedRoute(parts.rest).parameters);
}

bool LineGuide::Describe(std::wstring_view command, CommandDescription& description) {
  const std::uint32_t index = commands_->IndexOf(command);
  return index != CommandIndex::kNone &&
         hostbench::Describe(commands_->At(index), cataloguePath_, description) == 0;
}

}  // namespace hostbench
