#include "hosts/terminal/facade_thread.h"

#include <cwchar>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/load_layout.h"
#include "hosts/terminal/typed_record.h"
#include "platform/base/ini_values.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using SvcKivSpace::SvcKiv;
using SvcKivSpace::SvcKivMsgType;

// What a reply holder has before a line: still there afterwards means that a text channel took the
// line.
constexpr wchar_t kSentinel[] = L"\x1\x2kiv: nobody has answered yet\x2\x1";

// A save waits 5 seconds for its turn, and there are two of them: what was typed, and the module's.
constexpr std::uint32_t kSaveTimeoutMs = 12000;

}  // namespace

FacadeThread::FacadeThread(ViewQueue& queue) : queue_(queue), context_(new QObject) {
  context_->moveToThread(&thread_);
  thread_.setObjectName(QStringLiteral("facade"));
}

FacadeThread::~FacadeThread() { delete context_; }

void FacadeThread::Start(LinkWatch& watch, bool saveEachLine) {
  watch_ = &watch;
  devlink::SetLinkObserver(&watch);
  QObject::connect(
      SvcKiv::GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage, context_,
      [this](SvcKivMsgType kind, void* payload) { OnMessage(kind, payload); },
      Qt::DirectConnection);
  thread_.start();
  QMetaObject::invokeMethod(
      context_, [this, saveEachLine] { StartHere(saveEachLine); }, Qt::QueuedConnection);
}

void FacadeThread::StartHere(bool saveEachLine) {
  settings_.emplace(*SvcKiv::Start(), saveEachLine);
  ApplySettings();
  // Without settings everything is shown: nobody said otherwise.
  SvcKiv().SetIsEnableInstantInd(!settings_->AreThere());
  PushSettings();
  PushKept();
  if (saveEachLine) PushHistory();
  CheckCommands();
}

void FacadeThread::ApplySettings() {
  SvcKiv::SetInstantIndTime(settings_->InstantIndMs());
  SvcKiv::SetHexadecimalFlag(settings_->Values().hexadecimal != 0);
}

void FacadeThread::SettingsChanged(bool isSaved) {
  ApplySettings();
  // A time that runs would go on showing what the user wants to see no more.
  if (settings_->InstantIndMs() == 0) SvcKiv().SetIsEnableInstantInd(false);
  isUnsaved_ = !isSaved;
  PushSettings();
}

void FacadeThread::PushSettings() {
  TellWatchOfIndications();
  ViewEvent event;
  event.kind = ViewEvent::Kind::kSettings;
  event.settings = std::make_shared<const ConsoleSettings>(settings_->Values());
  queue_.Push(std::move(event));
}

void FacadeThread::PushKept() {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kKept;
  event.kept = std::make_shared<const KeptCommands>(settings_->Commands().All());
  queue_.Push(std::move(event));
}

void FacadeThread::PushHistory() {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kHistory;
  for (const std::wstring& line : settings_->Lines()) {
    if (line.find(L'\n') == std::wstring::npos) event.text += os::WideToUtf8(AsTyped(line)) + "\n";
  }
  queue_.Push(std::move(event));
}

void FacadeThread::Warn(std::string text) {
  ViewEvent event;
  event.kind = ViewEvent::Kind::kWarning;
  event.text = std::move(text);
  queue_.Push(std::move(event));
}

void FacadeThread::KeepLine(const std::wstring& line) { NoteSaved(settings_->Keep(line)); }

// Told once, until something has been saved again.
void FacadeThread::NoteSaved(bool isSaved) {
  const bool wasUnsaved = std::exchange(isUnsaved_, !isSaved);
  if (isUnsaved_ && !wasUnsaved) Warn(SettingsNotSavedText());
}

// The module only logs why its list is empty; a mistyped path should not have to be looked up
// there.
bool FacadeThread::CheckCommands() {
  const SvcKivSpace::MorviCmdList* const list = SvcKiv::GetMorviCmdList();
  if (list == nullptr || !list->Commands().IsEmpty()) return true;
  QCList<CmdInfo> none;
  CCmdDatabase catalogue;
  const std::uint32_t status = catalogue.EnumCommands(none, 3, 256, 0, 0);
  Warn(NoCommandsText(ShownLine(catalogue.GetPath().view()), status));
  return false;
}

void FacadeThread::Run(std::uint64_t number, std::wstring line, bool isKept) {
  QMetaObject::invokeMethod(
      context_, [this, number, line = std::move(line), isKept] { RunHere(number, line, isKept); },
      Qt::QueuedConnection);
}

std::uint32_t FacadeThread::CmdId(std::wstring_view name) {
  const SvcKivSpace::MorviCmdList* const list = SvcKiv::GetMorviCmdList();
  const CmdInfo* const command = list != nullptr ? list->Find(name) : nullptr;
  return command != nullptr ? command->GetId() : 0;
}

// A device generation without indications has none of them shown, whatever the settings say.
void FacadeThread::TellWatchOfIndications() {
  watch_->SetShowsIndications(settings_ && settings_->ShowsIndications() &&
                              GetIniUint32(L"plc", L"VER", 0) != 0);
}

void FacadeThread::RunHere(std::uint64_t number, const std::wstring& line, bool isKept) {
  if (isKept) KeepLine(line);
  const std::wstring_view word = WordOf(line);
  ViewEvent event;
  event.kind = ViewEvent::Kind::kReply;
  event.isHelp = word == L"help" || word == L"?";
  event.isLoad = IsLoadWord(word);
  event.isCommand = event.isHelp || event.isLoad || CmdId(word) != 0;
  if (event.isLoad) watch_->BeginLoad(CmdId(kLoadWord));
  RunThrough(number, line, event);
  queue_.Push(std::move(event));
}

