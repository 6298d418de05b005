// Memory that runs out at every allocation of every channel: the answer is -1, nothing is shown
// half, nothing leaks, and what was posted before stays posted.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "channels/kiv_at.h"
#include "channels/kiv_hci.h"
#include "channels/kiv_shell.h"
#include "tests/fakes/channel_bench.h"

namespace {

class ChannelFailures : public kivtest::ChannelBench {
 protected:
  ChannelFailures() {
    version_query::NoteDevice(246, 0);
    at_.Init(kivtest::RecordingServices());
    hci_.Init(kivtest::RecordingServices());
    shell_.Init(kivtest::RecordingServices());
  }

  // Fails the n-th allocation for every n until `run` needs fewer; `check` sees n and the answer
  // of each failed run. Answers how many allocations a whole run makes.
  std::uint64_t Sweep(const std::function<std::int32_t()>& run,
                      const std::function<void(std::uint64_t, std::int32_t)>& check) {
    for (std::uint64_t n = 1;; ++n) {
      Services().posts.clear();
      pool::FailNth(n);
      const std::int32_t answer = run();
      const bool failed = pool::Failed();
      pool::FailNth(0);
      EXPECT_EQ(pool::LiveBlocks(), 0u) << n;
      if (!failed) {
        EXPECT_EQ(answer, 0);
        return n - 1;
      }
      check(n, answer);
    }
  }
  // A line of `chunks` chunks: two allocations each, and -1 with what went out before.
  void SweepLine(std::size_t chunks, const std::function<std::int32_t()>& run) {
    const std::uint64_t count = Sweep(run, [&](std::uint64_t n, std::int32_t answer) {
      EXPECT_EQ(answer, -1) << n;
      EXPECT_EQ(Posts().size(), (n - 1) / 2) << n;
    });
    EXPECT_EQ(count, 2 * chunks);
    EXPECT_EQ(Posts().size(), chunks);
    EXPECT_TRUE(Messages().empty());
  }
  // An answer: one allocation for the payload and one for the view.
  void SweepAnswer(SvcKivClass::TextChannel& channel, std::uint32_t id) {
    const std::uint8_t text[] = {'O', 'K'};
    const std::uint64_t count =
        Sweep([&] { return channel.HandleResponse(id, nullptr, text, sizeof text); },
              [&](std::uint64_t n, std::int32_t answer) {
                EXPECT_EQ(answer, -1) << n;
                EXPECT_TRUE(Messages().empty()) << n;
              });
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(Texts(), std::vector<std::wstring>{L"OK"});
  }

  SvcKivClass::KivAt at_;
  SvcKivClass::KivHci hci_;
  SvcKivClass::KivShell shell_;
};

TEST_F(ChannelFailures, StopAnAtLineAtTheChunkThatFindsNoMemory) {
  const std::wstring line = L"AT+" + std::wstring(997, L'x');
  SweepLine(3, [&] { return at_.HandleCommand(line.c_str(), L""); });
}

TEST_F(ChannelFailures, StopAnHciLineAtTheChunkThatFindsNoMemory) {
  const std::wstring line(900, L'x');
  SweepLine(3, [&] { return hci_.HandleCommand(line.c_str(), L""); });
}

TEST_F(ChannelFailures, StopAShellLineAtTheChunkThatFindsNoMemory) {
  const std::wstring line(900, L'x');
  SweepLine(3, [&] { return shell_.HandleCommand(L"sh", line.c_str()); });
}

TEST_F(ChannelFailures, SendNothingOfARawLineWithoutMemory) {
  version_query::NoteDevice(246, 38);
  const std::wstring line(900, L'x');
  SweepLine(1, [&] { return shell_.HandleCommand(L"ls", line.c_str()); });
}

TEST_F(ChannelFailures, ShowNothingOfAnAtAnswerWithoutMemory) { SweepAnswer(at_, 0xA011); }

TEST_F(ChannelFailures, ShowNothingOfAnHciAnswerWithoutMemory) { SweepAnswer(hci_, 0x7E0C); }

TEST_F(ChannelFailures, ShowNothingOfAShellAnswerWithoutMemory) { SweepAnswer(shell_, 0xA012); }

TEST_F(ChannelFailures, GoOnAfterEveryPostThatIsRefused) {
  at_.SetOutputFile(WidePath("out.txt"));
  const std::wstring line = L"AT+" + std::wstring(997, L'x');
  for (std::size_t n = 0; n < 3; ++n) {
    at_.SaveToOutputFile(nullptr);
    Services() = {};
    Services().refused = {n};
    EXPECT_EQ(at_.HandleCommand(line.c_str(), L""), 0);
    EXPECT_EQ(Posts().size(), 3u);
    const std::string out = FileText("out.txt");
    const std::size_t first = out.find("***error: failed to send: ");
    EXPECT_NE(first, std::string::npos) << n;
    EXPECT_EQ(out.find("***error", first + 1), std::string::npos) << n;
  }
}

}  // namespace
