// What is said of changed fields, and how little of it when there is much.
#include "hosts/terminal/change_notes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kiv {
namespace {

using hostbench::ReplyChanges;

TEST(ChangesText, IsOneRowForFewFields) {
  EXPECT_EQ(ChangesText("sys_info", {{{L"uptime", L"12", L"15"}}, 1}),
            "kiv: changed since the last sys_info: uptime 12 -> 15\n");
  EXPECT_EQ(ChangesText("x", {{{L"a.b[2]", L"1", L"2"}, {L"n", L"\"a\"", L"\"\""}}, 2}),
            "kiv: changed since the last x: a.b[2] 1 -> 2, n \"a\" -> \"\"\n");
}

TEST(ChangesText, SaysThatNothingChanged) {
  EXPECT_EQ(ChangesText("sys_info", {}), "kiv: nothing changed since the last sys_info\n");
}

TEST(ChangesText, IsARowForEachOfManyOrLongFields) {
  EXPECT_EQ(ChangesText("mem_info", {{{L"free", L"12", L"15"},
                                      {L"cached_kib", L"1", L"2"},
                                      {L"a", L"1", L"2"},
                                      {L"b", L"1", L"2"}},
                                     4}),
            "kiv: changed since the last mem_info:\n"
            "kiv:   free        12 -> 15\n"
            "kiv:   cached_kib  1 -> 2\n"
            "kiv:   a           1 -> 2\n"
            "kiv:   b           1 -> 2\n");
  const std::wstring path(90, L'p');
  EXPECT_EQ(ChangesText("x", {{{path, L"1", L"2"}, {L"q", L"1", L"2"}}, 2}),
            "kiv: changed since the last x:\nkiv:   " + std::string(90, 'p') +
                "  1 -> 2\nkiv:   q" + std::string(39, ' ') + "  1 -> 2\n");
}

TEST(ChangesText, CountsWhatItDoesNotShow) {
  ReplyChanges changes;
  for (int i = 0; i < 150; ++i) changes.fields.push_back({L"f", L"1", L"2"});
  changes.count = 5000;
  const std::string text = ChangesText("x", changes);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 102);
  EXPECT_TRUE(text.ends_with("kiv:   f  1 -> 2\nkiv:   and 4900 more\n")) << text;
}

TEST(ChangesText, LetsNoTextOfADeviceActOnTheTerminal) {
  EXPECT_EQ(ChangesText("x", {{{L"n", L"\"\x1b[2J\n\"", L"\"\u202e\""}}, 1}),
            "kiv: changed since the last x: n \"\\x1b[2J\\x0a\" -> \"\\u202e\"\n");
}

}  // namespace
}  // namespace kiv
