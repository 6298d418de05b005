// The load line of CmdCtrl: a file to the device, chunk by chunk, each confirmation sending the
// next.
#include <QCoreApplication>
#include <QEvent>
#include <QThread>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "command/cmd_ctrl.h"
#include "command/command_texts.h"
#include "command/packet/diag_packet.h"
#include "command/shared_constants.h"
#include "platform/base/result_codes.h"
#include "platform/base/sys_log_file.h"
#include "platform/os/paths.h"
#include "platform/text/qt_text.h"
#include "service/message/debug_trace.h"
#include "service/message/failure_log.h"
#include "service/message/view_sender.h"
#include "settings/svc_kiv_config_impl.h"

using namespace SvcKivClass;  // NOLINT(google-build-using-namespace): the class itself is global

namespace {

constexpr std::int32_t kNoStatus = -1;  // log lines whose failure has no status of its own

constexpr wchar_t kOpeningFunction[] = L"CmdCtrl::InterpretLoadFlashCmdParam()";
constexpr wchar_t kChunkFunction[] = L"CmdCtrl::ProcessLoadToFlashCmd()";

// So many chunks are sent before the host's events have their turn again.
constexpr int kChunksAtOnce = 16;

// Wakes this object's thread. Nothing stands in the event, and nobody looks at it: what it is about
// is in the atomics that both threads reach.
constexpr auto kWake = static_cast<QEvent::Type>(QEvent::User + 1);

// Index, count and bytes are the first three fields. A last chunk that is shorter than its field
// leaves zeros behind it.
bool StoreChunk(CParamNode& tree, const FlashLoad& load, std::uint16_t index,
                std::uint32_t lengthBytes) {
  CParamNode* const indexNode = tree.GetFirstChild();
  CParamNode* const countNode = indexNode != nullptr ? indexNode->GetNextNeighbor() : nullptr;
  CParamNode* const dataNode = countNode != nullptr ? countNode->GetNextNeighbor() : nullptr;
  return dataNode != nullptr && lengthBytes <= FlashLoad::kChunkBytes &&
         indexNode->SetValue(index) == result::kOk &&
         countNode->SetValue(load.Count()) == result::kOk &&
         dataNode->SetValueBuf(load.Chunk(), lengthBytes) == result::kOk;
}

QCString NoLoadCommandText(std::uint32_t cmdId, std::uint32_t status) {
  return FromQString(
      QObject::tr(kNoLoadCommandText).arg(QString::number(cmdId, 16), QString::number(status)));
}

}  // namespace

void CmdCtrl::RunLoadLine() try {
  Trace(L"[CmdCtrl::GetDiagCmdResponse]is load flash cmd");
  if (InterpretLoadFlashCmdParam() != 0) {
    ProcessLoadToFlashCmd(load_.Index());
  } else {
    LogFailure(ueId_, L"CmdCtrl::GetDiagCmdResponse()", kNoStatus,
               L"InterpretLoadFlashCmdParam Error!");
  }
} catch (...) {
  // An open file whose chunk was never sent would be taken for a load by the next line.
  EndLoad();
  throw;
}

std::int32_t CmdCtrl::InterpretLoadFlashCmdParam() {
  const QCString& path = line_.rest;
  if (path.IsEmpty()) {
    response_ += Translated(kNoLoadPathText);
    return 0;
  }
  if (PathFileExistsW(path.c_str()) == 0) {
    response_ += Translated(kNoLoadFileText);
    return 0;
  }
  // Whatever the path: the chunk that waits for its confirmation is sent again.
  return load_.IsOpen() || OpenLoad(path) ? 1 : 0;
}

bool CmdCtrl::OpenLoad(const QCString& path) {
  // A link that was lost and came back before now is no loss of this load. Where it is still lost
  // the chunk is refused.
  linkWasLost_.exchange(false, std::memory_order_acq_rel);
  switch (load_.Open(path, MaxLoadBytes())) {
    case LoadOpening::kOpen:
      return true;
    case LoadOpening::kNotOpened:
      response_ += Translated(kLoadNotOpenedText);
      return false;
    case LoadOpening::kRefused:
      break;
  }
  // Also when only the size could not be read: those who read the log tell the two by the error.
  LogFailure(ueId_, kOpeningFunction, static_cast<std::int32_t>(load_.Error()),
             L"Get File Size Error!");
  response_ += Translated(kLoadTooLargeText);
  return false;
}

// Asked at each opening: the settings may be edited meanwhile.
std::uint32_t CmdCtrl::MaxLoadBytes() const {
  return context_.settings != nullptr ? context_.settings->NvLoadFileMaxSizeBytes() : 0;
}

// 0, which no catalogue has, when there is no such command. The word may have been typed in
// capitals.
std::uint32_t CmdCtrl::LoadCmdId() const {
  const CmdInfo* const command = commands_.Find(kLoadWord);
  return command != nullptr ? command->GetId() : 0;
}

