#include "hosts/terminal/long_word.h"

#include <gtest/gtest.h>

#include <string>

namespace kiv {
namespace {

TEST(LongWord, LosesWhatStandsBehindItBeyondEightyCharacters) {
  EXPECT_FALSE(IsRestLost(std::wstring(80, L'x') + L" rest"));
  EXPECT_TRUE(IsRestLost(std::wstring(81, L'x') + L" rest"));
  EXPECT_TRUE(IsRestLost(L"  " + std::wstring(81, L'x') + L"   rest \n"));
  EXPECT_TRUE(IsRestLost(L"sh" + std::wstring(79, L'x') + L" ls"));
}

TEST(LongWord, LosesNothingWhereNothingStandsBehindIt) {
  EXPECT_FALSE(IsRestLost(L""));
  EXPECT_FALSE(IsRestLost(L"   "));
  EXPECT_FALSE(IsRestLost(std::wstring(81, L'x')));
  EXPECT_FALSE(IsRestLost(L" " + std::wstring(81, L'x') + L"  \n"));
  EXPECT_FALSE(IsRestLost(std::wstring(81, L'x') + L" \n"));
}

TEST(LongWord, IsCountedWithoutLineEnds) {
  EXPECT_FALSE(IsRestLost(std::wstring(40, L'x') + L"\r\n" + std::wstring(40, L'x') + L" rest"));
  EXPECT_TRUE(IsRestLost(std::wstring(40, L'x') + L"\n" + std::wstring(41, L'x') + L" rest"));
}

TEST(LongWord, OfAnAtLineLosesNothing) {
  EXPECT_FALSE(IsRestLost(L"At" + std::wstring(90, L'x') + L" rest"));
  EXPECT_FALSE(IsRestLost(L" aT+" + std::wstring(90, L'x') + L" rest"));
  EXPECT_TRUE(IsRestLost(L"xat+" + std::wstring(90, L'x') + L" rest"));
}

TEST(LongWord, OfALineThatIsTooLongToBeSplitLosesNothing) {
  const std::wstring word(81, L'x');
  EXPECT_TRUE(IsRestLost(word + L" " + std::wstring(kLongestLineChars - 82, L'y')));
  EXPECT_FALSE(IsRestLost(word + L" " + std::wstring(kLongestLineChars - 81, L'y')));
}

}  // namespace
}  // namespace kiv
