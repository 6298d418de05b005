// Each step of each channel that can fail, made to fail everywhere: zeroing, copying, conversion
// and allocation, of lines and of answers, called directly and through the controller. What was
// sent stays sent, the rest is not, nothing leaks, and the next line goes out whole.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "channels/kiv_at.h"
#include "channels/kiv_hci.h"
#include "channels/kiv_shell.h"
#include "command/built_in_channels.h"
#include "cts/kiv_cts.h"
#include "tests/channels/failing_copies.h"
#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::FailingCopy;
using Kind = FailingCopy::Kind;

// Three chunks, of 400, 400 and a few characters.
const std::wstring kLong = std::wstring(820, L'x');

// Long packets: compared whole, but not printed.
template <typename Posts>
Posts FirstOf(const Posts& posts, std::size_t count) {
  return Posts(posts.begin(), posts.begin() + static_cast<std::ptrdiff_t>(count));
}

class FailingSteps : public kivtest::ChannelBench {
 protected:
  FailingSteps() {
    Device(246, 0);
    for (SvcKivClass::TextChannel* channel : {static_cast<SvcKivClass::TextChannel*>(&at_),
                                              static_cast<SvcKivClass::TextChannel*>(&hci_),
                                              static_cast<SvcKivClass::TextChannel*>(&shell_),
                                              static_cast<SvcKivClass::TextChannel*>(&cts_)}) {
      channel->Init(kivtest::RecordingServices());
    }
  }
  static void Device(std::int64_t variant, std::int64_t product) {
    version_query::NoteDevice(variant, product);
  }

  struct LineRow {
    const char* name;
    std::function<std::int32_t()> run;
    std::size_t chunks;
    const wchar_t* trace;
  };
  std::vector<LineRow> Lines() {
    return {
        {"at", [&] { return at_.HandleCommand((L"at+" + kLong).c_str(), L""); }, 3, L"ParsePstReq"},
        {"hci", [&] { return hci_.HandleCommand(L"h", kLong.c_str()); }, 3, L"ParsePstReq"},
        {"shell", [&] { return shell_.HandleCommand(L"sh", kLong.c_str()); }, 3, L"ParsePstReq"},
        {"raw", [&] { return shell_.ParsePstRawData(kLong.c_str()); }, 1, L"ParsePstRawData"},
    };
  }
  // What the line posts when nothing fails.
  std::vector<kivtest::ServicePost> Whole(const LineRow& row) {
    Services().posts.clear();
    EXPECT_EQ(row.run(), 0);
    EXPECT_EQ(Posts().size(), row.chunks);
    return Posts();
  }

  SvcKivClass::KivAt at_;
  SvcKivClass::KivHci hci_;
  SvcKivClass::KivShell shell_;
  SvcKivClass::KivCts cts_;
};

TEST_F(FailingSteps, AZeroingThatReportsAnErrorIsTracedAndTheChunkGoesOut) {
  for (const LineRow& row : Lines()) {
    const auto whole = Whole(row);
    for (int n = 1; n <= static_cast<int>(row.chunks) + 1; ++n) {
      SCOPED_TRACE(std::string(row.name) + ", zeroing " + std::to_string(n));
      Services().posts.clear();
      kivtest::TraceEar traces;
      const FailingCopy failing(Kind::kZeroing, n);
      EXPECT_EQ(row.run(), 0);
      EXPECT_TRUE(Posts() == whole);
      const bool last = n > static_cast<int>(row.chunks);
      EXPECT_EQ(failing.Happened(), !last);
      std::vector<std::wstring> expected;
      if (!last) {
        expected.push_back(std::wstring(row.trace) + L" " +
                           std::to_wstring(kivtest::kBoundedError));
      }
      EXPECT_EQ(traces.Lines(), expected);
    }
  }
}

// Two copies a chunk: the conversion's own, and that into the packet.
TEST_F(FailingSteps, AConversionOrCopyThatFailsStopsTheLineAtItsChunk) {
  for (const LineRow& row : Lines()) {
    const auto whole = Whole(row);
    for (std::size_t n = 1; n <= 2 * row.chunks; ++n) {
      SCOPED_TRACE(std::string(row.name) + ", copy " + std::to_string(n));
      Services().posts.clear();
      fake::ResetSeam();
      const FailingCopy failing(Kind::kCopy, static_cast<int>(n));
      EXPECT_EQ(row.run(), -1);
      EXPECT_TRUE(failing.Happened());
      EXPECT_TRUE(Posts() == FirstOf(whole, (n - 1) / 2));
      EXPECT_EQ(Pauses(), (n - 1) / 2);
      EXPECT_EQ(pool::LiveBlocks(), 0u);
    }
    EXPECT_TRUE(Whole(row) == whole);
  }
}

TEST_F(FailingSteps, AnAllocationOrConversionThatFailsStopsTheLineAtItsChunk) {
  for (const LineRow& row : Lines()) {
    const auto whole = Whole(row);
    for (std::size_t n = 1; n <= 2 * row.chunks; ++n) {
      SCOPED_TRACE(std::string(row.name) + ", allocation " + std::to_string(n));
      Services().posts.clear();
      pool::FailNth(n);
      EXPECT_EQ(row.run(), -1);
      EXPECT_TRUE(pool::Failed());
      pool::FailNth(0);
      EXPECT_TRUE(Posts() == FirstOf(whole, (n - 1) / 2));
      EXPECT_EQ(pool::LiveBlocks(), 0u);
    }
  }
}