void CmdCtrl::ProcessLoadToFlashCmd(std::uint16_t index) {
  loadFailure_.Empty();
  const ChunkReading reading = load_.Read(index);
  if (reading != ChunkReading::kRead) {
    awaited_.Forget();
    if (load_.HasChanged()) response_ += Translated(kLoadFileChangedText);
  }
  switch (reading) {
    case ChunkReading::kRead:
      break;
    case ChunkReading::kNotPositioned:
      return NoteLoadFailure(kChunkFunction, kNoStatus, L"SetFilePointer Error!");
    case ChunkReading::kNotRead:
      return NoteLoadFailure(kChunkFunction, static_cast<std::int32_t>(load_.Error()),
                             L"ReadFile Error!");
    case ChunkReading::kChanged:
      return NoteLoadFailure(kChunkFunction, kNoStatus, L"File Changed!");
  }
  if (DispatchLoadFlashCmd(index, load_.LengthBytesOf(index)) != 0) return;
  EndLoad();
  NoteLoadFailure(kChunkFunction, kNoStatus, L"DispatchLoadFlashCmd Error!");
}

std::int32_t CmdCtrl::DispatchLoadFlashCmd(std::uint16_t index, std::uint32_t lengthBytes) {
  if (!context_.switches->IsUeConnected()) {
    response_ += Translated(kNotConnectedText);
    return 0;
  }
  const std::uint32_t cmdId = LoadCmdId();
  DiagPacket packet(cmdId, database_.GetPath());
  const std::uint32_t status = packet.QueryDefaults();
  if (status != result::kOk) {
    // In place of the packet's own text, which speaks of typed parameters.
    response_ += NoLoadCommandText(cmdId, status);
    return 0;
  }
  if (!StoreChunk(packet.Tree(), load_, index, lengthBytes)) return 0;
  awaited_.Await(cmdId, NextSequenceNumber(), looksOut_);
  // Kept open, it would be taken for a load by the next line, whatever file that names.
  if (!DispatchMyCommand(packet)) EndLoad();
  return 1;
}

void CmdCtrl::EndLoad() noexcept {
  awaited_.Forget();
  load_.Close();
}

void CmdCtrl::EndLoadOfLostLink() noexcept try {
  if (QThread::currentThread() != thread()) {
    linkWasLost_.store(true, std::memory_order_release);
    QCoreApplication::postEvent(this, new QEvent(kWake));
    return;
  }
  if (!load_.IsOpen()) return;
  EndLoad();
  TellLoadFailure(Translated(kLoadLinkLostText));
} catch (const std::bad_alloc&) {
  // The file is closed; there is no memory to say so.
}

void CmdCtrl::NoticeConfirmation(std::uint32_t cmdId, std::uint16_t tag,
                                 std::uint32_t resultCode) noexcept try {
  if (awaited_.NoteWatched(cmdId, tag, resultCode) || !awaited_.IsAwaited(cmdId, tag)) return;
  auto wake = std::make_unique<QEvent>(kWake);
  if (awaited_.Note(cmdId, tag, resultCode)) QCoreApplication::postEvent(this, wake.release());
} catch (const std::bad_alloc&) {
  // As if it had been lost on the way: the line, typed again, sends the chunk again.
}

void CmdCtrl::customEvent(QEvent* /*event*/) try {
  if (linkWasLost_.exchange(false, std::memory_order_acq_rel)) EndLoadOfLostLink();
  for (int sent = 1; ContinueLoad(sent < kChunksAtOnce) && awaited_.ComesSoon(); ++sent) {
    if (linkWasLost_) return;  // an event of its own is on the way
  }
} catch (const std::bad_alloc&) {
  EndLoad();
  wchar_t text[] = L"\n*** Not enough memory!\n";
  SendBorrowed(SvcKivSpace::kReply, text);
}

bool CmdCtrl::ContinueLoad(bool looksOut) {
  const std::optional<ConfirmedPost> confirmed = awaited_.Take();
  if (!confirmed || !load_.IsOpen()) return false;
  if (confirmed->resultCode != result::kOk || load_.IsAtLastChunk()) {
    EndLoad();
    return false;
  }
  load_.Advance();
  // The reply of a line that a view's own event loop interrupts stays that line's.
  QCString text;
  std::swap(text, response_);
  looksOut_ = looksOut;
  try {
    ProcessLoadToFlashCmd(load_.Index());
  } catch (...) {
    looksOut_ = false;
    std::swap(text, response_);
    throw;
  }
  looksOut_ = false;
  std::swap(text, response_);
  if (text.IsEmpty() && loadFailure_.IsEmpty()) return true;
  TellLoadFailure(text);
  return false;
}

void CmdCtrl::NoteLoadFailure(const wchar_t* function, std::int32_t err, const wchar_t* what) {
  LogFailure(ueId_, function, err, what);
  loadFailure_ = FailureLine(ueId_, function, err, what);
}

void CmdCtrl::TellLoadFailure(const QCString& text) {
  if (!text.IsEmpty()) CSysLogFile::Write(text);
  std::wstring shown = L"\n" + (text.IsEmpty() ? loadFailure_ : text).str();
  SendBorrowed(SvcKivSpace::kReply, shown.data());
}
