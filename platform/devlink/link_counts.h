// The counters behind GetLinkCounters, raised by whichever thread sends or receives.
//
// Threads: any; each number is exact, a snapshot of several is not one moment.
#pragma once

#include <atomic>
#include <cstdint>

namespace devlink {

// The counters while they are being raised.
struct LinkCounts {
  using Count = std::atomic<std::uint64_t>;
  Count framesIn{0}, framesOut{0}, bytesIn{0}, bytesOut{0}, messagesIn{0}, messagesOut{0};
  Count badFrames{0}, badMessages{0}, sequenceGaps{0}, repeatedFrames{0}, abandonedMessages{0};
  Count deviceDropped{0}, testAnswers{0}, attempts{0}, connects{0}, disconnects{0};
};

LinkCounts& Counts() noexcept;

inline void Raise(LinkCounts::Count& count, std::uint64_t by = 1) noexcept {
  count.fetch_add(by, std::memory_order_relaxed);
}

}  // namespace devlink
