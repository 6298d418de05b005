// What the link client needs of the command controller, handed in from above: the chain of reply
// handlers, the text hook, and an ear for confirmations.
//
// Threads: called on the link's receive thread.
#pragma once

#include <cstdint>

#include "link/render/render.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// Implemented by the command controller; the link knows no more of it.
class ReplyHandlers {
 public:
  virtual ~ReplyHandlers() = default;
  // Every confirmation of a batch, before any of its packets is offered or shown: what waits for
  // one does not depend on who takes the packet, or on whether it can be shown. The id is the one
  // after unwrapping.
  virtual void NoticeConfirmation(std::uint32_t /*cmdId*/, std::uint16_t /*tag*/,
                                  std::uint32_t /*resultCode*/) noexcept {}
  // 0 when a handler took the packet: it is not shown. The id is the one before unwrapping.
  virtual std::int32_t OfferReply(std::uint32_t cmdId, std::uint32_t resultCode,
                                  const std::uint8_t* body, std::uint32_t bodyLengthBytes,
                                  const ReplyDescriptor& reply) = 0;
  // Whether HookText has anything to do with texts. Where it has not it is not called, and a text
  // is rendered straight into the block that goes to the view.
  virtual bool HooksTexts() const { return true; }
  // May rewrite or clear the text; `kind` is 0 for an indication, 1 for a confirmation.
  virtual void HookText(std::uint32_t kind, QCString& text, std::uint32_t cmdId) = 0;
};

}  // namespace SvcKivClass
