// The text channels of the module, in the order in which lines and packets are offered to them:
// test-case, AT, shell, HCI. A new channel gets its row here.
#pragma once

#include <vector>

#include "channels/channel_service_table.h"

namespace SvcKivClass {

std::vector<ChannelEntries> BuiltInChannels();

}  // namespace SvcKivClass
