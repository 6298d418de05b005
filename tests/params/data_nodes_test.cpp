// FillDataNodes: one chunk of a loaded file into three neighbouring nodes.
#include <gtest/gtest.h>

#include "tests/params/fill_trees.h"

using namespace kivtest;
using SvcKivClass::FillDataNodes;

namespace {

const std::uint8_t kData[] = {0xA1, 0xA2, 0xA3, 0xA4};

std::vector<ParamNodeSpec> ChunkStructure() {
  return {Structure(0, L"struct", L"chunk"), Single(1, L"offset", 4), Single(1, L"length", 2),
          Array(1, L"data", 1, {0, 0, 0, 0})};
}

}  // namespace

TEST(DataNodes, ThreeNeighboursGetLeadingValueLengthAndData) {
  HandTree tree(ChunkStructure());
  std::uint32_t result = 0;
  FillDataNodes(tree.Node(1), 0x01020304, 4, kData, &result);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(tree.AllBytes(), "04030201 0400 a1a2a3a4");
}

TEST(DataNodes, NodesThatAreNotThereAreLeftOut) {
  HandTree tree(ChunkStructure());
  std::uint32_t result = 0;
  FillDataNodes(nullptr, 1, 4, kData, &result);
  EXPECT_EQ(tree.AllBytes(), "00000000 0000 00000000");
  HandTree one({Structure(0, L"struct", L"chunk"), Single(1, L"offset", 4)});
  FillDataNodes(one.Node(1), 9, 4, kData, &result);
  EXPECT_EQ(one.AllBytes(), "09000000");
  HandTree two(
      {Structure(0, L"struct", L"chunk"), Single(1, L"offset", 4), Single(1, L"length", 2)});
  FillDataNodes(two.Node(1), 9, 4, kData, &result);
  EXPECT_EQ(two.AllBytes(), "09000000 0400");
  EXPECT_EQ(result, 0u);
}

TEST(DataNodes, LeadingValueKeepsAll64Bits) {
  HandTree tree({Structure(0, L"struct", L"chunk"), Single(1, L"offset", 8)});
  std::uint32_t result = 0;
  FillDataNodes(tree.Node(1), 0x1122334455667788, 0, kData, &result);
  EXPECT_EQ(tree.AllBytes(), "8877665544332211");
}

TEST(DataNodes, StatusesAreOredIntoTheCallersResult) {
  const std::uint8_t tooMuch[5] = {1, 2, 3, 4, 5};
  HandTree probe(ChunkStructure());
  const std::uint32_t refused = probe.Node(3)->SetValueBuf(tooMuch, 5);
  ASSERT_NE(refused, 0u);
  HandTree tree(ChunkStructure());
  std::uint32_t result = 0x40000000;
  FillDataNodes(tree.Node(1), 5, 5, tooMuch, &result);
  EXPECT_EQ(result, 0x40000000u | refused);
  EXPECT_EQ(tree.AllBytes(), "05000000 0500 00000000");
  result = 0x40000000;
  FillDataNodes(tree.Node(1), 5, 4, kData, &result);
  EXPECT_EQ(result, 0x40000000u);
}

TEST(DataNodes, FailureOfAnEarlierNodeDoesNotStopTheLaterOnes) {
  HandTree tree({Structure(0, L"struct", L"chunk"), Array(1, L"offset", 1, {0, 0}),
                 Single(1, L"length", 2), Array(1, L"data", 1, {0, 0, 0, 0})});
  HandTree probe({Structure(0, L"struct", L"chunk"), Array(1, L"offset", 1, {0, 0})});
  const std::uint32_t refused = probe.Node(1)->SetValue(5);
  ASSERT_NE(refused, 0u);
  std::uint32_t result = 0;
  FillDataNodes(tree.Node(1), 5, 4, kData, &result);
  EXPECT_EQ(result, refused);
  EXPECT_EQ(tree.AllBytes(), "0000 0400 a1a2a3a4");
}
