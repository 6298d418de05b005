// The bytes around shown lines, and the time in front of them.
#include "hosts/terminal/line_painter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>

namespace kiv {
namespace {

using namespace std::chrono_literals;

const TimeStamp::Clock::time_point kSomeTime{1'700'000'000'123ms};

// As a reader of the terminal's copy sees it.
std::string WithoutColours(const std::string& text) {
  return std::regex_replace(text, std::regex("\x1b\\[[0-9;]*[mK]"), "");
}

class LinePainterTest : public testing::Test {
 protected:
  LinePainterTest() { painter.SetColours(LineColours({}, ColourDepth::k8, {8, true, true, true})); }

  LinePainter painter;
};

TEST_F(LinePainterTest, EachLineIsPaintedByItselfAndItsEndIsNot) {
  EXPECT_EQ(painter.Paint(ShownKind::kConfirmation, "\na\n\nb\n", kSomeTime),
            "\n\x1b[32;40m\x1b[Ka\x1b[m\n\n\x1b[32;40m\x1b[Kb\x1b[m\n");
}

TEST_F(LinePainterTest, WhatGoesOnInALineErasesNothing) {
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "a", kSomeTime), "\x1b[37;40m\x1b[Ka\x1b[m");
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "b\n", kSomeTime), "\x1b[37;40mb\x1b[m\n");
  painter.Paint(ShownKind::kAt, "c", kSomeTime);
  painter.LineWasEnded();
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "d", kSomeTime), "\x1b[37;40m\x1b[Kd\x1b[m");
}

TEST_F(LinePainterTest, TheTextIsTheSameWithoutTheColours) {
  const std::string text = "one\n\n\ttwo \xe6\xbc\xa2\n\\x1b[31m three";
  for (std::size_t kind = 0; kind < kShownKindCount; ++kind) {
    LinePainter each = painter;
    EXPECT_EQ(WithoutColours(each.Paint(static_cast<ShownKind>(kind), text, kSomeTime)), text);
  }
}

TEST_F(LinePainterTest, WhatThePatternFindsStandsOutWhereTheUserFilters) {
  std::string problem;
  const auto pattern = LinePattern::Make(L"b+", problem);
  painter.SetPattern(pattern.get());
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "abbc\n", kSomeTime),
            "\x1b[37;40m\x1b[Ka\x1b[m\x1b[7;33;40mbb\x1b[m\x1b[37;40mc\x1b[m\n");
  EXPECT_EQ(painter.Paint(ShownKind::kConfirmation, "abbc\n", kSomeTime),
            "\x1b[32;40m\x1b[Kabbc\x1b[m\n");
}

TEST(LinePainter, WithoutColoursAndTimesTheBytesAreThoseOfTheText) {
  LinePainter painter;
  EXPECT_EQ(painter.Paint(ShownKind::kRequest, "a\n\nb", kSomeTime), "a\n\nb");
}

TEST(LinePainter, LinesBeginWithTheTimeAndGoOnWithoutIt) {
  LinePainter painter;
  painter.SetStamp(StampForm::kTime);
  TimeStamp stamp;
  const std::string time(stamp.Text(kSomeTime, StampForm::kTime));
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "\na\nb", kSomeTime), "\n" + time + "a\n" + time + "b");
  EXPECT_EQ(painter.Paint(ShownKind::kAt, "c\nd\n", kSomeTime), "c\n" + time + "d\n");
}

TEST(LinePainter, TimesOfLinesDoNotRunBackwardsUnlessTheClockIsSetBack) {
  LinePainter painter;
  painter.SetStamp(StampForm::kTime);
  const auto line = [&painter](auto at) { return painter.Paint(ShownKind::kAt, "a\n", at); };
  const auto expected = [](auto at) {
    TimeStamp stamp;
    return std::string(stamp.Text(at, StampForm::kTime)) + "a\n";
  };
  EXPECT_EQ(line(kSomeTime + 3ms), expected(kSomeTime + 3ms));
  EXPECT_EQ(line(kSomeTime), expected(kSomeTime + 3ms));
  EXPECT_EQ(line(kSomeTime + 4ms), expected(kSomeTime + 4ms));
  EXPECT_EQ(line(kSomeTime - 1h), expected(kSomeTime - 1h));
}

TEST(TimeStamp, IsTheLocalTimeWithMilliseconds) {
  TimeStamp stamp;
  const std::time_t second = 1'700'000'000;
  std::tm local{};
  localtime_r(&second, &local);
  char expected[40];
  std::strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S", &local);
  EXPECT_EQ(stamp.Text(kSomeTime, StampForm::kDateTime), std::string(expected) + ".123 ");
  EXPECT_EQ(stamp.Text(kSomeTime, StampForm::kTime), std::string(expected + 11) + ".123 ");
  EXPECT_EQ(stamp.Text(kSomeTime + 876ms, StampForm::kTime), std::string(expected + 11) + ".999 ");
  EXPECT_EQ(stamp.Text(kSomeTime, StampForm::kNone), "");
}

TEST(TimeStamp, FollowsTheClockBackwards) {
  TimeStamp stamp;
  const std::string first(stamp.Text(kSomeTime, StampForm::kDateTime));
  const std::string later(stamp.Text(kSomeTime + 90s, StampForm::kDateTime));
  EXPECT_NE(first, later);
  EXPECT_EQ(stamp.Text(kSomeTime, StampForm::kDateTime), first);
}

}  // namespace
}  // namespace kiv
