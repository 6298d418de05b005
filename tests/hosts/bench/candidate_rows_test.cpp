// The list above a half-typed line.
#include "hosts/bench/candidate_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using hostbench::CandidateRows;
using hostbench::FieldCandidate;

namespace {

std::vector<FieldCandidate> Numbered(int count) {
  std::vector<FieldCandidate> all;
  for (int i = 0; i < count; ++i) all.push_back({L"name_" + std::to_wstring(100 + i), {}});
  return all;
}

TEST(CandidateRows, HaveARowForEachWithItsNote) {
  EXPECT_EQ(CandidateRows({{L"nv_read", L"reads an item"}, {L"note", L""}}, 2, {40, 10}),
            "nv_read  reads an item\n"
            "note\n");
}

TEST(CandidateRows, AreCutWhereTheTerminalEnds) {
  EXPECT_EQ(
      CandidateRows({{L"nv_read", L"reads an item"}, {L"字", L"漢字漢字漢字漢"}}, 2, {20, 10}),
      "nv_read  reads an it\n"
      "字       漢字漢字漢\n");
}

TEST(CandidateRows, EscapeWhatWouldActOnATerminal) {
  EXPECT_EQ(CandidateRows({{L"a", L"b\x1b[2J\n"}}, 1, {40, 10}), "a  b\\x1b[2J\\x0a\n");
  EXPECT_EQ(CandidateRows({{L"a\x9b", L""}, {L"b", L""}}, 2, {40, 10}), "a\\x9b  b\n");
}

TEST(CandidateRows, StandInColumnsWithoutNotesAndAreReadDownwards) {
  EXPECT_EQ(CandidateRows(Numbered(5), 5, {30, 10}),
            "name_100  name_102  name_104\n"
            "name_101  name_103\n");
  EXPECT_EQ(CandidateRows(Numbered(3), 3, {10, 10}), "name_100\nname_101\nname_102\n");
  EXPECT_EQ(CandidateRows(Numbered(2), 2, {5, 10}), "name_\nname_\n");
}

TEST(CandidateRows, LeaveNotesOutWhereThereAreTooMany) {
  std::vector<FieldCandidate> all = Numbered(4);
  for (FieldCandidate& each : all) each.note = L"a note";
  EXPECT_EQ(CandidateRows(all, 4, {40, 3}), "name_100  name_101  name_102  name_103\n");
}

TEST(CandidateRows, CountWhatIsLeftOut) {
  EXPECT_EQ(CandidateRows(Numbered(100), 412, {30, 3}),
            "name_100  name_102  name_104\n"
            "name_101  name_103  name_105\n"
            "and 406 more\n");
  EXPECT_EQ(CandidateRows(Numbered(2), 9, {30, 10}), "name_100  name_101\nand 7 more\n");
}

TEST(CandidateRows, AreNoneForNothing) { EXPECT_EQ(CandidateRows({}, 0, {80, 24}), ""); }

}  // namespace
