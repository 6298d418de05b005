#include "hosts/terminal/round_texts.h"

namespace kiv {

void RoundTexts::Reply(const ViewEvent& reply) {
  isOfChannel_ = reply.takenByChannel;
  if (reply.posts == 0) text_ += flow_.Whole(reply.text);
}

bool RoundTexts::Take(const ViewEvent& event) {
  if (event.channel == Channel::kNone) {
    const bool isOurs = event.shown == ShownKind::kConfirmation ||
                        (isOfChannel_ && event.shown == ShownKind::kTestCase);
    if (isOurs) text_ += flow_.Whole(event.text);
    return isOurs;
  }
  if (!isOfChannel_) return false;
  text_ += flow_.Piece(event.channel, event.text);
  if (event.endsText) text_ += flow_.End(event.channel);
  return true;
}

std::string RoundTexts::Text() {
  text_ += flow_.EndAll();
  return text_;
}

}  // namespace kiv
