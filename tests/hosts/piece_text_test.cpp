#include "hosts/terminal/piece_text.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {
namespace {

// In this order.
std::string Joined(std::initializer_list<std::string> parts) {
  std::string joined;
  for (const std::string& part : parts) joined += part;
  return joined;
}

std::string Shown(const std::vector<std::string_view>& pieces) {
  PieceText text;
  std::string shown;
  for (const std::string_view piece : pieces) shown += text.Add(piece);
  shown += text.End();
  EXPECT_FALSE(text.IsHolding());
  return shown;
}

TEST(PieceText, ShowsTheSameWhereverItIsCutInTwo) {
  const std::string whole =
      "\r\n+X: \xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\r\r\n\xC3(\xFF\xE2\x82\x1B[m a\rb\n\r\nOK\r\n";
  const std::string expected =
      "\n+X: \u00fc\u20ac\U0001F600\n\ufffd(\ufffd\ufffd\\x1b[m a\\x0db\n\nOK\n";
  for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
    const std::string_view text = whole;
    EXPECT_EQ(Shown({text.substr(0, cut), text.substr(cut)}), expected) << cut;
  }
  std::vector<std::string_view> bytes;
  for (const char& byte : whole) bytes.emplace_back(&byte, 1);
  EXPECT_EQ(Shown(bytes), expected);
}

TEST(PieceText, AddsNothingBetweenPiecesAndNothingAtTheEnd) {
  EXPECT_EQ(Shown({"12", "34\n", "", "5"}), "1234\n5");
  EXPECT_EQ(Shown({}), "");
}

TEST(PieceText, ShowsAtOnceWhatNothingCanChange) {
  PieceText text;
  EXPECT_EQ(text.Add("abc"), "abc");
  EXPECT_EQ(text.Add("d\xC3"), "d");
  EXPECT_TRUE(text.IsHolding());
  EXPECT_EQ(text.Add("e\xFF"), "\ufffde\ufffd");
  EXPECT_FALSE(text.IsHolding());
}

TEST(PieceText, AReturnAtTheEndIsALineFeedWhoseOwnIsNotShownTwice) {
  PieceText text;
  EXPECT_EQ(Joined({text.Add("OK\r"), text.End()}), "OK\n");
  EXPECT_EQ(Joined({text.Add("\n"), text.Add("\n")}), "\n");
  EXPECT_EQ(Joined({text.Add("A\r"), text.End(), text.Add("\r\nB"), text.End()}), "A\n\nB");
  EXPECT_EQ(Joined({text.Add("A"), text.End(), text.Add("\nB")}), "A\nB");
}

TEST(PieceText, AnUnfinishedCharacterIsBrokenAtTheEnd) {
  EXPECT_EQ(Shown({"a\xE2", "\x82"}), "a\ufffd");
}

TEST(PieceText, HoldsNoMoreThanAKibibyteOfReturns) {
  PieceText text;
  std::string shown;
  for (int i = 0; i < 2000; ++i) shown += text.Add("\r");
  EXPECT_EQ(shown.size(), (2000 - 1024) * std::string_view("\\x0d").size());
  EXPECT_EQ(text.Add("\n"), "\n");
}

}  // namespace
}  // namespace kiv
