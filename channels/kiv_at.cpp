#include "channels/kiv_at.h"

#include "channels/channel_text.h"
#include "channels/channel_texts.h"
#include "channels/packet_class.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

// `line` is in lower case.
bool IsAtLine(const QCString& line) {
  return line.Find(L"at+") != QCString::npos || line.Find(L"at^") != QCString::npos ||
         line == L"at";
}

}  // namespace

std::int32_t KivAt::HandleCommand(const wchar_t* word, const wchar_t* /*rest*/) {
  QCString command(word);
  QCString line = command.ToLower();
  const std::uint32_t delay = GetDelayOption(line);
  if (delay != 0) command = line = CutAtDelay(line);
  SaveToOutputFile((line + command).c_str());
  if (!IsAtLine(line)) return kChannelNotMine;
  command.Trim(L' ');
  if (command.IsEmpty()) return SaveLineToOutputFile(Translated(texts::kNoInput).c_str());
  if (!IsUeConnected()) return SaveLineToOutputFile(Translated(texts::kAtNotConnected).c_str());
  return ParsePstReq(command + L"\r\n", delay);
}

std::int32_t KivAt::ParsePstReq(const QCString& command, std::uint32_t delay) const {
  return SendRequest(&DIAG_CMD_ID_CONVERT_PACKET_ENCAPSULATION_CLASS::atRequest, command, delay);
}

std::int32_t KivAt::HandleResponse(std::uint32_t cmdId, const void* /*ignored*/,
                                   const std::uint8_t* data, std::uint32_t lengthBytes) {
  const auto ids = CurrentPacketClass();
  if (cmdId == ids.atRequest) return kChannelTaken;
  if (cmdId == ids.atAnswer) return ShowPayload(data, lengthBytes);
  return AnswerOther();
}

}  // namespace SvcKivClass
