#include "channels/kiv_shell.h"

#include "channels/channel_text.h"
#include "channels/channel_texts.h"
#include "channels/packet_class.h"
#include "platform/base/version_query.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr wchar_t kWordStart[] = L"sh";  // so "shell" and "show" are shell lines too

bool IsRawProduct() { return CProductVersion::GetVersion() == kRawShellProduct; }

}  // namespace

SvcKivSpace::SvcKivMsgType KivShell::ViewKind() const {
  return IsRawProduct() ? SvcKivSpace::kShell : SvcKivSpace::kText;
}

std::int32_t KivShell::HandleCommand(const wchar_t* word, const wchar_t* rest) {
  QCString line(word);
  QCString kept(rest);
  const std::uint32_t delay = GetDelayOption(kept);
  if (delay != 0) kept = CutAtDelay(kept);
  SaveToOutputFile((line + kept).c_str());
  if (!IsRawProduct()) return RunRequest(line, kept, delay);
  if (!kept.IsEmpty()) line = line + L" " + kept;
  return ParsePstRawData(line);
}

std::int32_t KivShell::RunRequest(const QCString& word, QCString rest, std::uint32_t delay) const {
  if (!word.ToLower().StartsWith(kWordStart)) return kChannelNotMine;
  rest.Trim(L' ');
  if (rest.IsEmpty()) return SaveLineToOutputFile(Translated(texts::kNoInput).c_str());
  if (!IsUeConnected()) return SaveLineToOutputFile(Translated(texts::kShellNotConnected).c_str());
  return ParsePstReq(rest, delay);
}

std::int32_t KivShell::ParsePstReq(const QCString& text, std::uint32_t delay) const {
  return SendRequest(&DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS::shellRequest, text, delay);
}

std::int32_t KivShell::ParsePstRawData(const QCString& line) const {
  const PostRawTextFn post = Services().postRawText;
  return SendChunk(line + L"\r\n",
                   {.traceName = L"ParsePstRawData",
                    .headBytes = 0,
                    .tailBytes = 1,
                    .fillHead = nullptr,
                    .post = [=](const std::uint8_t* packet, std::uint32_t lengthBytes) {
                      return post != nullptr && post(packet, lengthBytes) == 0;
                    }});
}

std::int32_t KivShell::HandleResponse(std::uint32_t cmdId, const void* /*ignored*/,
                                      const std::uint8_t* data, std::uint32_t lengthBytes) {
  const auto ids = CurrentPacketClass();
  if (cmdId == ids.shellRequest) return kChannelTaken;
  if (cmdId == ids.shellAnswer) return ShowPayload(data, lengthBytes);
  return AnswerOther();
}

}  // namespace SvcKivClass
