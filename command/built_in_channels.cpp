#include "command/built_in_channels.h"

namespace SvcKivClass {

std::vector<ChannelEntries> BuiltInChannels() { return {}; }

}  // namespace SvcKivClass