TEST_F(FailingSteps, AnAnswerWhoseCopyFailsIsNotShown) {
  struct AnswerRow {
    const char* name;
    SvcKivClass::TextChannel& channel;
    std::uint32_t id;
    std::int32_t failed;
  };
  const AnswerRow rows[] = {{"at", at_, 0xA011, -1},
                            {"hci", hci_, 0x7E0C, -1},
                            {"shell", shell_, 0xA012, -1},
                            {"cts", cts_, 0xA010, 0}};
  const std::uint8_t text[] = {'a', 'n', 's'};
  for (const AnswerRow& row : rows) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(std::string(row.name) + ", copy " + std::to_string(n));
      const std::size_t before = Messages().size();
      const FailingCopy failing(Kind::kCopy, n);
      const std::int32_t answer = row.channel.HandleResponse(row.id, nullptr, text, sizeof text);
      if (!failing.Happened()) {
        EXPECT_EQ(answer, 0);
        ASSERT_EQ(Messages().size(), before + 1);
        EXPECT_EQ(Messages()[before].text, row.failed == 0 ? L"ans\n" : L"ans");
        EXPECT_GT(n, 1);
        break;
      }
      EXPECT_EQ(answer, row.failed);
      EXPECT_EQ(Messages().size(), before);
      EXPECT_EQ(pool::LiveBlocks(), 0u);
    }
  }
}

// --- through the controller, with the module's own channels

class FailingStepsOfAModule : public testing::Test {
 protected:
  FailingStepsOfAModule() : bench_({.channels = SvcKivClass::BuiltInChannels()}) {}
  ~FailingStepsOfAModule() override { version_query::NoteDevice(-1, -1); }

  std::size_t Shown() { return bench_.Messages().All().size(); }
  // Runs the line with the n-th allocation failing, for every n until none fails; `fail` arms it
  // and `failed` tells whether it happened.
  void SweepLine(const std::wstring& line, const std::wstring& unknown) {
    fake::ResetSeam();
    ASSERT_EQ(bench_.Run(line), kivtest::ModuleBench::kUntouched);
    const std::vector<fake::Post> whole = fake::Posts();
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      fake::ResetSeam();
      pool::FailNth(n);
      const std::wstring reply = bench_.Run(line);
      const bool failed = pool::Failed();
      pool::FailNth(0);
      EXPECT_EQ(pool::LiveBlocks(), 0u);
      if (!failed) {
        EXPECT_TRUE(fake::Posts() == whole);
        EXPECT_EQ(n, 2 * whole.size() + 1) << "two allocations a chunk";
        return;
      }
      EXPECT_EQ(reply, unknown);
      EXPECT_TRUE(fake::Posts() == FirstOf(whole, (n - 1) / 2));
    }
  }

  kivtest::ModuleBench bench_;
};

TEST_F(FailingStepsOfAModule, MakeALineUnknownThatCouldNotBeSentWhole) {
  for (const std::int64_t variant : {0, 248, 249}) {
    version_query::NoteDevice(variant, 0);
    SweepLine(L"sh " + kLong, L"Command 'sh' is not exist\n");
    SweepLine(L"at+" + kLong, L"Command 'at+" + std::wstring(47, L'x') + L"' is not exist\n");
  }
  version_query::NoteDevice(248, 38);
  SweepLine(L"anything " + kLong, L"Command 'anything' is not exist\n");
  version_query::NoteDevice(246, 0);
  SweepLine(L"anything " + kLong, L"Command 'anything' is not exist\n");
}

TEST_F(FailingStepsOfAModule, LeaveALineTakenThatAnotherChannelSent) {
  version_query::NoteDevice(246, 38);
  for (std::uint64_t n = 1; n <= 5; ++n) {
    SCOPED_TRACE(n);
    fake::ResetSeam();
    pool::FailNth(n);
    EXPECT_EQ(bench_.Run(L"line"), kivtest::ModuleBench::kUntouched);
    pool::FailNth(0);
    // The shell's raw text takes the first two allocations, the HCI frame the next two.
    EXPECT_EQ(fake::Posts().size(), n <= 4 ? 1u : 2u);
    EXPECT_EQ(fake::Posts()[0].kind, n <= 2 ? fake::PostKind::kSdt : fake::PostKind::kRaw);
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }
}

TEST_F(FailingStepsOfAModule, LoseAnAnswerAtMost) {
  version_query::NoteDevice(248, 0);
  for (const std::uint32_t id : {0xA011u, 0xA012u, 0x7E0Cu, 0xA010u, 0x500Cu}) {
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(std::to_string(id) + ", allocation " + std::to_string(n));
      const std::size_t before = Shown();
      pool::FailNth(n);
      fake::DeliverCnf(id, {'a', 'n', 's'});
      const bool failed = pool::Failed();
      pool::FailNth(0);
      EXPECT_EQ(pool::LiveBlocks(), 0u);
      const auto all = bench_.Messages().All();
      if (!failed) {
        ASSERT_EQ(all.size(), before + 1);
        EXPECT_FALSE(all[before].isNull);
        break;
      }
      // A text of a test case may come as a null payload; the others fall to the renderer.
      for (std::size_t i = before; i < all.size(); ++i) {
        EXPECT_TRUE(all[i].kind == 1 || (all[i].kind == 3 && all[i].isNull)) << all[i].kind;
      }
    }
  }
}

}  // namespace
