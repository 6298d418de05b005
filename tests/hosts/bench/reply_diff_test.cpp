// Which fields of a reply changed, and how they are named.
#include "hosts/bench/reply_diff.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/hand_tree.h"

using hostbench::FieldChange;
using hostbench::ParameterShape;
using hostbench::ReplyChanges;
using kivtest::Array;
using kivtest::Characters;
using kivtest::HandTree;
using kivtest::Single;
using kivtest::Structure;

namespace {

using Specs = std::vector<ParamNodeSpec>;

Specs Reply(std::uint64_t uptime, std::int64_t y, std::uint8_t second, std::uint64_t part,
            const char* name = "bench") {
  return {Structure(0, L"struct", L"reply"),
          Characters(1, L"name", name, 16),
          Single(1, L"uptime", 4, uptime),
          Structure(1, L"inner", L"inner_type"),
          Single(2, L"x", 8, 0xFFFFFFFFFFFFFFFFu),
          Single(2, L"y", 2, static_cast<std::uint64_t>(y), true),
          Array(1, L"table", 2, {4, 0, second, 0, 6, 0}),
          Structure(1, L"parts", L"part", 17),
          Structure(2, L"parts[0]", L"part"),
          Single(3, L"p", 4, 7),
          Structure(2, L"parts[1]", L"part"),
          Single(3, L"p", 8, part)};
}

ReplyChanges Compare(const Specs& before, const Specs& after) {
  HandTree older(before);
  HandTree newer(after);
  return hostbench::CompareShapes(ParameterShape(older.Root()), ParameterShape(newer.Root()));
}

TEST(CompareShapes, FindsNothingInEqualReplies) {
  const ReplyChanges changes = Compare(Reply(1, 2, 3, 4), Reply(1, 2, 3, 4));
  EXPECT_EQ(changes.fields, (std::vector<FieldChange>{}));
  EXPECT_EQ(changes.count, 0u);
}

TEST(CompareShapes, NamesValuesOfStructuresArraysAndElementsByTheirPaths) {
  const ReplyChanges changes =
      Compare(Reply(12, -2, 5, 0x8000000000000000u), Reply(15, 3, 9, 0x8000000000000001u, "board"));
  EXPECT_EQ(changes.fields, (std::vector<FieldChange>{
                                {L"name", L"\"bench\"", L"\"board\""},
                                {L"uptime", L"12", L"15"},
                                {L"inner.y", L"-2", L"3"},
                                {L"table[1]", L"5", L"9"},
                                {L"parts[1].p", L"9223372036854775808", L"9223372036854775809"}}));
  EXPECT_EQ(changes.count, 5u);
}

TEST(CompareShapes, LooksAtCharactersOnlyUpToTheFirstZero) {
  Specs before = {Structure(0, L"struct", L"reply"), Characters(1, L"name", "ab", 8)};
  Specs after = before;
  after[1].bytes[5] = 'x';
  EXPECT_EQ(Compare(before, after).count, 0u);
  after[1].bytes[2] = 'c';
  EXPECT_EQ(Compare(before, after).fields,
            (std::vector<FieldChange>{{L"name", L"\"ab\"", L"\"abc\""}}));
}

TEST(CompareShapes, CountsMoreThanItDescribes) {
  constexpr std::size_t kElements = 5000;
  const Specs before = {Structure(0, L"struct", L"reply"),
                        Array(1, L"data", 1, std::vector<std::uint8_t>(kElements, 1))};
  const Specs after = {Structure(0, L"struct", L"reply"),
                       Array(1, L"data", 1, std::vector<std::uint8_t>(kElements, 2))};
  const ReplyChanges changes = Compare(before, after);
  EXPECT_EQ(changes.count, kElements);
  ASSERT_EQ(changes.fields.size(), ReplyChanges::kMaxFields);
  EXPECT_EQ(changes.fields.back(), (FieldChange{L"data[999]", L"1", L"2"}));
}

TEST(CompareShapes, SaysNothingOfReplyBodiesWithoutFields) {
  EXPECT_EQ(hostbench::CompareShapes(ParameterShape(), ParameterShape()).count, 0u);
}

TEST(CompareReplies, AnswersAStatusForACommandThatNobodyDescribes) {
  ReplyChanges changes;
  const std::vector<std::uint8_t> body = {1};
  EXPECT_NE(hostbench::CompareReplies(0xFFFFFFF0, body, body, changes), 0u);
  EXPECT_EQ(changes.count, 0u);
}

}  // namespace
