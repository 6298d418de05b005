#include "hosts/terminal/text_flow.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace kiv {
namespace {

// In this order.
std::string Joined(std::initializer_list<std::string> parts) {
  std::string joined;
  for (const std::string& part : parts) joined += part;
  return joined;
}

TEST(TextFlow, PutsNothingBetweenThePiecesOfOneChannel) {
  TextFlow flow;
  std::string out;
  for (const char* piece : {"\r\nO", "K\r", "\n", "1", "2\n"})
    out += flow.Piece(Channel::kAt, piece);
  EXPECT_EQ(out + flow.EndAll(), "\nOK\n12\n");
}

TEST(TextFlow, EndsALineOnlyWhereItIsOpen) {
  TextFlow flow;
  EXPECT_EQ(Joined({flow.Piece(Channel::kShell, "a"), flow.End(Channel::kShell)}), "a\n");
  EXPECT_EQ(Joined({flow.Piece(Channel::kShell, "b\n"), flow.End(Channel::kShell)}), "b\n");
  EXPECT_EQ(Joined({flow.End(Channel::kShell), flow.EndAll()}), "");
  EXPECT_EQ(Joined({flow.Piece(Channel::kShell, "c\r"), flow.End(Channel::kShell)}), "c\n");
}

TEST(TextFlow, AnotherTextBeginsALineOfItsOwn) {
  TextFlow flow;
  std::string out = flow.Piece(Channel::kShell, "he");
  out += flow.Piece(Channel::kAt, "RI");
  out += flow.Piece(Channel::kAt, "NG\n");
  out += flow.Piece(Channel::kShell, "llo");
  out += flow.Whole("reply");
  out += flow.Whole("");
  out += flow.Piece(Channel::kShell, "x");
  out += flow.Break() + flow.Break();
  EXPECT_EQ(out, "he\nRING\nllo\nreply\nx\n");
}

TEST(TextFlow, WhatAChannelHoldsBackOutlivesAnothersText) {
  TextFlow flow;
  std::string out = flow.Piece(Channel::kShell, "a\xC3");
  out += flow.Piece(Channel::kAt, "b\r");
  out += flow.Piece(Channel::kShell, "\xBC\n");
  out += flow.Piece(Channel::kAt, "\nc\n");
  EXPECT_EQ(out, "a\nb\n\u00fc\n\nc\n");
}

TEST(TextFlow, TheEndOfOneChannelLeavesAnothersLineOpen) {
  TextFlow flow;
  EXPECT_EQ(flow.Piece(Channel::kAt, "RI"), "RI");
  EXPECT_EQ(flow.End(Channel::kShell), "");
  EXPECT_EQ(flow.Piece(Channel::kAt, "NG\n"), "NG\n");
}

TEST(TextFlow, EndAllShowsWhatIsHeldBackBehindItsOwnLine) {
  TextFlow flow;
  EXPECT_EQ(Joined({flow.Piece(Channel::kAt, "\xE2"), flow.Piece(Channel::kShell, "b\xC3")}), "b");
  EXPECT_TRUE(flow.IsOpen());
  EXPECT_EQ(flow.EndAll(), "\ufffd\n\ufffd\n");
  EXPECT_FALSE(flow.IsOpen());
}

TEST(TextFlow, ALineThatTheUserEndedIsNotEndedAgain) {
  TextFlow flow;
  EXPECT_EQ(flow.Piece(Channel::kAt, "RIN"), "RIN");
  flow.LineWasEnded();
  EXPECT_EQ(flow.Whole("reply"), "reply\n");
}

TEST(TextFlow, ASieveGetsWholeLinesAndUnfinishedOnesAreHeldBack) {
  TextFlow flow;
  std::string seen;
  flow.SetSieve([&seen](Channel, std::string lines) {
    seen += "[" + lines + "]";
    return lines.starts_with("a") ? lines : std::string();
  });
  EXPECT_EQ(flow.Piece(Channel::kShell, "ab"), "");
  EXPECT_TRUE(flow.IsOpen());
  EXPECT_EQ(flow.Piece(Channel::kShell, "c\nb"), "abc\n");
  EXPECT_EQ(flow.Piece(Channel::kAt, "a1"), "");
  EXPECT_EQ(flow.EndAll(), "a1\n");
  EXPECT_EQ(seen, "[abc\n][a1][b]");
  EXPECT_FALSE(flow.IsOpen());
}

TEST(TextFlow, ASieveSeesALineWithoutEndInParts) {
  TextFlow flow;
  std::size_t parts = 0;
  flow.SetSieve([&parts](Channel, std::string lines) {
    ++parts;
    return lines;
  });
  std::string shown;
  for (int i = 0; i < 1024; ++i) shown += flow.Piece(Channel::kShell, std::string(1024, 'x'));
  shown += flow.EndAll();
  EXPECT_EQ(shown, std::string(1u << 20, 'x') + "\n");
  EXPECT_GT(parts, 10u);
  EXPECT_LT(parts, 20u);
}

}  // namespace
}  // namespace kiv
