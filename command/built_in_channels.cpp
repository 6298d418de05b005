#include "command/built_in_channels.h"

#include "channels/kiv_at.h"
#include "channels/kiv_hci.h"
#include "channels/kiv_shell.h"
#include "cts/kiv_cts.h"

namespace SvcKivClass {

std::vector<ChannelEntries> BuiltInChannels() {
  return {EntriesOf<KivCts>(), EntriesOf<KivAt>(), EntriesOf<KivShell>(), EntriesOf<KivHci>()};
}

}  // namespace SvcKivClass
