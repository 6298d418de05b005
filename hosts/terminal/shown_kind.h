// ShownKind: what a shown text is, from the moment the module hands it over to the moment it is
// drawn, so that kinds can be told apart on a terminal and filtered by the user.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hosts/terminal/channel_answer.h"

namespace kiv {

enum class ShownKind : std::uint8_t {
  kReply,         // the module's answer to a typed line that sent nothing
  kRequest,       // the input parameters of a line that was sent
  kConfirmation,  // the device's answer to a command
  kIndication,    // what the device says without being asked
  kAt,            // texts of the channels
  kShell,
  kController,
  kTestCase,
  kAnswer,  // of a word of the console's own
  kNotice,  // of the console or the link, on standard error
};
inline constexpr std::size_t kShownKindCount = 10;

// Whether it is text that a channel carries.
constexpr bool IsChannelText(ShownKind kind) {
  return kind >= ShownKind::kAt && kind <= ShownKind::kTestCase;
}
// Whether the device says it by itself, so that a user may want to see less of it.
constexpr bool IsFiltered(ShownKind kind) {
  return kind == ShownKind::kIndication || IsChannelText(kind);
}

constexpr ShownKind KindOfChannel(Channel channel) {
  switch (channel) {
    case Channel::kAt:
      return ShownKind::kAt;
    case Channel::kShell:
    case Channel::kRawShell:
      return ShownKind::kShell;
    case Channel::kController:
      return ShownKind::kController;
    case Channel::kTestCase:
      return ShownKind::kTestCase;
    case Channel::kNone:
      break;
  }
  return ShownKind::kReply;
}

}  // namespace kiv
