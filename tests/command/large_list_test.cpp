// A catalogue of 100,000 commands in the controller's list: all there, found by name, and not
// larger in memory than promised.
#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "tests/fakes/module_bench.h"

namespace {

constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;

// What the process has from the allocator; 0 where a sanitizer's own one is in its place.
std::size_t HeapBytes() {
  const struct mallinfo2 info = ::mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace

TEST(LargeList, OfAHundredThousandCommandsTakesAtMostSixteenMebibytes) {
  const kivtest::ScratchSetup setup;
  SvcKivClass::LiveSwitches switches;
  SvcKivClass::ServiceContext context;
  context.switches = &switches;
  const std::size_t before = HeapBytes();
  CmdCtrl controller({.context = context,
                      .channels = {},
                      .cataloguePath = QCString::FromUtf8(std::string(kivtest::BuildDir()) +
                                                          "/generated/large.kcat")});
  controller.Initial();
  EXPECT_LE(HeapBytes() - before, kMostBytes);
  const SvcKivSpace::MorviCmdList& list = *controller.GetMorviCmdList();
  ASSERT_GT(list.Commands().GetCount(), 90'000u);  // the others are not listed
  for (std::size_t i = 0; i < list.Commands().GetCount(); i += 97) {
    const CmdInfo& command = list.Commands()[i];
    ASSERT_EQ(list.Find(command.GetName()), &command) << i;
  }
  EXPECT_EQ(list.Find(L"no such name"), nullptr);
}
