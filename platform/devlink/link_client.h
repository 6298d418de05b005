// CLinkClient and CLinkClientDiagCmd: a client of the device link.
//
// The endpoint comes from the bench setup. StartConnect starts the link's one thread and returns at
// once; "connected" means that both greetings are done. A link that is lost comes back by itself,
// with a pause that grows from 0.1 s to 5 s.
//
// Threads: every operation may be called from any thread. ReceiveCmd runs on the link's thread. A
// post writes to the endpoint on the caller's thread, one writer at a time; one that cannot be
// written within 2 seconds (of several frames: each of them) drops the link and answers 3207. After
// StopConnect and Shutdown both returned no call-back runs any more; the derived class calls them
// before it is destroyed. Owns: every posted buffer is copied or written before the call returns;
// the caller frees its own always. Errors: statuses of result_codes.h; 3207 when the link is not
// connected, 22 for a message beyond 64 MiB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// One received packet, as handed over in batches. The body lives for the duration of the call.
struct ReceivedPacket {
  std::uint32_t cmdId;
  std::uint32_t resultCode;
  std::uint32_t isInd;  // non-zero for an indication
  const std::uint8_t* body;
  std::uint32_t bodyLengthBytes;
  std::uint32_t word;    // last 32-bit word of the wire's head
  std::uint16_t tag;     // tag of the post that this answers
  std::uint16_t word16;  // second 16-bit word of the head
  std::uint8_t reserved[8];
};
static_assert(sizeof(void*) != 8 || sizeof(ReceivedPacket) == 48, "hosts walk batches by 48 bytes");

namespace devlink {
class LinkEngine;
}

// A client of the link; what it receives comes through ReceiveCmd.
class KIVPLATFORM_API CLinkClient {
 public:
  CLinkClient(std::int64_t word, const wchar_t* name);
  virtual ~CLinkClient();
  CLinkClient(const CLinkClient&) = delete;
  CLinkClient& operator=(const CLinkClient&) = delete;

  // Registers the client; TestServerResponse of the device adapter goes over the client installed
  // last.
  std::uint32_t InstallClient(std::uint32_t channel, std::uint32_t ueId);
  std::uint32_t StartConnect(std::uint32_t channel, std::uint32_t ueId, std::uint32_t mask,
                             std::int32_t flag1, std::int32_t flag2);
  // Ends the session; wakes a post or a hand-over that waits.
  std::uint32_t StopConnect(std::uint32_t channel, std::uint32_t ueId, std::uint32_t mask);
  // Ends the link's thread and waits for it, at most `timeoutMs` for a clean end before the
  // endpoint is cut; when `wait` is 0 it is cut at once. When called on the link's own thread it
  // only asks it to end.
  void Shutdown(std::uint32_t timeoutMs, std::int32_t wait);
  // Message entry of the link's thread: the platform's own messages only; others are ignored.
  void ThreadHandler(std::uint32_t message, std::uint64_t parameter1, std::int64_t parameter2);

  const QCString& GetName() const noexcept { return name_; }
  QCString GetErrorString(std::uint32_t status) const;
  QCString GetResultCodeString(std::uint32_t resultCode) const;

 protected:
  // A batch in order of arrival. The answer is only recorded (0 is usual).
  virtual std::int32_t ReceiveCmd(const ReceivedPacket* records, std::uint32_t count) = 0;

 private:
  friend class devlink::LinkEngine;
  friend class CLinkClientDiagCmd;
  QCString name_;
  std::shared_ptr<devlink::LinkEngine> engine_;  // with the link's thread
};

// A client that posts diagnostic commands, raw text and frames.
class KIVPLATFORM_API CLinkClientDiagCmd : public CLinkClient {
 public:
  CLinkClientDiagCmd(std::int64_t word, const wchar_t* name);
  ~CLinkClientDiagCmd() override;

  // One diagnostic command. `body` may be null only with length 0.
  std::uint32_t PostCmd(std::uint32_t cmdId, const void* body, std::uint32_t lengthBytes,
                        std::uint16_t tag, std::uint16_t word16, std::uint32_t word);
  std::uint32_t PostRawData(const void* bytes, std::uint32_t lengthBytes);
  std::uint32_t PostSdtFrame(std::uint32_t cmdId, const void* bytes, std::uint32_t lengthBytes);
};
