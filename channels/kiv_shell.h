// KivShell: commands for the device's shell.
//
//   request path   the packet of AT with the shell's ids; the rest of a line whose word begins with
//                  "sh" in any case, without a line end
//   raw path       product 38: every line, whole, with "\r\n", as plain text in one piece, whether
//                  a device is connected or not
//   view           message kind 4; 5 on product 38
//
// Threads, errors: as the frame's.
#pragma once

#include "channels/text_channel.h"

namespace SvcKivClass {

// The frame, and what is told above.
class KivShell : public TextChannel {
 public:
  KivShell() : TextChannel(L"KivShell") {}
  std::int32_t HandleCommand(const wchar_t* word, const wchar_t* rest) override;
  // Swallows the echo of its own request.
  std::int32_t HandleResponse(std::uint32_t cmdId, const void* ignored, const std::uint8_t* data,
                              std::uint32_t lengthBytes) override;
  // Sends the text in chunks. 0, or -1 without memory.
  std::int32_t ParsePstReq(const QCString& text, std::uint32_t delay) const;
  // Sends the line and "\r\n" raw. 0, or -1 without memory.
  std::int32_t ParsePstRawData(const QCString& line) const;

 protected:
  SvcKivSpace::SvcKivMsgType ViewKind() const override;

 private:
  // The request path of HandleCommand.
  std::int32_t RunRequest(const QCString& word, QCString rest, std::uint32_t delay) const;
};

}  // namespace SvcKivClass
