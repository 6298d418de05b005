#include "command/cmd_ctrl.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include "command/command_texts.h"
#include "command/shared_constants.h"
#include "platform/base/result_codes.h"
#include "platform/text/qt_text.h"
#include "service/message/debug_trace.h"
#include "service/message/failure_log.h"

using namespace SvcKivClass;  // NOLINT(google-build-using-namespace): the class itself is global

namespace {

constexpr std::int32_t kNoStatus = -1;  // log lines whose failure has no status of its own

// Which part of the catalogue the list shows: commands with and without request, diagnostic
// channel.
constexpr std::uint32_t kScopeMask = 3;
constexpr std::uint32_t kDiagChannel = 256;

// "0x%x", written by hand: the list asks for a hundred thousand of them.
struct IdText {
  explicit IdText(std::uint32_t id) {
    wchar_t* at = text + 2 + (std::max(static_cast<int>(std::bit_width(id)), 1) + 3) / 4;
    for (*at = L'\0'; at != text + 2; id >>= 4) *--at = L"0123456789abcdef"[id & 15];
  }
  wchar_t text[11] = L"0x";
};

bool IsHelpWord(const QCString& word) {
  return std::any_of(std::begin(kHelpWords), std::end(kHelpWords),
                     [&](const wchar_t* help) { return word == help; });
}

void AppendHelpLine(QCString& reply, std::wstring_view name, std::wstring_view description) {
  reply.Append(name).Append(L"  ").Append(description).Append(L"\n");
}

}  // namespace

CmdCtrl::CmdCtrl(const CmdCtrlParts& parts)
    : database_(parts.cataloguePath.IsEmpty() ? CCmdDatabase() : CCmdDatabase(parts.cataloguePath)),
      ueId_(parts.ueId),
      context_(parts.context) {
  for (const ChannelEntries& channel : parts.channels) {
    registrations_.push_back(channel.init);
    handlers_.push_back(channel.command);
    responseHandlers_.push_back(channel.response);
  }
  const ChannelServiceTable table = MakeServiceTable(this, parts.application);
  for (ChannelInitFn registerChannel : registrations_) registerChannel(table);
}

CmdCtrl::~CmdCtrl() = default;

void CmdCtrl::Initial() {
  Trace(L"[CmdCtrl::Initial]start");
  FillMorviCmdList();
  Trace(L"[CmdCtrl::Initial]end");
}

void CmdCtrl::FillMorviCmdList() {
  Trace(L"[CmdCtrl::FillMorviCmdList]start");
  commands_.Clear();
  for (const wchar_t* word : kHelpWords) commands_.AddHelp(word, Translated(kHelpCaption));
  if (!EnumerateCommands()) return;
  Trace([&] {
    return QCString(L"[CmdCtrl::FillMorviCmdList]end, morviCmdList length = ") +
           std::to_wstring(commands_.GetCount()).c_str();
  });
}

bool CmdCtrl::EnumerateCommands() {
  QCList<CmdInfo> all;
  const std::uint32_t status = database_.EnumCommands(all, kScopeMask, kDiagChannel, 0, 0);
  if (status != result::kOk) {
    LogFailure(ueId_, L"CmdCtrl::FillMorviCmdList()", static_cast<std::int32_t>(status),
               L"EnumCommands Fail");
    return false;
  }
  commands_.ReserveCommands(all.GetCount());
  for (CmdInfo& command : all) {
    if (database_.IsCmdIdInWhiteList(IdText(command.GetId()).text)) {
      commands_.AddCommand(std::move(command));
    }
  }
  return true;
}

void CmdCtrl::GetDiagCmdResponse(const wchar_t* line, QCString& reply) {
  response_.Empty();
  const bool accepted = GetCmd(line) == 1;
  if (!accepted && line_.type == CommandType::kMorvi) {
    // The wording differs from GetCmd's own line: those who read the log tell the two by it.
    LogFailure(ueId_, L"CmdCtrl::GetCmd()", kNoStatus, L"Morv Combined Cmd Not Supported!");
    response_ = Translated(kCombinedRefusedText);
  } else if (line_.word.ToLower() == kLoadWord) {
    RunLoadLine();
  } else {
    // A handler may come back here through a message slot and run another line.
    const Line offered = line_;
    if (OfferLine(offered, std::vector<ChannelCommandFn>(handlers_))) return;
    line_ = offered;
    response_.Empty();
    DispatchCmd();
  }
  reply = response_;
}

