#include "command/typed_line.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <fstream>
#include <string>
#include <vector>

namespace {

using SvcKivClass::SplitTypedLine;
using SvcKivClass::TestScriptFile;
using SvcKivClass::TypedLine;

constexpr wchar_t kNoSplit[] = L"<no split>";

struct Row {
  std::wstring line;
  bool accepted;
  std::wstring word;
  std::wstring rest;
  std::wstring lastWord;
};

std::wstring Repeat(wchar_t ch, std::size_t count) { return std::wstring(count, ch); }

void ExpectRows(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(QCString(row.line.c_str()).ToUtf8().substr(0, 60));
    const TypedLine split = SplitTypedLine(QCString(row.line));
    EXPECT_EQ(split.accepted, row.accepted);
    EXPECT_EQ(split.word.str(), row.word);
    EXPECT_EQ(split.rest.str(), row.rest);
    EXPECT_EQ(split.hasLastWord ? split.lastWord.str() : kNoSplit, row.lastWord);
  }
}

TEST(TypedLine, SplitsAtTheFirstSpaceAndTrimsTheRest) {
  ExpectRows({{L"word", true, L"word", L"", L"word"},
              {L"  word  ", true, L"word", L"", L"word"},
              {L"word rest", true, L"word", L"rest", L"word"},
              {L"word   a  b  ", true, L"word", L"a  b", L"word"},
              {L"word\trest", true, L"word\trest", L"", L"word\trest"},
              {L"\tword rest\t", true, L"\tword", L"rest\t", L"\tword"}});
}

TEST(TypedLine, HasAnEmptyWordWhenNothingIsThere) {
  ExpectRows({{L"", false, L"", L"", kNoSplit},
              {L"    ", false, L"", L"", kNoSplit},
              {L"\n\n", false, L"", L"", kNoSplit},
              {L"\r", false, L"", L"", kNoSplit},
              {L"  \n \r\n  ", true, L"", L"", L""}});
}

TEST(TypedLine, DropsLineEndsAnywhere) {
  ExpectRows({{L"word rest\r\n", true, L"word", L"rest", L"word"},
              {L"wo\nrd re\rst", true, L"word", L"rest", L"word"},
              {L"a\nb", true, L"ab", L"", L"ab"},
              {L"word\n rest", true, L"word", L"rest", L"word"}});
}

TEST(TypedLine, TrimsSpacesBeforeLineFeedsOnly) {
  ExpectRows({{L"\n x", true, L"", L"x", L""},
              {L" \n x", true, L"", L"x", L""},
              {L"x \n", true, L"x", L"", L"x"},
              {L"\nx", true, L"x", L"", L"x"}});
}

TEST(TypedLine, KeepsALineThatBeginsWithAtWhole) {
  ExpectRows({{L"at", true, L"at", L"", L"at"},
              {L"AT+CGMI -d 200", true, L"AT+CGMI -d 200", L"", L"AT+CGMI"},
              {L"  aT x  y ", true, L"aT x  y", L"", L"aT"},
              {L"attach 1", true, L"attach 1", L"", L"attach"},
              {L"attach", true, L"attach", L"", L"attach"},
              {L"at \r\n", true, L"at ", L"", L"at"},
              {L"at ", true, L"at", L"", L"at"}});
}

TEST(TypedLine, LeavesAnAtElsewhereAlone) {
  ExpectRows({{L"show at+x", true, L"show", L"at+x", L"show"},
              {L"cat 1", true, L"cat", L"1", L"cat"},
              {L"a t", true, L"a", L"t", L"a"}});
}

TEST(TypedLine, RejectsAWordOfMoreThanEightyCharacters) {
  const std::wstring word80 = Repeat(L'w', 80);
  const std::wstring word81 = Repeat(L'w', 81);
  ExpectRows({{word80 + L" rest", true, word80, L"rest", word80},
              {word81 + L" rest", false, word81, L"", word81}});
}

TEST(TypedLine, KeepsAnAtLineWholeAlsoWhenItsWordIsTooLong) {
  const std::wstring word = L"AT+CMGW=\"" + Repeat(L'9', 90) + L"\"";
  ExpectRows({{word + L" 1 -d 200", false, word + L" 1 -d 200", L"", word}});
}

TEST(TypedLine, RejectsALineBeyondItsLimitWithoutSplittingIt) {
  const std::wstring line = L"word " + Repeat(L'1', 16463 - 5);
  const std::wstring longer = line + L"1";
  ExpectRows({{line, true, L"word", Repeat(L'1', 16458), L"word"},
              {longer, false, longer, L"", kNoSplit},
              // The limit is looked at after trimming and dropping.
              {L"  " + line + L"\r\n", true, L"word", Repeat(L'1', 16458), L"word"}});
}

TEST(TypedLine, CountsCharactersNotBytes) {
  const std::wstring word = Repeat(L'\u00e4', 80);
  ExpectRows({{word, true, word, L"", word},
              {Repeat(L'\u20ac', 81), false, Repeat(L'\u20ac', 81), L"", Repeat(L'\u20ac', 81)}});
}

class ScriptFile : public testing::Test {
 protected:
  QCString Path(const std::string& name) const {
    return QCString::FromUtf8(directory_.path().toStdString() + "/" + name);
  }
  void Make(const std::string& name) const { std::ofstream(Path(name).ToUtf8()) << "x"; }

  QTemporaryDir directory_;
};

TEST_F(ScriptFile, IsAnExistingFileWithTheSuffixInAnyCase) {
  Make("a.hcs");
  Make("b.HcS");
  EXPECT_EQ(TestScriptFile(Path("a.hcs")), 0);
  EXPECT_EQ(TestScriptFile(Path("b.HcS")), 0);
}

TEST_F(ScriptFile, MustExistAndBeNoDirectory) {
  ASSERT_TRUE(QDir(directory_.path()).mkdir("d.hcs"));
  EXPECT_EQ(TestScriptFile(Path("missing.hcs")), 51);
  EXPECT_EQ(TestScriptFile(Path("d.hcs")), 51);
  EXPECT_EQ(TestScriptFile(L".hcs"), 51);
}

TEST_F(ScriptFile, IsNoneWithAnotherSuffix) {
  Make("a.hcx");
  EXPECT_EQ(TestScriptFile(Path("a.hcx")), 10012);
  EXPECT_EQ(TestScriptFile(L"word"), 10012);
  EXPECT_EQ(TestScriptFile(L"a.hcs.txt"), 10012);
}

TEST_F(ScriptFile, IsNoneWhenTheWordIsTooShort) {
  EXPECT_EQ(TestScriptFile(L""), 2);
  EXPECT_EQ(TestScriptFile(L"hcs"), 2);
}

}  // namespace
