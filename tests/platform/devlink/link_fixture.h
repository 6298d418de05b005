// What every test of a running link stands on: a client and an observer that record, short periods,
// and an endpoint in a directory of its own.
//
// Threads: recording happens on the link's and the posting threads; Wait and the lists are the
// test's.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/devlink/link_client.h"
#include "platform/devlink/link_observer.h"
#include "platform/devlink/link_timing.h"
#include "tests/platform/devlink/naive_frames.h"
#include "tests/platform/devlink/noise.h"
#include "tests/platform/devlink/test_device.h"
#include "tests/support/temp_dir.h"

namespace linktest {

// One received packet, copied.
struct Packet {
  std::uint32_t cmdId;
  std::uint32_t resultCode;
  std::uint32_t isInd;
  Bytes body;
  std::uint32_t word;
  std::uint16_t tag;
  std::uint16_t word16;

  friend bool operator==(const Packet&, const Packet&) = default;
};

// Everything that came from the link, in order of arrival.
class Record : public devlink::LinkObserver {
 public:
  void OnState(const devlink::StateChange& change) override;
  void OnNotice(const char* line, std::size_t lengthBytes) override;
  void OnMessage(const devlink::TapMessage& message) override;
  void OnPostFailed(std::uint16_t tag, std::uint32_t cmdId, std::uint32_t status) override;
  void OnHandedOver(const ReceivedPacket* records, std::uint32_t count) override;
  void Received(const ReceivedPacket* records, std::uint32_t count);

  // Waits until `condition` (called under the lock) holds, but no longer than `patience`.
  bool Wait(const std::function<bool()>& condition,
            std::chrono::milliseconds patience = std::chrono::seconds(50));
  // Forgets what came so far.
  void Clear();
  // For looking without waiting.
  template <typename Look>
  auto With(const Look& look) {
    const std::lock_guard lock(mutex_);
    return look();
  }
  // "connecting", "connected", "disconnected: reason".
  bool WaitForState(const std::string& state);
  bool WaitForPackets(std::size_t count);

  // To be read under the lock (Wait, With) or behind a stop.
  std::vector<std::string> states;
  std::optional<devlink::PeerInfo> peer;
  std::vector<std::string> notices;
  std::vector<std::string> taps;                        // "> kind id tag", "< kind id tag"
  std::vector<devlink::LinkClock::time_point> readAts;  // of the same messages
  std::vector<std::string> failedPosts;
  std::vector<Packet> packets;
  std::vector<std::uint32_t> batches;
  std::vector<std::uint32_t> handedOver;
  std::uint64_t calls = 0;
  bool keepBodies = true;
  std::function<void()> onReceive;  // before recording, outside the lock
  std::function<void()> onNotice;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
};

class RecordingClient : public CLinkClientDiagCmd {
 public:
  explicit RecordingClient(Record& record) : CLinkClientDiagCmd(0, L"Kiv 1"), record_(record) {}
  ~RecordingClient() override {
    StopConnect(256, 1, 8191);
    Shutdown(200, 1);
  }

 protected:
  std::int32_t ReceiveCmd(const ReceivedPacket* records, std::uint32_t count) override {
    record_.Received(records, count);
    return 0;
  }

 private:
  Record& record_;
};

class LinkTest : public testing::Test {
 protected:
  LinkTest();
  ~LinkTest() override;

  std::string Path(const std::string& name) const { return directory_.File(name); }
  // What the link will connect to.
  void SetEndpoint(const std::string& endpoint);
  // The catalogue that ships in place of none; for the next SetEndpoint.
  void UseShippedCatalogue();
  // Makes the client and starts it.
  void Start();
  void StartAt(const std::string& endpoint) {
    SetEndpoint(endpoint);
    Start();
  }
  void Stop();
  // Starts a device with this script and a client connected to it.
  void Connect(TestDevice::Script script);

  // What was recorded so far.
  std::vector<std::string> States() {
    return record_.With([&] { return record_.states; });
  }
  std::vector<std::string> Taps() {
    return record_.With([&] { return record_.taps; });
  }
  std::vector<Packet> Packets() {
    return record_.With([&] { return record_.packets; });
  }

  std::uint32_t Post(std::uint32_t id, const Bytes& body, std::uint16_t tag = 0);

  const kivtest::TempDir directory_;
  devlink::LinkTiming timing_;  // short; set by Start
  std::string catalogue_ = Path("no-catalogue");
  Record record_;
  std::unique_ptr<TestDevice> device_;
  std::unique_ptr<RecordingClient> client_;
};

}  // namespace linktest
