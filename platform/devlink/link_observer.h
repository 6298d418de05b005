// What a host sees of the device link beside the module: its state, its frames, its counters.
//
// Threads: OnState, OnNotice, received messages, OnHandingOver and OnHandedOver come on the link's
// thread; posted messages come on the posting thread, before their bytes are written, so a
// confirmation is never seen before its post; they hold other posts back until OnMessage returns,
// so it must not post. A call-back must not wait for the thread that calls StopConnect or Shutdown.
// Received messages come before the batch that has them goes to ReceiveCmd. Owns: pointers live for
// the duration of the call. One observer at a time, set before StartConnect and cleared after
// Shutdown; null switches off.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/devlink/link_client.h"
#include "platform/platform_export.h"

namespace devlink {

enum class LinkState { kDisconnected, kConnecting, kConnected };

// The device's greeting, as far as it was read.
struct PeerInfo {
  std::string agentName;
  std::uint32_t protocolVersion = 0;
  std::uint32_t variant = 0;
  std::uint32_t product = 0;
  std::uint64_t catalogueFingerprint = 0;
  std::uint32_t abilities = 0;
  bool fingerprintDiffers = false;  // from the catalogue this process works with
};

// The link's new state, and what there is to say about it.
struct StateChange {
  LinkState state;
  const PeerInfo* peer;  // with kConnected, else null
  const char* reason;    // why not connected, one line in UTF-8; empty when there is nothing to say
};

// The wire's message kinds (docs/wire-format.md).
enum class MessageKind : std::uint8_t {
  kHello = 1,
  kRequest = 2,
  kCnf = 3,
  kInd = 4,
  kSdtFrame = 5,
  kRawText = 6,
  kKeepAlive = 7,
};

enum class Direction { kToDevice, kFromDevice };

// One whole message (fragments joined) with its head.
struct TapMessage {
  Direction direction;
  MessageKind kind;
  std::uint32_t cmdId;
  std::uint16_t tag;
  std::uint16_t word16;
  std::uint32_t word;
  std::uint32_t resultCode;
  std::uint32_t sequence;
  const std::uint8_t* body;
  std::size_t bodyLengthBytes;
  std::uint64_t timeNs;  // CLOCK_REALTIME
  // From the device: when the read ended that brought the message's first frame. Else unset.
  std::chrono::steady_clock::time_point readAt = {};
};

// Implemented by a host; see the head of this file for the threads.
class LinkObserver {
 public:
  virtual ~LinkObserver() = default;
  // With each change. Attempts to connect that fail for the reason told before are not told again.
  virtual void OnState(const StateChange& change) = 0;
  // A line that the child process wrote to its standard error, or a notice of the link itself (a
  // gap in the sequence, a dropped frame burst), UTF-8 without line end, control characters as they
  // came.
  virtual void OnNotice(const char* line, std::size_t lengthBytes) = 0;
  virtual void OnMessage(const TapMessage& message) = 0;
  // A post could not be written, or was refused because there is no session (then OnMessage did
  // not announce it); `status` is what the caller of the post gets. On the posting thread, like the
  // announcement.
  virtual void OnPostFailed(std::uint16_t tag, std::uint32_t cmdId, std::uint32_t status) = 0;
  // ReceiveCmd is about to be called with this batch; `records` stay until OnHandedOver.
  virtual void OnHandingOver(const ReceivedPacket* /*records*/, std::uint32_t /*count*/) {}
  // ReceiveCmd returned for this batch: whatever it had to show has been shown.
  virtual void OnHandedOver(const ReceivedPacket* records, std::uint32_t count) = 0;
};

KIVPLATFORM_API void SetLinkObserver(LinkObserver* observer);

// A copy of the counters at one moment.
struct LinkCounters {
  std::uint64_t framesIn, framesOut, bytesIn, bytesOut;
  std::uint64_t messagesIn, messagesOut;
  std::uint64_t badFrames;          // wrong FCS, too short, too long, bad escape
  std::uint64_t badMessages;        // sound frames whose content is not a message
  std::uint64_t sequenceGaps;       // frames missing by their sequence numbers
  std::uint64_t repeatedFrames;     // frames that had come before; dropped
  std::uint64_t abandonedMessages;  // messages of several frames that never became whole
  std::uint64_t deviceDropped;      // indications that the device says it dropped
  std::uint64_t testAnswers;        // of the device adapter's test exchange, in time
  std::uint64_t attempts;           // to open the endpoint
  std::uint64_t connects, disconnects;
};

// Of all clients of the process, since it started.
KIVPLATFORM_API LinkCounters GetLinkCounters();

}  // namespace devlink
