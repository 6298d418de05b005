// The module and the link without memory for their own objects: nothing ends, nothing hangs,
// nothing is left, and as soon as there is memory again everything works.
#include "tests/memory/failing_new.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <set>
#include <string>

#include "platform/bounded/pool.h"
#include "platform/devlink/link_timing.h"
#include "svckiv/svc_kiv.h"
#include "tests/live/module_over_link.h"
#include "tests/support/sweep_report.h"

namespace {

using kivtest::FailNew;
using kivtest::IAm;
using kivtest::NewFailed;
using kivtest::Who;
using linktest::NaiveFrame;
using SvcKivSpace::SvcKiv;

const std::wstring kStars(20, L'*');
const std::wstring kInput = L"Input Parameters:\n" + kStars +
                            L".first  = 4 \n.second = 5 \n.third  = 6 \n\n" + kStars + L"\n";
const std::wstring kNoMemory = L"*** Not enough memory!\n";
constexpr wchar_t kLine[] = L"set_values 4,5,6";
constexpr std::uint64_t kMany = 5000;

// Counts connections and texts; both come on the link's thread, which it makes known as such.
class Ear : public devlink::LinkObserver {
 public:
  void OnState(const devlink::StateChange& change) override {
    IAm(Who::kLink);
    const std::lock_guard lock(mutex_);
    connected_ = change.state == devlink::LinkState::kConnected;
    if (connected_) ++connections_;
    changed_.notify_all();
  }
  void OnNotice(const char*, std::size_t) override {}
  void OnMessage(const devlink::TapMessage&) override {}
  void OnPostFailed(std::uint16_t, std::uint32_t, std::uint32_t) override {}
  void OnHandedOver(const ReceivedPacket*, std::uint32_t) override {
    const std::lock_guard lock(mutex_);
    ++batches_;
    changed_.notify_all();
  }
  void OnText() {
    const std::lock_guard lock(mutex_);
    ++texts_;
    changed_.notify_all();
  }

  template <typename Condition>
  bool Wait(const Condition& condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), condition);
  }
  bool WaitForConnected() {
    return Wait([&] { return connected_; });
  }
  int Batches() {
    const std::lock_guard lock(mutex_);
    return batches_;
  }
  int Texts() {
    const std::lock_guard lock(mutex_);
    return texts_;
  }
  int Connections() {
    const std::lock_guard lock(mutex_);
    return connections_;
  }
  // For conditions of Wait alone.
  bool connected_ = false;
  int connections_ = 0;
  int batches_ = 0;
  int texts_ = 0;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
};

class FailingNew : public livetest::ModuleOverLink {
 protected:
  FailingNew() {
    IAm(Who::kFacade);
    devlink::LinkTiming timing;
    timing.firstPause = timing.longestPause = devlink::Milliseconds(10);
    devlink::SetLinkTiming(timing);
    devlink::SetLinkObserver(&counting_);
    connection_ = QObject::connect(
        SvcKiv::GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage,
        SvcKiv::GetMsgSender(), [this](SvcKivSpace::SvcKivMsgType, void*) { counting_.OnText(); },
        Qt::DirectConnection);
    device_ = std::make_unique<livetest::EchoDevice>(
        directory_.Path("s"),
        [](const NaiveFrame& request) { return std::vector{livetest::Confirmation(request)}; });
  }
  ~FailingNew() override {
    FailNew(Who::kNobody, 0);
    SvcKiv::Stop();
    QObject::disconnect(connection_);
    devlink::SetLinkTiming(devlink::LinkTiming());
    IAm(Who::kNobody);
  }

  std::wstring Type(const wchar_t* line) {
    ClearReply();
    SvcKiv::GetDiagCmdResponse(line, reply_);
    return reply_.str();
  }
  void ClearReply() { reply_ = L"<untouched by anybody>"; }
  void StartAll() {
    SvcKiv::Start();
    SvcKiv::SetUEConnectStatus(1);
    SvcKiv::SetInstantIndTime(1000);
    ASSERT_TRUE(counting_.WaitForConnected());
  }
  // A typed line is posted and its confirmation shown; when the link is lost meanwhile, the next
  // one.
  void Works() {
    for (int i = 0; i < 10; ++i) {
      ASSERT_TRUE(counting_.WaitForConnected());
      const int texts = counting_.Texts();
      const int batches = counting_.Batches();
      const int connections = counting_.Connections();
      const std::wstring reply = Type(kLine);
      ASSERT_EQ(reply.substr(0, kInput.size()), kInput);
      const auto answered = [&] {
        return counting_.texts_ > texts && counting_.batches_ > batches;
      };
      ASSERT_TRUE(
          counting_.Wait([&] { return answered() || counting_.connections_ > connections; }));
      if (counting_.Connections() == connections) return;
    }
    FAIL() << "the link does not last";
  }
  void StopAll() {
    SvcKiv::Stop();
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }

