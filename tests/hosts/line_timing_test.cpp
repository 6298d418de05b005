// The steps of the last lines and their quantiles, on a clock of the test's own.
#include "hosts/terminal/line_timing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kiv {
namespace {

using namespace std::chrono_literals;

LineRecord::Time At(std::chrono::nanoseconds moment) {
  return LineRecord::Time(std::chrono::duration_cast<LineRecord::Time::duration>(moment));
}

FinishedLine Line(const std::wstring& text, std::chrono::nanoseconds device) {
  FinishedLine line;
  line.text = text;
  line.typed = At(1s);
  line.record.posted = At(1s + 7us);
  line.record.firstByte = At(1s + 7us + device);
  line.record.decoded = At(1s + 16us + device);
  line.record.line = 1;
  line.shown = At(1s + 26us + device);
  return line;
}

TEST(LineTiming, HasNothingToSayBeforeTheFirstLine) { EXPECT_EQ(LineTiming().Text(10), ""); }

TEST(LineTiming, ShowsTheStepsOfTheLastLinesAndTheQuantilesOfAll) {
  LineTiming timing;
  for (int i = 0; i < 98; ++i) timing.Add(Line(L"slow", 31ns));
  timing.Add(Line(L"mem_info", 45us));
  timing.Add(Line(L"nv_write 7,3,[0x10,0x20,0x30]", 12500us));
  EXPECT_EQ(timing.Text(2),
            "line                         posted first byte    decoded      shown      total\n"
            "mem_info                    7.00 us    45.0 us    9.00 us    10.0 us    71.0 us\n"
            "nv_write 7,3,[0x10,0x...    7.00 us    12.5 ms    9.00 us    10.0 us    12.5 ms\n"
            "p50 of 100                  7.04 us      31 ns    9.21 us    10.2 us    26.1 us\n"
            "p99 of 100                  7.04 us    45.1 us    9.21 us    10.2 us    71.7 us\n");
}

TEST(LineTiming, LeavesOutAStepThatALineDidNotHave) {
  LineTiming timing;
  FinishedLine text = Line(L"at", 45us);
  text.record.firstByte.reset();
  timing.Add(text);
  EXPECT_EQ(timing.Text(1),
            "line                         posted first byte    decoded      shown      total\n"
            "at                          7.00 us          -    54.0 us    10.0 us    71.0 us\n"
            "p50 of 1                    7.04 us          -    54.3 us    10.2 us    71.7 us\n"
            "p99 of 1                    7.04 us          -    54.3 us    10.2 us    71.7 us\n");
}

TEST(LineTiming, CountsOnlyLinesThatWereAnswered) {
  LineTiming timing;
  FinishedLine line = Line(L"help", 45us);
  line.record = {};
  timing.Add(line);
  line = Line(L"sys_info", 45us);
  line.record.decoded.reset();
  timing.Add(line);
  line = Line(L"ldnv image.bin", 45us);
  line.isLoad = true;
  timing.Add(line);
  EXPECT_EQ(timing.Text(10), "");
}

TEST(LineTiming, KeepsSoManyLinesAndCountsAll) {
  LineTiming timing;
  for (std::size_t i = 0; i < LineTiming::kKept + 5; ++i) timing.Add(Line(L"x", 45us));
  const std::string text = timing.Text(LineTiming::kKept * 2);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'),
            static_cast<std::ptrdiff_t>(LineTiming::kKept + 3));
  EXPECT_NE(text.find("p50 of " + std::to_string(LineTiming::kKept + 5) + " "), std::string::npos);
}

TEST(LineTiming, EscapesLinesAndCountsTheirCells) {
  LineTiming timing;
  timing.Add(Line(L"a\x1b[2J\u6e29\u5ea6\u6e29\u5ea6\u6e29\u5ea6\u6e29\u5ea6\u6e29", 45us));
  const std::string text = timing.Text(1);
  EXPECT_NE(text.find("a\\x1b[2J\u6e29\u5ea6\u6e29\u5ea6\u6e29\u5ea6...     7.00 us"),
            std::string::npos)
      << text;
}

TEST(DurationText, HasThreeDigitsAndAUnit) {
  EXPECT_EQ(DurationText(0ns), "0 ns");
  EXPECT_EQ(DurationText(999ns), "999 ns");
  EXPECT_EQ(DurationText(1000ns), "1.00 us");
  EXPECT_EQ(DurationText(9994ns), "9.99 us");
  EXPECT_EQ(DurationText(9996ns), "10.0 us");
  EXPECT_EQ(DurationText(99'940ns), "99.9 us");
  EXPECT_EQ(DurationText(99'960ns), "100 us");
  EXPECT_EQ(DurationText(999'499ns), "999 us");
  EXPECT_EQ(DurationText(999'600ns), "1.00 ms");
  EXPECT_EQ(DurationText(12'345'678'901ns), "12.3 s");
  EXPECT_EQ(DurationText(3600s), "3600 s");
}

}  // namespace
}  // namespace kiv
