// The memory of a running module while indications storm in: what it is early on, it is at the end.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>

#include "platform/bounded/pool.h"
#include "tests/live/module_over_link.h"
#include "tests/support/sweep.h"

namespace {

using linktest::Bytes;
using linktest::DeviceEnd;
using linktest::NaiveFrame;
using livetest::ModuleOverLink;
using SvcKivClass::SvcKivApp;

constexpr std::int64_t kFullIndications = 1'000'000;
constexpr std::size_t kInOneWrite = 50;
constexpr std::size_t kEachLook = 1000;
// The device's own frames under way, one read of the link, and the allocator's small change.
constexpr std::size_t kSlackBytes = 512 * 1024;
constexpr std::uint64_t kSlackBlocks = 8;

// What the process has from the allocator; 0 where a sanitizer's own one is in its place.
std::size_t HeapBytes() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

// Indications of the command "tick" until so many were sent, then none.
void Storm(DeviceEnd& end, std::int64_t count) {
  if (!end.Greet()) return;
  NaiveFrame ind;
  ind.kind = linktest::kInd;
  ind.id = 0x1101;
  ind.payload = {1, 2, 0, 3, 0, 0, 0};
  while (count > 0) {
    Bytes line;
    for (std::size_t i = 0; i < kInOneWrite && count > 0; ++i, --count) {
      ind.sequence = end.NextSequence();
      end.SkipSequence(1);
      linktest::Append(line, linktest::NaiveLine(linktest::Whole(ind)));
    }
    if (!end.SendBytes(line)) return;
  }
  end.Linger();
}

// The largest figures seen by the view, early and over all.
class Figures {
 public:
  void Look(std::size_t shown) {
    blocks_ = std::max(blocks_, pool::LiveBlocks());
    if (shown % kEachLook != 0) return;
    const std::size_t heap = HeapBytes();
    if (shown <= 2 * kEachLook) early_ = std::max(early_, heap);
    all_ = std::max(all_, heap);
  }
  std::uint64_t MostBlocks() const { return blocks_; }
  std::size_t EarlyBytes() const { return early_; }
  std::size_t MostBytes() const { return all_; }

 private:
  std::uint64_t blocks_ = 0;
  std::size_t early_ = 0;
  std::size_t all_ = 0;
};

class StormMemory : public ModuleOverLink {};

TEST_F(StormMemory, StaysWhatItWasAfterTheFirstTwoThousandIndications) {
  const std::int64_t count = kivtest::SweepCount(kFullIndications);
  linktest::TestDevice device(directory_.Path("s"),
                              [count](DeviceEnd& end, int) { Storm(end, count); });
  Figures figures;
  std::size_t shown = 0;
  SvcKivApp app;
  ear_.OnlyCount();
  Listen(app);
  // After the ear's own connection: the last text is counted when all looks were taken.
  QObject::connect(
      app.GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage, app.GetMsgSender(),
      [&](SvcKivSpace::SvcKivMsgType, void*) { figures.Look(++shown); }, Qt::DirectConnection);
  const std::uint64_t blocksBefore = pool::LiveBlocks();
  app.GetSwitches().indicationsEnabled = true;
  app.SetIsEnableInstantInd(true);
  app.Start();
  app.SetIsEnableInstantInd(true);
  ASSERT_TRUE(ear_.WaitForConnected());
  const std::uint64_t gapsBefore = devlink::GetLinkCounters().sequenceGaps;
  EXPECT_TRUE(ear_.WaitForCount(static_cast<std::size_t>(count)));
  app.Stop();
  EXPECT_EQ(shown, static_cast<std::size_t>(count)) << "nothing may be lost";
  EXPECT_EQ(devlink::GetLinkCounters().sequenceGaps, gapsBefore);
  EXPECT_LE(figures.MostBlocks(), blocksBefore + kSlackBlocks);
  EXPECT_LE(figures.MostBytes(), figures.EarlyBytes() + kSlackBytes);
}

}  // namespace