  Ear counting_;
  QCString reply_;
  QMetaObject::Connection connection_;
};

// Does `act` with the n-th allocation failing, for each n until none is made to fail.
template <typename Before, typename Act, typename After>
void Sweep(const char* what, Who who, const Before& before, const Act& act, const After& after) {
  const kivtest::SweepReport report(std::string("new fails, ") + what);
  std::uint64_t n = 1;
  for (bool failed = true; failed && n < kMany && !testing::Test::HasFailure(); ++n) {
    SCOPED_TRACE(std::string(what) + ", allocation " + std::to_string(n));
    before();
    FailNew(who, n);
    act();
    failed = NewFailed();
    FailNew(Who::kNobody, 0);
    after(failed);
  }
  EXPECT_LT(n, kMany);
  report.Write(static_cast<std::int64_t>(n) - 2,
               testing::Test::HasFailure() ? "FAILED" : "no end, no hang, nothing left");
}

TEST_F(FailingNew, InStartLeavesAModuleThatStartsTheNextTime) {
  Sweep(
      "start", Who::kFacade, [] {}, [] { SvcKiv::Start(); },
      [&](bool failed) {
        EXPECT_TRUE(failed || SvcKiv::GetMorviCmdList() != nullptr);
        StopAll();
        StartAll();
        Works();
        StopAll();
      });
}

TEST_F(FailingNew, InATypedLineIsToldAndTheNextOneWorks) {
  std::set<std::wstring> seen;
  const std::string image = directory_.Path("image");
  std::ofstream(image) << "a file to load";
  // The catalogue has no command for a file's chunks, so that one ends with its first.
  const std::wstring load = L"ldnv " + QCString::FromUtf8(image).str();
  for (const wchar_t* line : {kLine, L"set_values 4,5,6 -r 00:11:22:33:44:55", L"note hello",
                              L"help", L"nonsense", L"mixed 1,[65],[1,2,3]", load.c_str()}) {
    StartAll();
    const std::wstring whole = Type(line);
    Sweep(
        "typed line", Who::kFacade, [&] { ClearReply(); },
        [&] { SvcKiv::GetDiagCmdResponse(line, reply_); },
        [&](bool failed) {
          const std::wstring reply = reply_.str();
          EXPECT_TRUE(failed || reply == whole);
          if (reply != whole) seen.insert(reply.substr(0, 3));
          Works();
        });
    StopAll();
  }
  EXPECT_EQ(seen, std::set<std::wstring>{L"***"});
}

TEST_F(FailingNew, InAReloadLeavesAListAndTheNextLineWorks) {
  StartAll();
  Sweep(
      "reload", Who::kFacade, [] {}, [] { SvcKiv::ReloadDb(); },
      [&](bool) {
        SvcKiv::ReloadDb();
        Works();
      });
  StopAll();
}

TEST_F(FailingNew, InAStopStopsAllTheSame) {
  Sweep(
      "stop", Who::kFacade, [&] { StartAll(); }, [] { SvcKiv::Stop(); },
      [&](bool) {
        EXPECT_EQ(pool::LiveBlocks(), 0u);
        EXPECT_EQ(SvcKiv::GetMorviCmdList(), nullptr);
        StartAll();
        Works();
        StopAll();
      });
}

TEST_F(FailingNew, OnTheLinksThreadWhileItConnectsIsTriedAgain) {
  StartAll();  // the thread is known from its first call-back on
  Sweep(
      "connecting", Who::kLink, [&] { StopAll(); },
      [&] {
        SvcKiv::Start();
        EXPECT_TRUE(counting_.WaitForConnected());
      },
      [&](bool) {
        SvcKiv::SetUEConnectStatus(1);
        Works();
      });
  StopAll();
}

TEST_F(FailingNew, OnTheLinksThreadInAnAnswerLosesAtMostTheAnswer) {
  StartAll();
  Sweep(
      "answer", Who::kLink, [] {},
      [&] {
        const int batches = counting_.Batches();
        const int connections = counting_.Connections();
        EXPECT_EQ(Type(kLine), kInput);
        EXPECT_TRUE(counting_.Wait(
            [&] { return counting_.batches_ > batches || counting_.connections_ > connections; }));
      },
      [&](bool) { Works(); });
  StopAll();
}

TEST_F(FailingNew, OnTheLinksThreadFromThereOnIsOutlivedAndAStopIsQuick) {
  for (std::uint64_t n = 1; n < 40; n += 3) {
    SCOPED_TRACE(n);
    StartAll();
    FailNew(Who::kLink, n, true);
    Type(kLine);
    const auto begin = std::chrono::steady_clock::now();
    SvcKiv::Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
    FailNew(Who::kNobody, 0);
    EXPECT_EQ(pool::LiveBlocks(), 0u);
    StartAll();
    FailNew(Who::kLink, n, true);
    Type(kLine);
    FailNew(Who::kNobody, 0);
    Works();
    StopAll();
  }
}

}  // namespace
