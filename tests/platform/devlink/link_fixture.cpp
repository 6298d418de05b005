#include "tests/platform/devlink/link_fixture.h"

#include "platform/base/bench_setup.h"
#include "tests/support/tree_paths.h"

namespace linktest {

namespace {

std::string TapText(const devlink::TapMessage& message) {
  const char* const arrow = message.direction == devlink::Direction::kToDevice ? "> " : "< ";
  return arrow + std::to_string(static_cast<int>(message.kind)) + " " +
         std::to_string(message.cmdId) + " " + std::to_string(message.tag);
}

Packet Copy(const ReceivedPacket& record, bool withBody) {
  Packet packet = {record.cmdId, record.resultCode, record.isInd, {},
                   record.word,  record.tag,        record.word16};
  if (withBody && record.body != nullptr) {
    packet.body.assign(record.body, record.body + record.bodyLengthBytes);
  }
  return packet;
}

}  // namespace

void Record::OnState(const devlink::StateChange& change) {
  const std::lock_guard lock(mutex_);
  ++calls;
  std::string text = "connecting";
  if (change.state == devlink::LinkState::kConnected) text = "connected";
  if (change.state == devlink::LinkState::kDisconnected) {
    text = std::string("disconnected: ") + change.reason;
  }
  if (change.peer != nullptr) peer = *change.peer;
  states.push_back(text);
  changed_.notify_all();
}

void Record::OnNotice(const char* line, std::size_t lengthBytes) {
  if (onNotice) onNotice();
  const std::lock_guard lock(mutex_);
  ++calls;
  notices.emplace_back(line, lengthBytes);
  changed_.notify_all();
}

void Record::OnMessage(const devlink::TapMessage& message) {
  const std::lock_guard lock(mutex_);
  ++calls;
  if (message.kind != devlink::MessageKind::kKeepAlive) {
    taps.push_back(TapText(message));
    readAts.push_back(message.readAt);
  }
  changed_.notify_all();
}

void Record::OnPostFailed(std::uint16_t tag, std::uint32_t cmdId, std::uint32_t status) {
  const std::lock_guard lock(mutex_);
  ++calls;
  failedPosts.push_back(std::to_string(tag) + " " + std::to_string(cmdId) + " " +
                        std::to_string(status));
  changed_.notify_all();
}

void Record::OnHandedOver(const ReceivedPacket*, std::uint32_t count) {
  const std::lock_guard lock(mutex_);
  ++calls;
  handedOver.push_back(count);
  changed_.notify_all();
}

void Record::Received(const ReceivedPacket* records, std::uint32_t count) {
  if (onReceive) onReceive();
  const std::lock_guard lock(mutex_);
  ++calls;
  batches.push_back(count);
  for (std::uint32_t i = 0; i < count; ++i) packets.push_back(Copy(records[i], keepBodies));
  changed_.notify_all();
}

bool Record::Wait(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, patience, condition);
}

void Record::Clear() {
  const std::lock_guard lock(mutex_);
  states.clear();
  notices.clear();
  taps.clear();
  failedPosts.clear();
  packets.clear();
  batches.clear();
  handedOver.clear();
}

bool Record::WaitForState(const std::string& state) {
  return Wait([&] { return !states.empty() && states.back() == state; });
}

bool Record::WaitForPackets(std::size_t count) {
  return Wait([&] { return packets.size() >= count; });
}

LinkTest::LinkTest() {
  timing_.firstPause = devlink::Milliseconds(10);
  timing_.longestPause = devlink::Milliseconds(80);
  // A machine under load may keep a device waiting for seconds. Tests of a limit shorten it.
  timing_.greetingWait = timing_.connectWait = devlink::Milliseconds(60'000);
  timing_.lostAfter = timing_.writeLimit = devlink::Milliseconds(60'000);
  devlink::SetLinkObserver(&record_);
}

LinkTest::~LinkTest() {
  device_.reset();
  Stop();
  devlink::SetLinkObserver(nullptr);
  devlink::SetLinkTiming(devlink::LinkTiming());
}

void LinkTest::SetEndpoint(const std::string& endpoint) {
  bench::Setup setup;
  setup.endpoint = QCString::FromUtf8(endpoint);
  setup.catalogue = QCString::FromUtf8(catalogue_);
  setup.configDir = QCString::FromUtf8(directory_.path());
  setup.dataDir = QCString::FromUtf8(directory_.path());
  bench::SetSetup(setup);
}

void LinkTest::UseShippedCatalogue() {
  catalogue_ = std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat";
}

void LinkTest::Start() {
  devlink::SetLinkTiming(timing_);
  if (client_ == nullptr) client_ = std::make_unique<RecordingClient>(record_);
  client_->InstallClient(256, 1);
  EXPECT_EQ(client_->StartConnect(256, 1, 8191, 1, 0), 0u);
}

void LinkTest::Stop() { client_.reset(); }

void LinkTest::Connect(TestDevice::Script script) {
  device_ = std::make_unique<TestDevice>(Path("s"), std::move(script));
  StartAt("unix:" + Path("s"));
  ASSERT_TRUE(record_.WaitForState("connected"));
}

std::uint32_t LinkTest::Post(std::uint32_t id, const Bytes& body, std::uint16_t tag) {
  return client_->PostCmd(id, body.data(), static_cast<std::uint32_t>(body.size()), tag, 0, 0);
}

}  // namespace linktest
