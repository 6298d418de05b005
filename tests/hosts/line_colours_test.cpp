// In which colours lines are shown, and whether at all.
#include "hosts/terminal/line_colours.h"

#include <gtest/gtest.h>

#include <string>

#include "hosts/terminal/colour_choice.h"

namespace kiv {
namespace {

ColourSurroundings OnTerminal(std::int32_t colours) {
  ColourSurroundings terminal;
  terminal.isTerminal = true;
  terminal.kind = "some";
  terminal.abilities = {colours, true, true, true};
  return terminal;
}

TEST(ColourChoice, IsOneOfThreeWords) {
  EXPECT_EQ(ColourChoiceOf("auto"), ColourChoice::kAuto);
  EXPECT_EQ(ColourChoiceOf("always"), ColourChoice::kAlways);
  EXPECT_EQ(ColourChoiceOf("never"), ColourChoice::kNever);
  for (const char* other : {"", "Always", "never ", "1"}) EXPECT_FALSE(ColourChoiceOf(other));
}

TEST(ColourChoice, TakesAsManyColoursAsTheTerminalHas) {
  const auto depth = [](std::int32_t colours) {
    return ChooseColourDepth(ColourChoice::kAuto, OnTerminal(colours));
  };
  EXPECT_EQ(depth(-1), ColourDepth::kMarks);
  EXPECT_EQ(depth(7), ColourDepth::kMarks);
  EXPECT_EQ(depth(8), ColourDepth::k8);
  EXPECT_EQ(depth(16), ColourDepth::k16);
  EXPECT_EQ(depth(88), ColourDepth::k16);
  EXPECT_EQ(depth(256), ColourDepth::k256);
  EXPECT_EQ(depth(16777216), ColourDepth::kTrue);
}

TEST(ColourChoice, ColortermMeansAllColours) {
  ColourSurroundings terminal = OnTerminal(8);
  for (const char* value : {"truecolor", "24bit"}) {
    terminal.trueColour = value;
    EXPECT_EQ(ChooseColourDepth(ColourChoice::kAuto, terminal), ColourDepth::kTrue);
  }
  terminal.trueColour = "yes";
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kAuto, terminal), ColourDepth::k8);
}

TEST(ColourChoice, APipeADumbTerminalAndNoTermHaveNothing) {
  ColourSurroundings terminal = OnTerminal(256);
  terminal.trueColour = "truecolor";
  for (const char* kind : {"", "dumb"}) {
    terminal.kind = kind;
    EXPECT_EQ(ChooseColourDepth(ColourChoice::kAuto, terminal), ColourDepth::kNone);
    EXPECT_EQ(ChooseColourDepth(ColourChoice::kAlways, terminal), ColourDepth::k16);
  }
  terminal = OnTerminal(256);
  terminal.isTerminal = false;
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kAuto, terminal), ColourDepth::kNone);
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kAlways, terminal), ColourDepth::k256);
}

TEST(ColourChoice, NoColorKeepsMarksUnlessColoursAreAskedFor) {
  ColourSurroundings terminal = OnTerminal(256);
  terminal.noColour = "1";
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kAuto, terminal), ColourDepth::kMarks);
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kAlways, terminal), ColourDepth::k256);
  EXPECT_EQ(ChooseColourDepth(ColourChoice::kNever, terminal), ColourDepth::kNone);
}

TEST(ColourParameters, StandForTheColourAtEachDepth) {
  constexpr std::int32_t kAmber = 0x5FD7FF;  // 0x00BBGGRR
  EXPECT_EQ(ColourParameters(kAmber, false, ColourDepth::kTrue), "38;2;255;215;95");
  EXPECT_EQ(ColourParameters(kAmber, true, ColourDepth::kTrue), "48;2;255;215;95");
  EXPECT_EQ(ColourParameters(kAmber, false, ColourDepth::k256), "38;5;221");
  EXPECT_EQ(ColourParameters(kAmber, false, ColourDepth::k16), "93");
  EXPECT_EQ(ColourParameters(kAmber, true, ColourDepth::k8), "43");
  EXPECT_EQ(ColourParameters(kAmber, false, ColourDepth::kMarks), "");
  EXPECT_EQ(ColourParameters(kAmber, false, ColourDepth::kNone), "");
}

TEST(ColourParameters, GreysComeFromTheRampOf256) {
  EXPECT_EQ(ColourParameters(0x1E1E1E, true, ColourDepth::k256), "48;5;234");
  EXPECT_EQ(ColourParameters(0x000000, true, ColourDepth::k256), "48;5;16");
  EXPECT_EQ(ColourParameters(0xFFFFFF, true, ColourDepth::k256), "48;5;231");
}

TEST(ColourParameters, TheFirstColoursDifferWhereThereAreOnlyEight) {
  const ColourGroup first;
  const auto of = [](std::int32_t colour) {
    return ColourParameters(colour, false, ColourDepth::k8);
  };
  EXPECT_EQ(of(first.general.text), "37");
  EXPECT_EQ(of(first.requestLine.text), "36");
  EXPECT_EQ(of(first.responseLine.text), "32");
  EXPECT_EQ(of(first.hiliteText), "33");
  EXPECT_EQ(ColourParameters(first.general.background, true, ColourDepth::k8), "40");
}

TEST(LineColours, KindsDifferInColourAndWithoutOne) {
  for (const ColourDepth depth : {ColourDepth::kMarks, ColourDepth::k8, ColourDepth::kTrue}) {
    const LineColours colours({}, depth, {256, true, true, false});
    const std::string_view channel = colours.Begin(ShownKind::kAt);
    const std::string_view reply = colours.Begin(ShownKind::kConfirmation);
    const std::string_view indication = colours.Begin(ShownKind::kIndication);
    EXPECT_NE(channel, reply);
    EXPECT_NE(channel, indication);
    EXPECT_NE(reply, indication);
    EXPECT_NE(reply, colours.Begin(ShownKind::kRequest));
    EXPECT_EQ(colours.Begin(ShownKind::kNotice), "");
  }
}

TEST(LineColours, MarksAloneHaveNoColour) {
  const LineColours marks({}, ColourDepth::kMarks, {256, true, true, true});
  EXPECT_EQ(marks.Begin(ShownKind::kIndication), "\x1b[3m");
  EXPECT_EQ(marks.Begin(ShownKind::kRequest), "\x1b[1m");
  EXPECT_EQ(marks.ActiveBegin(), "");
  EXPECT_EQ(marks.FillRow(), "");
  EXPECT_EQ(
      LineColours({}, ColourDepth::kMarks, {8, true, true, false}).Begin(ShownKind::kIndication),
      "\x1b[4m");
}

TEST(LineColours, NothingIsMarkedWithoutDepth) {
  const LineColours none({}, ColourDepth::kNone, {256, true, true, true});
  EXPECT_TRUE(none.AreNone());
  EXPECT_EQ(none.Begin(ShownKind::kIndication), "");
  EXPECT_EQ(none.End(), "");
}

TEST(LineColours, AreThoseOfTheSettings) {
  ConsoleSettings settings;
  settings.areThere = true;
  settings.values.responseLine = {0x030201, 0x060504};
  const LineColours colours(ColoursOf(settings), ColourDepth::kTrue, {256, true, false, false});
  EXPECT_EQ(colours.Begin(ShownKind::kConfirmation), "\x1b[38;2;1;2;3;48;2;4;5;6m");
}

}  // namespace
}  // namespace kiv
