#include "channels/kiv_hci.h"

#include "channels/channel_texts.h"
#include "channels/packet_class.h"
#include "platform/base/version_query.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr std::uint32_t kHeadBytes = 6;
constexpr std::uint8_t kFirstByte = 0x10;
// What the length field counts beside the text.
constexpr std::uint32_t kCountedBytes = 9;

void FillHead(std::uint8_t* head, std::uint32_t textBytes) {
  const std::uint32_t counted = textBytes + kCountedBytes;
  head[0] = kFirstByte;
  head[2] = static_cast<std::uint8_t>(counted);
  head[3] = static_cast<std::uint8_t>(counted >> 8);
}

}  // namespace

std::int32_t KivHci::HandleCommand(const wchar_t* word, const wchar_t* rest) {
  QCString line(word);
  if (rest != nullptr && *rest != L'\0') line = line + L" " + rest;
  SaveToOutputFile(line.c_str());
  if (CVersion::GetVersion() != kHciVariant) return kChannelNotMine;
  if (!IsUeConnected()) return SaveLineToOutputFile(Translated(texts::kShellNotConnected).c_str());
  return ParsePstReq(line);
}

std::int32_t KivHci::ParsePstReq(const QCString& line) const {
  const PostHciDataFn post = Services().postHciData;
  return SendInChunks(line, {.traceName = L"ParsePstReq",
                             .headBytes = kHeadBytes,
                             .tailBytes = 0,
                             .fillHead = &FillHead,
                             .post = [=](const std::uint8_t* packet, std::uint32_t lengthBytes) {
                               return post != nullptr && post(kHciId, packet, lengthBytes) == 0;
                             }});
}

std::int32_t KivHci::HandleResponse(std::uint32_t cmdId, const void* /*ignored*/,
                                    const std::uint8_t* data, std::uint32_t lengthBytes) {
  return cmdId == kHciId ? ShowPayload(data, lengthBytes) : AnswerOther();
}

}  // namespace SvcKivClass