std::int32_t CmdCtrl::GetCmd(const QCString& line) {
  TypedLine split = SplitTypedLine(line);
  line_ = Line{CommandType::kUnknown, 0, std::move(split.word), std::move(split.rest)};
  if (split.hasLastWord) lastWord_ = std::move(split.lastWord);
  if (!split.accepted) return 0;
  if (IsHelpWord(line_.word)) {
    line_.type = CommandType::kHelp;
    return 1;
  }
  const CmdInfo* command = commands_.Find(line_.word.view());
  return (command != nullptr ? ClassifyCommand(*command) : ClassifyOther()) ? 1 : 0;
}

bool CmdCtrl::ClassifyCommand(const CmdInfo& command) {
  if (line_.rest.GetLength() > kMaxRestChars) {
    LogFailure(ueId_, L"CmdCtrl::GetCmd()", kNoStatus,
               L"Morvi Cmd With Param Length Exceed Max Len!");
    return false;
  }
  line_.type = CommandType::kMorvi;
  line_.cmdId = command.GetId();
  if (database_.IsCmdIdCombinedInWhiteList(IdText(line_.cmdId).text, line_.rest.c_str()))
    return true;
  LogFailure(ueId_, L"CmdCtrl::GetCmd()", kNoStatus, L"Morvi Combined Cmd Not Supported!");
  return false;
}

bool CmdCtrl::ClassifyOther() {
  if (TestScriptFile(line_.word) == kScriptFile) {
    line_.type = CommandType::kScript;
    line_.rest.Empty();
    return true;
  }
  if (!line_.word.IsEmpty() && database_.VerifyDosCommand(line_.word.c_str()) != 0) {
    line_.type = CommandType::kHostWord;
    return true;
  }
  return false;
}

// Every handler sees the line, whatever the earlier ones answered.
bool CmdCtrl::OfferLine(const Line& line, const std::vector<ChannelCommandFn>& handlers) {
  bool taken = false;
  for (ChannelCommandFn handler : handlers) {
    if (handler(line.word.c_str(), line.rest.c_str()) == kChannelTaken) taken = true;
  }
  return taken;
}

void CmdCtrl::DispatchCmd() {
  Trace(L"[CmdCtrl::DispatchCmd]start");
  switch (line_.type) {
    case CommandType::kUnknown:
      DisposeErrCommand();
      break;
    case CommandType::kMorvi:
      ResponseMyCommand();
      break;
    case CommandType::kHelp:
      ListHelp();
      break;
    case CommandType::kReserved:
    case CommandType::kScript:
    case CommandType::kHostWord:
      break;  // accepted, and no reply
  }
}

void CmdCtrl::DisposeErrCommand() {
  Trace(L"[CmdCtrl::DisposeErrCommand]start");
  const QCString shown =
      line_.word.GetLength() <= kMaxWordChars ? line_.word : line_.word.Left(kShownLongWordChars);
  if (shown.IsEmpty()) return;
  response_ = Translated(kNoSuchCommandHead) + shown + Translated(kNoSuchCommandTail);
}

void CmdCtrl::ListHelp() {
  for (const auto& help : commands_.Help()) {
    AppendHelpLine(response_, help.name.view(), help.description.view());
  }
  for (const CmdInfo& command : commands_.Commands()) {
    // The description brings a line feed of its own, so a blank line follows each command.
    const QCString description = QCString(L"(") + IdText(command.GetId()).text + L") \n";
    AppendHelpLine(response_, command.GetName(), description.view());
  }
}

std::int32_t CmdCtrl::OfferReply(std::uint32_t cmdId, std::uint32_t /*resultCode*/,
                                 const std::uint8_t* body, std::uint32_t bodyLengthBytes,
                                 const ReplyDescriptor& reply) {
  for (ChannelResponseFn handler : responseHandlers_) {
    if (handler(cmdId, &reply, body, bodyLengthBytes) == kChannelTaken) return kChannelTaken;
  }
  return kChannelNotMine;
}

void CmdCtrl::HookText(std::uint32_t /*kind*/, QCString& /*text*/, std::uint32_t /*cmdId*/) {}
