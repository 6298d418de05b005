// The application object over the real link, and an ear for what it says to the view.
//
// Threads: the test's thread is the facade's; texts are noted on the link's.
// Owns the configuration's directory, the ear and the device.
#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "platform/devlink/link_observer.h"
#include "service/svc_kiv_app.h"
#include "tests/live/echo_device.h"
#include "tests/support/tree_paths.h"

namespace livetest {

using SvcKivClass::SvcKivApp;

// Collects the texts of replies, AT and shell, and the link's connected state; both come on the
// link's thread.
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

  // Takes a wide text, or an 8-bit one of a text channel, which is the receiver's to release.
  void Note(SvcKivSpace::SvcKivMsgType kind, void* payload) {
    const bool isReply = kind == SvcKivSpace::kReply;
    std::wstring text = L"<null>";
    if (payload != nullptr) {
      text = isReply ? static_cast<const wchar_t*>(payload)
                     : QCString::AnsiToUnicode(static_cast<const char*>(payload)).str();
    }
    if (!isReply) PoolFree(payload);
    std::lock_guard lock(mutex_);
    ++count_;
    if (keep_) texts_.push_back(std::move(text));
    changed_.notify_all();
  }
  bool WaitForConnected() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return connected_; });
  }
  // Whether so many texts came in time.
  bool WaitForCount(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return count_ >= count; });
  }
  std::size_t Count() {
    std::lock_guard lock(mutex_);
    return count_;
  }
  // From here on texts are counted and not kept.
  void OnlyCount() { keep_ = false; }
  std::vector<std::wstring> WaitForTexts(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::seconds(20), [&] { return texts_.size() >= count; });
    return texts_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool connected_ = false;
  bool keep_ = true;
  std::size_t count_ = 0;
  std::vector<std::wstring> texts_;
};

class ModuleOverLink : public testing::Test {
 protected:
  // The device says variant 248 and product 38, where every line goes to its shell; most tests want
  // another product.
  explicit ModuleOverLink(std::optional<std::uint32_t> product = 0) {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication application(argc, argv);
    // The traces are as many as the packets, and nobody reads them.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    bench::Setup setup;
    setup.endpoint = QCString::FromUtf8("unix:" + directory_.Path("s"));
    setup.catalogue =
        QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/tests/module_commands.kcat");
    setup.configDir = QCString::FromUtf8(directory_.Path("config"));
    std::filesystem::create_directory(directory_.Path("config"));
    // A device generation that sends indications to show.
    std::ofstream(directory_.Path("config/platform.ini")) << "[plc]\nVER=1\n";
    setup.dataDir = QCString::FromUtf8(directory_.Path("data"));
    setup.product = product;
    bench::SetSetup(setup);
    devlink::SetLinkObserver(&ear_);
  }
  ~ModuleOverLink() override {
    devlink::SetLinkObserver(nullptr);
    bench::SetSetup({});
  }

  // Notes what `app` says to the view.
  void Listen(SvcKivApp& app) {
    QObject::connect(
        app.GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage, app.GetMsgSender(),
        [this](SvcKivSpace::SvcKivMsgType kind, void* payload) { ear_.Note(kind, payload); },
        Qt::DirectConnection);
  }
  // Starts `app` over a device that answers so, and waits until it is connected.
  void Start(SvcKivApp& app, EchoDevice::Answer answer) {
    device_ = std::make_unique<EchoDevice>(directory_.Path("s"), std::move(answer));
    Listen(app);
    app.Start();
    ASSERT_TRUE(ear_.WaitForConnected());
    app.SetUEConnectStatus(1);
  }
  static std::wstring Run(SvcKivApp& app, const wchar_t* line) {
    QCString reply;
    app.GetDiagCmdResponse(line, reply);
    return reply.str();
  }

  ScratchDir directory_;
  Ear ear_;
  std::unique_ptr<EchoDevice> device_;
};

}  // namespace livetest
