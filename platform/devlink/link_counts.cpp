#include "platform/devlink/link_counts.h"

#include "platform/devlink/link_observer.h"

namespace devlink {

LinkCounts& Counts() noexcept {
  static LinkCounts counts;
  return counts;
}

LinkCounters GetLinkCounters() {
  const LinkCounts& now = Counts();
  const auto value = [](const LinkCounts::Count& count) {
    return count.load(std::memory_order_relaxed);
  };
  LinkCounters counters;
  counters.framesIn = value(now.framesIn);
  counters.framesOut = value(now.framesOut);
  counters.bytesIn = value(now.bytesIn);
  counters.bytesOut = value(now.bytesOut);
  counters.messagesIn = value(now.messagesIn);
  counters.messagesOut = value(now.messagesOut);
  counters.badFrames = value(now.badFrames);
  counters.badMessages = value(now.badMessages);
  counters.sequenceGaps = value(now.sequenceGaps);
  counters.repeatedFrames = value(now.repeatedFrames);
  counters.abandonedMessages = value(now.abandonedMessages);
  counters.deviceDropped = value(now.deviceDropped);
  counters.testAnswers = value(now.testAnswers);
  counters.attempts = value(now.attempts);
  counters.connects = value(now.connects);
  counters.disconnects = value(now.disconnects);
  return counters;
}

}  // namespace devlink
