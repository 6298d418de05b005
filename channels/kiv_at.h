// KivAt: AT commands.
//
//   packet       bytes 0-3 length n of the text, little-endian; from 4 on the text
//   id           request and answer by the packet class (packet_class.h)
//   view         message kind 2
//
// A line is an AT line when "at+" or "at^" stands anywhere in it, in any case, or when it is
// exactly "at". It goes out with "\r\n" behind it; as typed, but all in lower case when it has a
// delay option: devices and scripts rely on that difference.
//
// Threads, errors: as the frame's.
#pragma once

#include "channels/text_channel.h"

namespace SvcKivClass {

// The frame, and what is told above.
class KivAt : public TextChannel {
 public:
  KivAt() : TextChannel(L"KivAt") {}
  // Looks at the word only: the controller keeps an AT line whole.
  std::int32_t HandleCommand(const wchar_t* word, const wchar_t* rest) override;
  // Swallows the echo of its own request.
  std::int32_t HandleResponse(std::uint32_t cmdId, const void* ignored, const std::uint8_t* data,
                              std::uint32_t lengthBytes) override;
  // Sends the command in chunks. 0, or -1 without memory.
  std::int32_t ParsePstReq(const QCString& command, std::uint32_t delay) const;

 protected:
  SvcKivSpace::SvcKivMsgType ViewKind() const override { return SvcKivSpace::kAt; }
};

}  // namespace SvcKivClass
