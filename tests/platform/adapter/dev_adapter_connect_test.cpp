// The raw test exchange: what goes out, what is counted, what is answered.
#include "platform/adapter/dev_adapter_connect.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

#include "tests/platform/devlink/link_fixture.h"

namespace linktest {
namespace {

using devlink::GetLinkCounters;
using devlink::Milliseconds;
using testing::ElementsAre;

class Adapter : public LinkTest {
 protected:
  static Bytes Test() { return {0x7E, 0x7D, 0, 0xFF}; }
  CDevAdapterConnect adapter_;
};

TEST_F(Adapter, WithoutAClientAnswers502) { EXPECT_EQ(adapter_.TestServerResponse("x", 1), 502ul); }

TEST_F(Adapter, WithAClientThatIsNotConnectedAnswers3207) {
  StartAt("unix:" + Path("nobody"));
  EXPECT_EQ(adapter_.TestServerResponse("x", 1), 3207ul);
}

TEST_F(Adapter, WhenItsClientIsGoneAnswers502) {
  StartAt("unix:" + Path("nobody"));
  Stop();
  EXPECT_EQ(adapter_.TestServerResponse("x", 1), 502ul);
}

TEST_F(Adapter, ABufferThatIsNoneIsTheCallersMistake) {
  EXPECT_EQ(adapter_.TestServerResponse(nullptr, 1), 0xFFFFFFFFul);
}

TEST_F(Adapter, ABufferBeyond64MiBAnswers22) {
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) end.Linger();
  });
  const Bytes body(64 * 1024 * 1024 + 1);
  EXPECT_EQ(adapter_.TestServerResponse(body.data(), body.size()), 22ul);
}

TEST_F(Adapter, SendsOneLineTestAndWaitsForItsAnswer) {
  std::vector<NaiveFrame> seen;
  Connect([&](DeviceEnd& end, int) {
    if (!end.Greet()) return;
    while (auto frame = end.NextMessage()) {
      seen.push_back(*frame);
      frame->tag ^= 1;  // the answer to something else
      end.Send(*frame);
      frame->tag ^= 1;
      end.Send(*frame);
    }
  });
  const auto before = GetLinkCounters();
  const Bytes test = Test();
  EXPECT_EQ(adapter_.TestServerResponse(test.data(), test.size()), 0ul);
  EXPECT_EQ(GetLinkCounters().testAnswers - before.testAnswers, 1u);
  EXPECT_THAT(Taps(), ElementsAre("> 1 0 1", "< 1 0 1", "> 6 1 1", "< 6 1 0", "< 6 1 1"));
  EXPECT_TRUE(Packets().empty());  // a client does not see it
  device_.reset();
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].payload, test);
  EXPECT_EQ(seen[0].kind, kRaw);
  EXPECT_EQ(seen[0].id, 1u);
}

TEST_F(Adapter, AnswersThePostsStatusWhenNoAnswerComes) {
  timing_.testAnswerWait = Milliseconds(30);
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) end.Linger();
  });
  const auto before = GetLinkCounters();
  EXPECT_EQ(adapter_.TestServerResponse("x", 1), 0ul);
  EXPECT_EQ(GetLinkCounters().testAnswers, before.testAnswers);
}

TEST_F(Adapter, AStopEndsTheWaitForAnAnswer) {
  timing_.testAnswerWait = Milliseconds(60'000);
  Connect([](DeviceEnd& end, int) {
    if (end.Greet()) end.Linger();
  });
  std::thread test([&] { EXPECT_EQ(adapter_.TestServerResponse("x", 1), 0ul); });
  ASSERT_TRUE(record_.Wait([&] {
    return std::find(record_.taps.begin(), record_.taps.end(), "> 6 1 1") != record_.taps.end();
  }));
  client_->StopConnect(256, 1, 8191);
  test.join();
}

}  // namespace
}  // namespace linktest
