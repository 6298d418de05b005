// The contract of a device link, over the real one.
#include "tests/fakes/link_contract.h"

#include "platform/devlink/link_observer.h"
#include "tests/live/echo_device.h"

namespace linkcontract {
namespace {

// Requests of this id make the device send what the body asks for, and are not noted.
constexpr std::uint32_t kNudgeId = 0xFFFF0000;

// Waits for the link's states.
class StateEar : public devlink::LinkObserver {
 public:
  void OnState(const devlink::StateChange& change) override {
    std::lock_guard lock(mutex_);
    state_ = change.state;
    changed_.notify_all();
  }
  void OnNotice(const char*, std::size_t) override {}
  void OnMessage(const devlink::TapMessage&) override {}
  void OnPostFailed(std::uint16_t, std::uint32_t, std::uint32_t) override {}
  void OnHandedOver(const ReceivedPacket*, std::uint32_t) override {}

  bool WaitForConnected() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20),
                             [&] { return state_ == devlink::LinkState::kConnected; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  devlink::LinkState state_ = devlink::LinkState::kDisconnected;
};

class RealSide {
 public:
  RealSide() {
    bench::Setup setup;
    setup.endpoint = QCString::FromUtf8("unix:" + directory_.Path("s"));
    setup.catalogue = QCString::FromUtf8(directory_.Path("none"));
    setup.configDir = QCString::FromUtf8(directory_.Path("config"));
    bench::SetSetup(setup);
    devlink::SetLinkObserver(&ear_);
  }
  ~RealSide() {
    devlink::SetLinkObserver(nullptr);
    bench::SetSetup({});
  }

  void Start(CLinkClientDiagCmd& client) {
    client_ = &client;
    client.StartConnect(256, 1, 8191, 1, 0);
    ASSERT_TRUE(ear_.WaitForConnected());
  }
  Item LastRequest() {
    const auto frame = device_.Request(asked_++);
    if (!frame) return {};
    return {frame->id,  frame->result, false,        frame->payload,
            frame->tag, frame->word16, frame->word32};
  }
  // The confirmation is on its way as soon as the request was seen.
  void Echo() {}
  void SendInd(std::uint32_t cmdId, Body body) {
    body.insert(body.begin(),
                {static_cast<std::uint8_t>(cmdId), static_cast<std::uint8_t>(cmdId >> 8)});
    client_->PostCmd(kNudgeId, body.data(), static_cast<std::uint32_t>(body.size()), 0, 0, 0);
  }

 private:
  static std::vector<linktest::NaiveFrame> Answers(const linktest::NaiveFrame& request) {
    if (request.id != kNudgeId) return {livetest::Confirmation(request)};
    linktest::NaiveFrame ind;
    ind.kind = linktest::kInd;
    ind.id = request.payload.at(0) + 256u * request.payload.at(1);
    ind.payload.assign(request.payload.begin() + 2, request.payload.end());
    return {linktest::Whole(ind)};
  }

  livetest::ScratchDir directory_;
  StateEar ear_;
  livetest::EchoDevice device_{directory_.Path("s"), &Answers};
  CLinkClientDiagCmd* client_ = nullptr;
  std::size_t asked_ = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(OverTheRealLink, LinkContract, RealSide);

}  // namespace
}  // namespace linkcontract
