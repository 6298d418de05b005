// KivHci: HCI commands, typed as text.
//
//   packet       0x10, 0, n + 9 in 16 bits little-endian, 0, 0, then the n bytes of text
//   id           0x7E0C, requests and answers, whatever the variant
//   view         message kind 4
//
// Active on protocol variant 246 only, where it takes every line, without a look at its word;
// answers are shown everywhere. The length field counts 3 bytes more than the packet has: devices
// expect it so.
//
// Threads, errors: as the frame's.
#pragma once

#include "channels/text_channel.h"

namespace SvcKivClass {

// The frame, and what is told above.
class KivHci : public TextChannel {
 public:
  KivHci() : TextChannel(L"KivHci") {}
  std::int32_t HandleCommand(const wchar_t* word, const wchar_t* rest) override;
  std::int32_t HandleResponse(std::uint32_t cmdId, const void* ignored, const std::uint8_t* data,
                              std::uint32_t lengthBytes) override;
  // Sends the line in chunks. 0, or -1 without memory.
  std::int32_t ParsePstReq(const QCString& line) const;

 protected:
  SvcKivSpace::SvcKivMsgType ViewKind() const override { return SvcKivSpace::kText; }
};

}  // namespace SvcKivClass
