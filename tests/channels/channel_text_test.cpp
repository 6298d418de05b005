// The delay option, the cut in front of it, the split, and texts with the user's words in them.
#include "channels/channel_text.h"

#include <gtest/gtest.h>

#include "channels/channel_texts.h"

namespace {

using SvcKivClass::CutAtDelay;
using SvcKivClass::GetDelayOption;
using SvcKivClass::SplitAtChar;
using SvcKivClass::TextWith;
using SvcKivClass::TextWithChunk;

TEST(DelayOption, IsTheNumberBehindTheFirstDashDBlank) {
  const std::pair<const wchar_t*, std::uint32_t> rows[] = {
      {L"", 0},
      {L"ls -d 200", 200},
      {L"ls-d 5", 5},
      {L"-d 50", 50},
      {L"-d 200 -d 300", 200},
      {L"-d -d 300", 0},
      {L"-d    7   -d 9", 7},
      {L"ls -d 0", 0},
      {L"ls -d 007", 7},
      {L"ls -d 4294967295", 4294967295u},
      {L"ls -d 4294967296", 0},
      {L"ls -d 200abc", 0},
      {L"ls -d -5", 0},
      {L"ls -d 0x10", 0},
      {L"ls -d ", 0},
      {L"ls -d", 0},
      {L"ls -d\t5", 0},
      {L"ls -D 5", 0},
      {L"ls -d 5 more", 0},
  };
  for (const auto& [text, delay] : rows) {
    EXPECT_EQ(GetDelayOption(text), delay) << QCString(text).ToUtf8();
  }
}

TEST(DelayCut, WantsABlankInFrontOfTheDash) {
  EXPECT_EQ(CutAtDelay(L"ls -l -d 5 -d 6"), L"ls -l");
  EXPECT_EQ(CutAtDelay(L"ls-d 5"), L"ls-d 5");
  EXPECT_EQ(CutAtDelay(L"-d 5"), L"-d 5");
  EXPECT_EQ(CutAtDelay(L" -d 5"), L"");
  EXPECT_EQ(CutAtDelay(L"ls  -d 5"), L"ls ");
}

TEST(DelayCut, LeavesLatin1AndTurnsEverythingElseIntoAQuestionMark) {
  EXPECT_EQ(CutAtDelay(L"caf\u00e9 \u00ff\u0100\u20ac\U0001F600 -d 5"), L"caf\u00e9 \u00ff???");
}

TEST(SplitAtCharacter, DropsTheWhiteSpaceInFrontOfTheRest) {
  QCString left;
  QCString right;
  SplitAtChar(L"D:\\cts  \t run one ", left, right, L' ');
  EXPECT_EQ(left, L"D:\\cts");
  EXPECT_EQ(right, L"run one ");
}

TEST(SplitAtCharacter, KeepsTheCharacterItselfInTheRest) {
  QCString left;
  QCString right;
  SplitAtChar(L"a=b=c", left, right, L'=');
  EXPECT_EQ(left, L"a");
  EXPECT_EQ(right, L"=b=c");
}

TEST(SplitAtCharacter, GivesTheWholeTextToTheLeftWhenTheCharacterIsNotThere) {
  QCString left(L"old");
  QCString right(L"old");
  SplitAtChar(L"alone", left, right, L' ');
  EXPECT_EQ(left, L"alone");
  EXPECT_EQ(right, L"");
}

TEST(SplitAtCharacter, MaySplitATextIntoItself) {
  QCString text(L"name 0");
  QCString index;
  SplitAtChar(text, text, index, L' ');
  EXPECT_EQ(text, L"name");
  EXPECT_EQ(index, L"0");
}

TEST(TextWithWords, PutsEachWordInItsPlaceAndLooksIntoNoneOfThem) {
  EXPECT_EQ(TextWith("a %1 b %2", {L"x%2y", L"Z%1"}), L"a x%2y b Z%1");
  EXPECT_EQ(TextWith("%2%1%2", {L"1", L"2"}), L"212");
  EXPECT_EQ(TextWith("length : %2B, 100%, %3, %9, %", {L"a", L"77"}),
            L"length : 77B, 100%, %3, %9, %");
  EXPECT_EQ(TextWith("%1", {}), L"%1");
}

TEST(TextWithWords, PutsAChunkInPlaceOfTheFormatAndReadsNoFormatInIt) {
  EXPECT_EQ(TextWithChunk(SvcKivClass::texts::kSendFailed, L"AT%ls%n\r\n"),
            L"***error: failed to send: AT%ls%n\r\n");
  EXPECT_EQ(TextWithChunk("nothing to fill", L"x"), L"nothing to fill");
}

}  // namespace