bool FacadeThread::AskDevice(const std::wstring& name, ViewEvent& answer) {
  const std::uint32_t cmdId = CmdId(name);
  if (cmdId == 0) return false;
  watch_->BeginQuestion(cmdId);
  RunThrough(answer.line, name, answer);
  return true;
}

void FacadeThread::RunThrough(std::uint64_t number, const std::wstring& line, ViewEvent& event) {
  QCString reply(kSentinel);
  hasSpoken_ = hasFailed_ = false;
  event.arrivedAt = std::chrono::system_clock::now();
  watch_->BeginLine(number);
  SvcKiv::GetDiagCmdResponse(line.c_str(), reply);
  watch_->EndLine(event);
  // The module refuses a line by the connect status that it last got, which may lag the link.
  if (!isConnected_) event.linkDown = true;
  event.takenByChannel = reply == kSentinel;
  event.channelSpoke = hasSpoken_;
  event.channelFailed = hasFailed_;
  if (!event.takenByChannel) event.text = ShownText(reply.view());
  if (event.posts > 0) event.shown = ShownKind::kRequest;
}

void FacadeThread::Ask(std::uint64_t number, Question question) {
  QMetaObject::invokeMethod(
      context_,
      [this, number, question = std::move(question)] {
        ViewEvent event;
        event.kind = ViewEvent::Kind::kReply;
        event.line = number;
        question(*this, event);
        queue_.Push(std::move(event));
      },
      Qt::QueuedConnection);
}

bool FacadeThread::ReloadCatalogue() {
  SvcKiv::ReloadDb();
  watch_->OnReload();
  if (settings_) ApplySettings();
  return CheckCommands();
}

void FacadeThread::SetConnected(bool connected) {
  QMetaObject::invokeMethod(
      context_,
      [this, connected] {
        isConnected_ = connected;
        SvcKiv::SetUEConnectStatus(connected ? 1 : 0);
      },
      Qt::QueuedConnection);
}

void FacadeThread::OnMessage(SvcKivMsgType kind, void* payload) {
  const bool isHere = QThread::currentThread() == &thread_;
  if (isHere && kind == SvcKivSpace::kTestCase) {
    hasSpoken_ = true;
    const auto* const text = static_cast<const wchar_t*>(payload);
    if (text != nullptr && std::wcsncmp(text, L"***", 3) == 0) hasFailed_ = true;
  }
  const bool isPiece =
      kind == SvcKivSpace::kAt || kind == SvcKivSpace::kText || kind == SvcKivSpace::kShell;
  if (payload == nullptr && !isPiece) {
    if (kind == SvcKivSpace::kReply && !isHere) watch_->RecordOfText("");
    return;
  }
  ViewEvent event;
  switch (kind) {
    case SvcKivSpace::kNotice:
      event.kind = ViewEvent::Kind::kWarning;
      event.text = SettingsNoticeText(ShownLine(static_cast<QCString*>(payload)->view()));
      break;
    case SvcKivSpace::kReply:
      event.text = ShownText(static_cast<const wchar_t*>(payload));
      if (!isHere && !Attribute(event)) return;
      break;
    case SvcKivSpace::kTestCase:
      event.text = ShownText(static_cast<const wchar_t*>(payload));
      event.shown = ShownKind::kTestCase;
      PoolFree(payload);
      break;
    case SvcKivSpace::kAt:
    case SvcKivSpace::kText:
    case SvcKivSpace::kShell:
      event = PieceOf(kind, static_cast<char*>(payload));
      if (event.text.empty() && !event.endsText) return;
      break;
  }
  event.arrivedAt = std::chrono::system_clock::now();
  // The replies of lines do not come this way: from here the module only tells how a load failed.
  const bool isLoadFailure = isHere && kind == SvcKivSpace::kReply;
  if (isHere) {
    queue_.Push(std::move(event));
    if (isLoadFailure) watch_->OnLoadFailure();
  } else {
    queue_.PushWaiting(std::move(event));
  }
}

bool FacadeThread::Attribute(ViewEvent& event) {
  const LinkWatch::ShownRecord record = watch_->RecordOfText(event.text);
  event.shown = record.isIndication ? ShownKind::kIndication : ShownKind::kConfirmation;
  event.cmdId = record.cmdId;
  return !record.isHidden;
}

ViewEvent FacadeThread::PieceOf(SvcKivMsgType kind, char* payload) {
  ViewEvent event;
  if (payload != nullptr) event.text = payload;
  PoolFree(payload);
  event.channel = kind == SvcKivSpace::kAt      ? Channel::kAt
                  : kind == SvcKivSpace::kShell ? Channel::kShell
                                                : watch_->ChannelOfText(event.text);
  event.shown = KindOfChannel(event.channel);
  // A controller's text is whole; a shell's ends with an empty one.
  event.endsText = event.channel == Channel::kController ||
                   (event.channel == Channel::kShell && event.text.empty());
  return event;
}

bool FacadeThread::Stop(std::uint32_t timeoutMs) {
  if (!thread_.isRunning()) return true;
  QMetaObject::invokeMethod(
      context_,
      [this] {
        isSaving_ = true;
        if (settings_) isUnsaved_ = !settings_->SaveAll();
        settings_.reset();
        SvcKiv::Stop();
        devlink::SetLinkObserver(nullptr);
        thread_.quit();
      },
      Qt::QueuedConnection);
  return thread_.wait(timeoutMs) || (isSaving_ && thread_.wait(kSaveTimeoutMs));
}

}  // namespace kiv
