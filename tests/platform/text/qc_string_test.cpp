#include "platform/text/qc_string.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "platform/bounded/pool.h"

// How a failed comparison shows a string; found by its argument, so not in a namespace of its own.
static void PrintTo(const QCString& text, std::ostream* out) {
  *out << '"' << text.ToUtf8() << '"';
}

namespace {

TEST(QCString, IsEmptyByDefaultAndFromNull) {
  EXPECT_TRUE(QCString().IsEmpty());
  EXPECT_EQ(QCString(), QCString(static_cast<const wchar_t*>(nullptr)));
  EXPECT_EQ(QCString(), QCString(nullptr, 5));
  EXPECT_STREQ(L"", QCString().c_str());
}

TEST(QCString, TakesTextsOfEveryForm) {
  EXPECT_EQ(3u, QCString(L"abc").GetLength());
  EXPECT_EQ(L"ab", QCString(L"abc", 2));
  EXPECT_EQ(L"abc", QCString(std::wstring(L"abc")));
  EXPECT_EQ(L"abc", QCString(std::wstring_view(L"abcd").substr(0, 3)));
  EXPECT_EQ(3u, QCString(L"a\0b", 3).GetLength());
}

TEST(QCString, AnswersZeroBehindItsEnd) {
  const QCString text(L"ab");
  EXPECT_EQ(L'b', text.GetAt(1));
  EXPECT_EQ(L'b', text[1]);
  EXPECT_EQ(L'\0', text.GetAt(2));
  EXPECT_EQ(L'\0', text[QCString::npos]);
}

TEST(QCString, AppendsTextsCharactersAndItself) {
  QCString text(L"a");
  text += L"b";
  text += L'c';
  text += QCString(L"d");
  text += static_cast<const wchar_t*>(nullptr);
  text.Append(L"e");
  EXPECT_EQ(L"abcde", text);
  text += text;
  EXPECT_EQ(L"abcdeabcde", text);
  text.Append(text.view().substr(8));
  EXPECT_EQ(L"abcdeabcdede", text);
  EXPECT_EQ(L"xyz", L"x" + QCString(L"y") + L"z");
  EXPECT_EQ(L"xy", QCString(L"x") + QCString(L"y"));
}

TEST(QCString, CanBeEmptied) {
  QCString text(L"a");
  text.Reserve(100);
  EXPECT_EQ(L"a", text);
  text.Empty();
  EXPECT_TRUE(text.IsEmpty());
}

TEST(QCString, FindsCharactersAndTexts) {
  const QCString text(L"abcabc");
  EXPECT_EQ(1u, text.Find(L'b'));
  EXPECT_EQ(4u, text.Find(L'b', 2));
  EXPECT_EQ(QCString::npos, text.Find(L'x'));
  EXPECT_EQ(QCString::npos, text.Find(L'a', 99));
  EXPECT_EQ(3u, text.Find(L"abc", 1));
  EXPECT_EQ(QCString::npos, text.Find(L"abd"));
  EXPECT_EQ(4u, text.ReverseFind(L'b'));
  EXPECT_EQ(3u, text.ReverseFind(L"abc"));
  EXPECT_EQ(QCString::npos, text.ReverseFind(L'x'));
  EXPECT_TRUE(text.StartsWith(L"abc"));
  EXPECT_FALSE(text.StartsWith(L"bc"));
  EXPECT_TRUE(text.EndsWith(L"bc"));
  EXPECT_FALSE(QCString(L"c").EndsWith(L"bc"));
}

TEST(QCString, ClampsThePartsItGives) {
  const QCString text(L"abcd");
  EXPECT_EQ(L"ab", text.Left(2));
  EXPECT_EQ(L"abcd", text.Left(9));
  EXPECT_EQ(L"cd", text.Right(2));
  EXPECT_EQ(L"abcd", text.Right(9));
  EXPECT_EQ(L"", text.Right(0));
  EXPECT_EQ(L"bc", text.Mid(1, 2));
  EXPECT_EQ(L"bcd", text.Mid(1));
  EXPECT_EQ(L"d", text.Mid(3, 9));
  EXPECT_EQ(L"", text.Mid(4, 1));
  EXPECT_EQ(L"", text.Mid(QCString::npos, 1));
}

struct TrimRow {
  const wchar_t* text;
  const wchar_t* left;
  const wchar_t* right;
  const wchar_t* both;
};

TEST(QCString, TrimsOneCharacterFromItsEndsAndLeavesInnerOnesAlone) {
  const TrimRow rows[] = {
      {L"  a b  ", L"a b  ", L"  a b", L"a b"},
      {L"a", L"a", L"a", L"a"},
      {L"", L"", L"", L""},
      {L"   ", L"", L"", L""},
      {L"\t a \n", L"\t a \n", L"\t a \n", L"\t a \n"},
      {L"\u00A0a\u00A0", L"\u00A0a\u00A0", L"\u00A0a\u00A0", L"\u00A0a\u00A0"},
  };
  for (const TrimRow& row : rows) {
    EXPECT_EQ(row.left, QCString(row.text).TrimLeft());
    EXPECT_EQ(row.right, QCString(row.text).TrimRight());
    EXPECT_EQ(row.both, QCString(row.text).Trim());
  }
  EXPECT_EQ(L" \na", QCString(L"\n\n \na\n\n").TrimLeft(L'\n').TrimRight(L'\n'));
}

TEST(QCString, TrimsUnicodeWhiteSpaceWhenAsked) {
  const TrimRow rows[] = {
      {L" \t\u00A0a b\u3000\r\n", L"a b\u3000\r\n", L"", L"a b"},
      {L"\u2028\u0085", L"", L"", L""},
      {L"", L"", L"", L""},
      {L"\u200Ba", L"\u200Ba", L"", L"\u200Ba"},
  };
  for (const TrimRow& row : rows) {
    EXPECT_EQ(row.left, QCString(row.text).TrimLeftWhiteSpace());
    EXPECT_EQ(row.both, QCString(row.text).TrimWhiteSpace());
  }
}

TEST(QCString, RemovesEveryOccurrenceOfACharacter) {
  QCString text(L"\ra\r\rb\r");
  EXPECT_EQ(4u, text.Remove(L'\r'));
  EXPECT_EQ(L"ab", text);
  EXPECT_EQ(0u, text.Remove(L'x'));
}

TEST(QCString, ReplacesCharacters) {
  QCString text(L"a\nb\n");
  EXPECT_EQ(2u, text.Replace(L'\n', L' '));
  EXPECT_EQ(L"a b ", text);
  EXPECT_EQ(0u, text.Replace(L'x', L'y'));
}

struct ReplaceRow {
  const wchar_t* text;
  const wchar_t* from;
  const wchar_t* to;
  const wchar_t* result;
  std::size_t count;
};

TEST(QCString, ReplacesTextsInOnePass) {
  const ReplaceRow rows[] = {
      {L"a  b    c", L"  ", L" ", L"a b  c", 3},
      {L"aaa", L"aa", L"a", L"aa", 1},
      {L"abc", L"b", L"bb", L"abbc", 1},
      {L"abab", L"ab", L"", L"", 2},
      {L"abc", L"", L"x", L"abc", 0},
      {L"abc", L"x", L"y", L"abc", 0},
      {L"", L"a", L"b", L"", 0},
      {L"a, b, c", L", ", L",", L"a,b,c", 2},
  };
  for (const ReplaceRow& row : rows) {
    QCString text(row.text);
    EXPECT_EQ(row.count, text.Replace(row.from, row.to)) << row.text;
    EXPECT_EQ(row.result, text);
  }
}

TEST(QCString, ReplacesWithViewsOfItself) {
  QCString text(L"abcb");
  EXPECT_EQ(2u, text.Replace(text.view().substr(1, 1), text.view()));
  EXPECT_EQ(L"aabcbcabcb", text);
}

TEST(QCString, ReplacesInLongTextsWithoutDelay) {
  QCString text(std::wstring(2'000'000, L'a'));
  EXPECT_EQ(2'000'000u, text.Replace(L"a", L"bc"));
  EXPECT_EQ(4'000'000u, text.GetLength());
}

TEST(QCString, ChangesCaseWithoutChangingPositions) {
  const QCString text(L"AT+\u0130\u00C4\u00DF\u03A3x");
  EXPECT_EQ(L"at+i\u00E4\u00DF\u03C3x", text.ToLower());
  EXPECT_EQ(L"AT+\u0130\u00C4\u00DF\u03A3X", text.ToUpper());
  EXPECT_EQ(text.GetLength(), text.ToLower().GetLength());
  QCString changed(text);
  EXPECT_EQ(L"at+i\u00E4\u00DF\u03C3x", changed.MakeLower());
  EXPECT_EQ(L"AT+I\u00C4\u00DF\u03A3X", changed.MakeUpper());
}

TEST(QCString, ChangesCaseTheSameInEveryLocale) {
  // Turkish maps I to a letter of its own; where it is not installed the locale stays as it was.
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* locale : {"C", "tr_TR.UTF-8", "C.UTF-8"}) {
    std::setlocale(LC_ALL, locale);
    EXPECT_EQ(L"title \u00E4", QCString(L"TITLE \u00C4").ToLower()) << locale;
  }
  std::setlocale(LC_ALL, before.c_str());
}

