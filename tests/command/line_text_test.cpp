// How a typed line is taken apart and what kind it is: one row a line.
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "command/typed_line.h"
#include "tests/fakes/written_texts.h"

namespace {

using kivtest::ModuleBench;

std::string Narrow(const std::wstring& text) { return QCString(text).ToUtf8(); }
std::wstring Many(std::size_t count, wchar_t ch = L'x') { return std::wstring(count, ch); }

// What GetCmd leaves behind.
struct Seen {
  int answer;
  std::uint32_t type;
  std::wstring word;
  std::wstring rest;
  std::wstring lastWord;
  std::uint32_t id = 0;

  bool operator==(const Seen&) const = default;
};

void PrintTo(const Seen& seen, std::ostream* out) {
  const auto cut = [](const std::wstring& text) {
    return Narrow(text.substr(0, 100)) + " (" + std::to_string(text.size()) + ")";
  };
  *out << "answer " << seen.answer << " type " << seen.type << " word '" << cut(seen.word)
       << "' rest '" << cut(seen.rest) << "' last '" << cut(seen.lastWord) << "' id " << seen.id;
}

constexpr wchar_t kEarlier[] = L"earlier";

// Runs GetCmd after a line that filled every field.
Seen SeenOf(ModuleBench& bench, const std::wstring& line) {
  bench.Controller().GetCmd(QCString(L"set_values 1,2,3"));
  bench.Controller().GetCmd(QCString(std::wstring(kEarlier) + L" stale"));
  const int answer = bench.Controller().GetCmd(QCString(line));
  const CmdCtrl& controller = bench.Controller();
  return {answer,
          static_cast<std::uint32_t>(controller.GetCommandType()),
          controller.GetWord().str(),
          controller.GetRest().str(),
          controller.GetLastWord().str(),
          controller.GetCommandId()};
}

struct Row {
  std::wstring line;
  Seen seen;
};

void Check(const std::vector<Row>& rows) {
  ModuleBench bench;
  for (const Row& row : rows) {
    SCOPED_TRACE(Narrow(row.line.substr(0, 100)));
    EXPECT_EQ(SeenOf(bench, row.line), row.seen);
  }
}

TEST(LineTakenApart, AnEmptyLineHasAnEmptyWordAndKeepsTheLastOne) {
  const Seen empty = {0, 0, L"", L"", kEarlier};
  Check({{L"", empty},
         {L"   ", empty},
         {L"\n", empty},
         {L" \n\n ", empty},
         {L"\r\n", empty},
         {L"\r\r\n\r", empty}});
}

TEST(LineTakenApart, SpacesAroundWordAndRestDoNotCount) {
  const Seen seen = {1, 1, L"set_values", L"1,2", L"set_values", 0x1001};
  Check({{L"set_values 1,2", seen},
         {L"   set_values 1,2   ", seen},
         {L"set_values     1,2", seen},
         {L" set_values 1,2\n", seen},
         {L"\nset_values 1,2", seen},
         {L"set_values 1,2 \n", seen}});
}

TEST(LineTakenApart, CarriageReturnsAndLineFeedsVanishWhereverTheyStand) {
  Check({{L"set_\r\nvalues 1\n,\r"
          L"2\n",
          {1, 1, L"set_values", L"1,2", L"set_values", 0x1001}},
         {L"set_values\n1", {0, 0, L"set_values1", L"", L"set_values1"}},
         {L"set_values\r 1", {1, 1, L"set_values", L"1", L"set_values", 0x1001}}});
}

TEST(LineTakenApart, OnlyTheSpaceIsTrimmed) {
  Check({{L"\thelp", {0, 0, L"\thelp", L"", L"\thelp"}},
         {L"help\t", {0, 0, L"help\t", L"", L"help\t"}},
         {L"\u00a0help", {0, 0, L"\u00a0help", L"", L"\u00a0help"}},
         {L"help \u00a0x", {1, 5, L"help", L"\u00a0x", L"help"}}});
}

TEST(LineTakenApart, ABlankBehindALeadingLineFeedMakesAnEmptyWord) {
  Check({{L"\n x", {0, 0, L"", L"x", L""}}, {L" \n help", {0, 0, L"", L"help", L""}}});
}

TEST(LineTakenApart, BlanksWithinTheRestStay) {
  Check({{L"set_values  1 ,  2", {1, 1, L"set_values", L"1 ,  2", L"set_values", 0x1001}}});
}

TEST(LineTakenApart, ALineOfTheLongestLengthIsSplitAndOneLongerIsNot) {
  const std::wstring longest = L"y " + Many(16461);
  const std::wstring tooLong = L"y " + Many(16462);
  ASSERT_EQ(longest.size(), 16463u);
  Check({{longest, {0, 0, L"y", Many(16461), L"y"}},
         {L"  \n" + longest + L"\r\n  ", {0, 0, L"y", Many(16461), L"y"}},
         {tooLong, {0, 0, tooLong, L"", kEarlier}},
         {L"help " + Many(16459), {0, 0, L"help " + Many(16459), L"", kEarlier}}});
}

TEST(LineTakenApart, AWordOfEightyCharactersIsSplitAndOneLongerIsRejected) {
  Check({{Many(80) + L" 1", {0, 0, Many(80), L"1", Many(80)}},
         {Many(81) + L" 1", {0, 0, Many(81), L"", Many(81)}}});
}

TEST(LineTakenApart, TheLimitsCountCharactersNotBytes) {
  Check({{Many(80, L'\u00fc') + L" 1", {0, 0, Many(80, L'\u00fc'), L"1", Many(80, L'\u00fc')}},
         {Many(81, L'\u00fc') + L" 1", {0, 0, Many(81, L'\u00fc'), L"", Many(81, L'\u00fc')}}});
}

TEST(LineTakenApart, ALineThatBeginsWithAtIsOneWordInAnyCase) {
  Check({{L"AT+CSQ? 1 -d 5", {0, 0, L"AT+CSQ? 1 -d 5", L"", L"AT+CSQ?"}},
         {L"  aT x ", {0, 0, L"aT x", L"", L"aT"}},
         {L"At", {0, 0, L"At", L"", L"At"}},
         {L"attach 1", {0, 0, L"attach 1", L"", L"attach"}},
         {L"attach", {1, 1, L"attach", L"", L"attach", 0x1005}},
         {L"at ", {0, 0, L"at", L"", L"at"}},
         {L"at \r\n", {0, 0, L"at ", L"", L"at"}}});
}

TEST(LineTakenApart, AnAtElsewhereLeavesTheSplitAsItIs) {
  Check({{L"format at+1", {0, 0, L"format", L"at+1", L"format"}},
         {L"show at+x", {0, 0, L"show", L"at+x", L"show"}},
         {L"a t 1", {0, 0, L"a", L"t 1", L"a"}}});
}

TEST(LineTakenApart, AnAtLineStaysWholeWhenItsWordIsTooLong) {
  const std::wstring word = L"AT+CMGW=\"" + Many(90) + L"\"";
  const std::wstring line = word + L" 1 -d 200";
  Check({{line, {0, 0, line, L"", word}}});
}

TEST(LineTakenApart, AnAtLineBeyondTheLongestLengthIsRejectedLikeAnyOther) {
  const std::wstring line = L"at " + Many(16461);
  Check({{line, {0, 0, line, L"", kEarlier}}});
}

TEST(KindOfLine, HelpIsExactAndCaseSensitive) {
  Check({{L"help", {1, 5, L"help", L"", L"help"}},
         {L"?", {1, 5, L"?", L"", L"?"}},
         {L"help me", {1, 5, L"help", L"me", L"help"}},
         {L"HELP", {0, 0, L"HELP", L"", L"HELP"}},
         {L"Help", {0, 0, L"Help", L"", L"Help"}},
         {L"help?", {0, 0, L"help?", L"", L"help?"}},
         {L"??", {0, 0, L"??", L"", L"??"}}});
}

TEST(KindOfLine, ACommandIsFoundByItsExactNameAndTheFirstOfTwoWins) {
  Check({{L"ping", {1, 1, L"ping", L"", L"ping", 0x1004}},
         {L"PING", {0, 0, L"PING", L"", L"PING"}},
         {L"twice 1", {1, 1, L"twice", L"1", L"twice", 0x100a}},
         {L"HELPER", {1, 1, L"HELPER", L"", L"HELPER", 0x1014}},
         {L"set_value", {0, 0, L"set_value", L"", L"set_value"}}});
}

TEST(KindOfLine, ACommandOutsideTheWhiteListIsUnknown) {
  Check({{L"hidden 1", {0, 0, L"hidden", L"1", L"hidden"}}});
}

TEST(KindOfLine, ARestOfTheLongestLengthIsTakenAndOneLongerIsLogged) {
  ModuleBench bench;
  const Seen longest = SeenOf(bench, L"ping " + Many(16384));
  EXPECT_EQ(longest, (Seen{1, 1, L"ping", Many(16384), L"ping", 0x1004}));
  EXPECT_EQ(bench.Log().Lines(), std::vector<std::wstring>());

  const Seen tooLong = SeenOf(bench, L"ping " + Many(16385));
  EXPECT_EQ(tooLong.answer, 0);
  EXPECT_EQ(tooLong.type, 0u);
  EXPECT_EQ(tooLong.id, 0u);
  EXPECT_EQ(bench.Log().Lines(),
            std::vector<std::wstring>{
                L"01 CmdCtrl::GetCmd() - err=-1, Morvi Cmd With Param Length Exceed Max Len!\n"});
}

TEST(KindOfLine, ARestThatMayNotBeCombinedIsRefusedAndLogged) {
  ModuleBench bench;
  EXPECT_EQ(SeenOf(bench, L"alone 1"), (Seen{0, 1, L"alone", L"1", L"alone", 0x1008}));
  EXPECT_EQ(bench.Log().Lines(),
            std::vector<std::wstring>{
                L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n"});
}

TEST(KindOfLine, TheCombinationIsAskedWithTheWholeRest) {
  Check({{L"alone", {1, 1, L"alone", L"", L"alone", 0x1008}},
         {L"picky  1,2,3 ", {1, 1, L"picky", L"1,2,3", L"picky", 0x1009}},
         {L"picky 1,2,3 -d 5", {1, 1, L"picky", L"1,2,3 -d 5", L"picky", 0x1009}},
         {L"picky 1,2,3 -d 6", {0, 1, L"picky", L"1,2,3 -d 6", L"picky", 0x1009}},
         {L"picky 1,2,4", {0, 1, L"picky", L"1,2,4", L"picky", 0x1009}}});
}

TEST(KindOfLine, AHostWordIsAcceptedUnlessTheCatalogueHasACommandOfItsName) {
  Check({{L"cls", {1, 4, L"cls", L"", L"cls"}},
         {L"cls -a b", {1, 4, L"cls", L"-a b", L"cls"}},
         {L"CLS", {0, 0, L"CLS", L"", L"CLS"}},
         {L"dir 1", {1, 1, L"dir", L"1", L"dir", 0x1013}}});
}

class TypedScriptFile : public testing::Test {
 protected:
  std::wstring Make(const std::string& name) {
    std::ofstream(bench_.Setup().Path(name)) << "ping\n";
    return Path(name);
  }
  std::wstring Path(const std::string& name) {
    return QCString::FromUtf8(bench_.Setup().Path(name)).str();
  }
  static int Test(const std::wstring& word) { return SvcKivClass::TestScriptFile(QCString(word)); }

  ModuleBench bench_;
};

TEST_F(TypedScriptFile, AnExistingOneIsAcceptedAndLosesItsRest) {
  for (const char* name : {"a.hcs", "b.HCS", "c.hCs"}) {
    const std::wstring path = Make(name);
    EXPECT_EQ(SeenOf(bench_, path + L" 1 2"), (Seen{1, 3, path, L"", path}));
    EXPECT_EQ(Test(path), 0);
  }
}

TEST_F(TypedScriptFile, AMissingOneIsAnUnknownWord) {
  const std::wstring path = Path("none.hcs");
  EXPECT_EQ(SeenOf(bench_, path + L" 1"), (Seen{0, 0, path, L"1", path}));
  EXPECT_EQ(Test(path), 51);
}

TEST_F(TypedScriptFile, AFolderOfSuchANameIsNone) {
  std::filesystem::create_directory(bench_.Setup().Path("folder.hcs"));
  const std::wstring path = Path("folder.hcs");
  EXPECT_EQ(SeenOf(bench_, path), (Seen{0, 0, path, L"", path}));
  EXPECT_EQ(Test(path), 51);
}

TEST_F(TypedScriptFile, TheTestTellsShortWordsFromOtherSuffixes) {
  EXPECT_EQ(Test(L""), 2);
  EXPECT_EQ(Test(L"hcs"), 2);
  EXPECT_EQ(Test(L"hcs."), 10012);
  EXPECT_EQ(Test(L"file.txt"), 10012);
  EXPECT_EQ(Test(L"file.hcs.txt"), 10012);
  EXPECT_EQ(Test(L".hcs"), 51);
  EXPECT_EQ(Test(Make("kept.txt")), 10012);
}

TEST_F(TypedScriptFile, RunsNothingAndEmptiesTheHolder) {
  EXPECT_EQ(bench_.Run(Make("a.hcs") + L" x"), L"");
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

}  // namespace
