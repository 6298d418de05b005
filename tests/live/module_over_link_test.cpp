// The application object over the real link: what is typed arrives at a device, what it answers is
// shown.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <condition_variable>
#include <mutex>

#include "platform/bounded/pool.h"
#include "platform/devlink/link_observer.h"
#include "service/svc_kiv_app.h"
#include "tests/live/echo_device.h"
#include "tests/support/tree_paths.h"

namespace {

using linktest::Bytes;
using linktest::NaiveFrame;
using livetest::Confirmation;
using SvcKivClass::SvcKivApp;

// Collects kind-1 texts and the link's connected state; both come on the link's thread.
class Ear : public devlink::LinkObserver {
 public:
  void OnState(const devlink::StateChange& change) override {
    std::lock_guard lock(mutex_);
    connected_ = change.state == devlink::LinkState::kConnected;
    changed_.notify_all();
  }
  void OnNotice(const char*, std::size_t) override {}
  void OnMessage(const devlink::TapMessage&) override {}
  void OnPostFailed(std::uint16_t, std::uint32_t, std::uint32_t) override {}
  void OnHandedOver(const ReceivedPacket*, std::uint32_t) override {}

  void Note(void* payload) {
    std::lock_guard lock(mutex_);
    texts_.push_back(payload == nullptr ? L"<null>" : static_cast<const wchar_t*>(payload));
    changed_.notify_all();
  }
  bool WaitForConnected() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return connected_; });
  }
  std::vector<std::wstring> WaitForTexts(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return texts_.size() >= count; });
    return texts_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool connected_ = false;
  std::vector<std::wstring> texts_;
};

class ModuleOverLink : public testing::Test {
 protected:
  ModuleOverLink() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    bench::Setup setup;
    setup.endpoint = QCString::FromUtf8("unix:" + directory_.Path("s"));
    setup.catalogue =
        QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/tests/module_commands.kcat");
    setup.configDir = QCString::FromUtf8(directory_.Path("config"));
    setup.dataDir = QCString::FromUtf8(directory_.Path("data"));
    setup.product = 0;  // the device says 38, where every line goes to its shell
    bench::SetSetup(setup);
    devlink::SetLinkObserver(&ear_);
  }
  ~ModuleOverLink() override {
    devlink::SetLinkObserver(nullptr);
    bench::SetSetup({});
  }

  // Starts `app` over a device that answers so, and waits until it is connected.
  void Start(SvcKivApp& app, livetest::EchoDevice::Answer answer) {
    device_ = std::make_unique<livetest::EchoDevice>(directory_.Path("s"), std::move(answer));
    QObject::connect(
        app.GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage, app.GetMsgSender(),
        [this](SvcKivSpace::SvcKivMsgType, void* payload) { ear_.Note(payload); },
        Qt::DirectConnection);
    app.Start();
    ASSERT_TRUE(ear_.WaitForConnected());
    app.SetUEConnectStatus(1);
  }
  static std::wstring Run(SvcKivApp& app, const wchar_t* line) {
    QCString reply;
    app.GetDiagCmdResponse(line, reply);
    return reply.str();
  }

  livetest::ScratchDir directory_;
  Ear ear_;
  std::unique_ptr<livetest::EchoDevice> device_;
};

const std::wstring kRows = L".first  = 4 \n.second = 5 \n.third  = 6 \n";

TEST_F(ModuleOverLink, AnEchoedCommandIsShownAsItWasTyped) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
  const std::wstring stars(20, L'*');
  EXPECT_EQ(Run(app, L"set_values 4,5,6"),
            L"Input Parameters:\n" + stars + kRows + L"\n" + stars + L"\n");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\n" + kRows});
  const auto request = device_->Request(0);
  ASSERT_TRUE(request);
  EXPECT_EQ(request->id, 0x1001u);
  EXPECT_EQ(request->tag, 1);
  EXPECT_EQ(request->payload, (Bytes{4, 5, 0, 6, 0, 0, 0}));
}

TEST_F(ModuleOverLink, ARoutedCommandIsUnwrappedOnItsWayBack) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) { return std::vector{Confirmation(request)}; });
  Run(app, L"set_values 4,5,6 -r 00:11:22:33:44:55");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\n" + kRows});
  EXPECT_EQ(device_->Request(0)->id, 0x7000u);
  EXPECT_EQ(device_->Request(0)->payload.size(), 43u);
}

TEST_F(ModuleOverLink, ARefusalIsShownByItsText) {
  SvcKivApp app;
  Start(app, [](const NaiveFrame& request) {
    NaiveFrame refusal = Confirmation(request, 22);
    refusal.payload.clear();
    return std::vector{linktest::Whole(refusal)};
  });
  Run(app, L"ping");
  EXPECT_EQ(ear_.WaitForTexts(1), std::vector<std::wstring>{L"\ntoo long"});
}

TEST_F(ModuleOverLink, StopUnderAStormLeavesNothingBehind) {
  const std::uint64_t blocks = pool::LiveBlocks();
  {
    SvcKivApp app;
    Start(app, [](const NaiveFrame& request) {
      return std::vector<NaiveFrame>(200, Confirmation(request));
    });
    for (int i = 0; i < 20; ++i) Run(app, L"set_values 4,5,6");
    EXPECT_GE(ear_.WaitForTexts(100).size(), 100u);
    app.Stop();
    const std::size_t shown = ear_.WaitForTexts(0).size();
    device_.reset();
    EXPECT_EQ(ear_.WaitForTexts(0).size(), shown);
  }
  EXPECT_EQ(pool::LiveBlocks(), blocks);
}

}  // namespace