TEST(QCString, ComparesByCharacters) {
  EXPECT_TRUE(QCString(L"a") == L"a");
  EXPECT_TRUE(L"a" == QCString(L"a"));
  EXPECT_FALSE(QCString(L"a") == L"A");
  EXPECT_TRUE(QCString() == static_cast<const wchar_t*>(nullptr));
  EXPECT_FALSE(QCString(L"a\0", 2) == L"a");
  EXPECT_TRUE(QCString(L"a") < QCString(L"b"));
  EXPECT_TRUE(QCString(L"a") < QCString(L"ab"));
  EXPECT_TRUE(QCString(L"b") != QCString(L"a"));
}

TEST(QCString, ConvertsToUtf8AndBack) {
  const QCString text(L"a\u00E4\u20AC\U0001F600");
  EXPECT_EQ("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", text.ToUtf8());
  EXPECT_EQ(text, QCString::FromUtf8(text.ToUtf8()));
  EXPECT_EQ(L"a\uFFFD", QCString::FromUtf8("a\xC3"));
}

TEST(QCString, ConvertsToTheCodePageInAPoolBuffer) {
  const std::uint64_t before = pool::LiveBlocks();
  std::size_t lengthBytes = 99;
  char* bytes = QCString(L"x\u20AC").UnicodeToAnsi(&lengthBytes);
  EXPECT_STREQ("x\xE2\x82\xAC", bytes);
  EXPECT_EQ(4u, lengthBytes);
  EXPECT_EQ(before + 1, pool::LiveBlocks());
  PoolFree(bytes);
  char* empty = QCString().UnicodeToAnsi();
  EXPECT_STREQ("", empty);
  PoolFree(empty);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(QCString, KeepsAZeroInsideWhenConverting) {
  std::size_t lengthBytes = 0;
  char* bytes = QCString(L"a\0b", 3).UnicodeToAnsi(&lengthBytes);
  ASSERT_EQ(3u, lengthBytes);
  EXPECT_EQ(0, std::memcmp(bytes, "a\0b\0", 4));
  PoolFree(bytes);
}

TEST(QCString, AnswersNullWhenThePoolHasNothing) {
  const std::uint64_t before = pool::LiveBlocks();
  pool::FailNth(1);
  EXPECT_EQ(nullptr, QCString(L"text").UnicodeToAnsi());
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(0);
  EXPECT_EQ(before, pool::LiveBlocks());
}

TEST(QCString, ReadsTheCodePageUpToItsTerminator) {
  EXPECT_EQ(L"\u20AC", QCString::AnsiToUnicode("\xE2\x82\xAC"));
  EXPECT_EQ(L"a\uFFFDb", QCString::AnsiToUnicode("a\xFF"
                                                 "b"));
  EXPECT_EQ(L"", QCString::AnsiToUnicode(""));
  EXPECT_EQ(L"", QCString::AnsiToUnicode(nullptr));
}

TEST(QCString, ConvertsInTheCLocaleToo) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  char* bytes = QCString(L"\u00E4").UnicodeToAnsi();
  EXPECT_STREQ("\xC3\xA4", bytes);
  PoolFree(bytes);
  std::setlocale(LC_ALL, before.c_str());
}

TEST(Characters, HaveCaseAndWhiteSpaceByUnicode) {
  EXPECT_EQ(L'\u00E4', ToLowerChar(L'\u00C4'));
  EXPECT_EQ(L'\u00C4', ToUpperChar(L'\u00E4'));
  EXPECT_TRUE(IsWhiteSpace(L'\u3000'));
  EXPECT_FALSE(IsWhiteSpace(L'x'));
}

}  // namespace
