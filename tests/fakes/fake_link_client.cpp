// The recording device link: CLinkClient and CLinkClientDiagCmd without a device.
#include "platform/base/result_codes.h"
#include "platform/devlink/link_client.h"
#include "platform/devlink/link_observer.h"
#include "tests/fakes/seam_state.h"

namespace devlink {

// State of one client, and the way in for packets.
class LinkEngine {
 public:
  bool connected = false;
  bool ended = false;

  static LinkEngine& Of(CLinkClient& client) { return *client.engine_; }
  static std::int32_t Deliver(CLinkClient& client, const ReceivedPacket* records,
                              std::uint32_t count) {
    return client.ReceiveCmd(records, count);
  }
  static bool IsConnected(CLinkClient& client) {
    std::lock_guard lock(fake::Seam().mutex);
    return client.engine_->connected && fake::Seam().deviceThere;
  }
  static void SetConnected(CLinkClient& client, bool connected) {
    std::lock_guard lock(fake::Seam().mutex);
    client.engine_->connected = connected;
  }
};

}  // namespace devlink

using devlink::LinkEngine;

namespace {

std::string Numbers(std::initializer_list<std::int64_t> numbers) {
  std::string text;
  for (std::int64_t number : numbers) {
    if (!text.empty()) text += ", ";
    text += std::to_string(number);
  }
  return text;
}

std::vector<std::uint8_t> Bytes(const void* bytes, std::uint32_t lengthBytes) {
  const auto* from = static_cast<const std::uint8_t*>(bytes);
  return lengthBytes == 0 ? std::vector<std::uint8_t>() : std::vector(from, from + lengthBytes);
}

std::uint32_t Record(CLinkClient& client, fake::Post post) {
  const bool connected = LinkEngine::IsConnected(client);
  std::lock_guard lock(fake::Seam().mutex);
  fake::Seam().posts.push_back(std::move(post));
  return connected ? fake::Seam().postStatus : result::kLinkDown;
}

}  // namespace

CLinkClient::CLinkClient(std::int64_t word, const wchar_t* name)
    : name_(name), engine_(std::make_shared<LinkEngine>()) {
  fake::Step("CLinkClient", std::to_string(word) + ", " + name_.ToUtf8());
}

CLinkClient::~CLinkClient() {
  {
    std::lock_guard lock(fake::Seam().callbackMutex);
    if (fake::Seam().installed == this) fake::Seam().installed = nullptr;
  }
  fake::Step("~CLinkClient", "");
}

std::uint32_t CLinkClient::InstallClient(std::uint32_t channel, std::uint32_t ueId) {
  {
    std::lock_guard lock(fake::Seam().callbackMutex);
    fake::Seam().installed = this;
  }
  return fake::Step("InstallClient", Numbers({channel, ueId}));
}

std::uint32_t CLinkClient::StartConnect(std::uint32_t channel, std::uint32_t ueId,
                                        std::uint32_t mask, std::int32_t flag1,
                                        std::int32_t flag2) {
  const std::uint32_t status =
      fake::Step("StartConnect", Numbers({channel, ueId, mask, flag1, flag2}));
  LinkEngine::SetConnected(*this, status == result::kOk);
  return status;
}

std::uint32_t CLinkClient::StopConnect(std::uint32_t channel, std::uint32_t ueId,
                                       std::uint32_t mask) {
  const std::uint32_t status = fake::Step("StopConnect", Numbers({channel, ueId, mask}));
  LinkEngine::SetConnected(*this, false);
  return status;
}

void CLinkClient::Shutdown(std::uint32_t timeoutMs, std::int32_t wait) {
  fake::Step("Shutdown", Numbers({timeoutMs, wait}));
  // Taking the mutex waits for a call-back that runs; none begins afterwards.
  std::lock_guard lock(fake::Seam().callbackMutex);
  LinkEngine::SetConnected(*this, false);
  engine_->ended = true;
}

void CLinkClient::ThreadHandler(std::uint32_t, std::uint64_t, std::int64_t) {}

QCString CLinkClient::GetErrorString(std::uint32_t status) const { return result::Text(status); }

QCString CLinkClient::GetResultCodeString(std::uint32_t resultCode) const {
  return result::Text(resultCode);
}

CLinkClientDiagCmd::CLinkClientDiagCmd(std::int64_t word, const wchar_t* name)
    : CLinkClient(word, name) {}

CLinkClientDiagCmd::~CLinkClientDiagCmd() = default;

std::uint32_t CLinkClientDiagCmd::PostCmd(std::uint32_t cmdId, const void* body,
                                          std::uint32_t lengthBytes, std::uint16_t tag,
                                          std::uint16_t word16, std::uint32_t word) {
  return Record(*this, {fake::PostKind::kCmd, cmdId, Bytes(body, lengthBytes), tag, word16, word});
}

std::uint32_t CLinkClientDiagCmd::PostRawData(const void* bytes, std::uint32_t lengthBytes) {
  return Record(*this, {.kind = fake::PostKind::kRaw, .body = Bytes(bytes, lengthBytes)});
}

std::uint32_t CLinkClientDiagCmd::PostSdtFrame(std::uint32_t cmdId, const void* bytes,
                                               std::uint32_t lengthBytes) {
  return Record(*this,
                {.kind = fake::PostKind::kSdt, .cmdId = cmdId, .body = Bytes(bytes, lengthBytes)});
}

namespace devlink {
void SetLinkObserver(LinkObserver*) {}
LinkCounters GetLinkCounters() { return {}; }
}  // namespace devlink

std::int32_t fake::Deliver(const std::vector<Packet>& batch) {
  std::vector<ReceivedPacket> records;
  records.reserve(batch.size());
  for (const Packet& packet : batch) {
    ReceivedPacket record{};
    record.cmdId = packet.cmdId;
    record.resultCode = packet.resultCode;
    record.isInd = packet.isInd ? 1 : 0;
    // An empty body of its own is a valid pointer of length 0, as the library may hand it over.
    static constexpr std::uint8_t kNothing = 0;
    if (packet.hasBody) record.body = packet.body.empty() ? &kNothing : packet.body.data();
    record.bodyLengthBytes = packet.hasBody ? static_cast<std::uint32_t>(packet.body.size()) : 0;
    record.word = packet.word;
    record.tag = packet.tag;
    record.word16 = packet.word16;
    records.push_back(record);
  }
  std::lock_guard lock(Seam().callbackMutex);
  CLinkClient* client = Seam().installed;
  if (client == nullptr || LinkEngine::Of(*client).ended) return kNoClient;
  return LinkEngine::Deliver(*client, records.data(), static_cast<std::uint32_t>(records.size()));
}
