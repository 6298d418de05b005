// What GetCmd makes of a line: type, word, rest, id and last word.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/fakes/module_bench.h"

namespace {

using kivtest::ModuleBench;
using Lines = std::vector<std::wstring>;

struct Row {
  std::wstring line;
  std::int32_t accepted;
  CommandType type;
  std::uint32_t cmdId;
  std::wstring word;
  std::wstring rest;
};

void ExpectRows(CmdCtrl& controller, const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(QCString(row.line.c_str()).ToUtf8().substr(0, 60));
    EXPECT_EQ(controller.GetCmd(QCString(row.line)), row.accepted);
    EXPECT_EQ(controller.GetCommandType(), row.type);
    EXPECT_EQ(controller.GetCommandId(), row.cmdId);
    EXPECT_EQ(controller.GetWord().str(), row.word);
    EXPECT_EQ(controller.GetRest().str(), row.rest);
  }
}

TEST(Classify, HelpIsTheTwoExactWords) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"help", 1, CommandType::kHelp, 0, L"help", L""},
                                  {L"?", 1, CommandType::kHelp, 0, L"?", L""},
                                  {L"help me", 1, CommandType::kHelp, 0, L"help", L"me"},
                                  {L"HELP", 0, CommandType::kUnknown, 0, L"HELP", L""},
                                  {L"??", 0, CommandType::kUnknown, 0, L"??", L""},
                                  // A catalogue command of a longer name is none of the two.
                                  {L"HELPER", 1, CommandType::kMorvi, 0x1014, L"HELPER", L""}});
}

TEST(Classify, CatalogueNamesAreExactAndCaseSensitive) {
  ModuleBench bench;
  ExpectRows(bench.Controller(),
             {{L"set_values", 1, CommandType::kMorvi, 0x1001, L"set_values", L""},
              {L" set_values  1, 2 ", 1, CommandType::kMorvi, 0x1001, L"set_values", L"1, 2"},
              {L"SET_VALUES", 0, CommandType::kUnknown, 0, L"SET_VALUES", L""},
              {L"set_value", 0, CommandType::kUnknown, 0, L"set_value", L""},
              {L"set_valuess", 0, CommandType::kUnknown, 0, L"set_valuess", L""}});
}

TEST(Classify, ACommandThatIsNotListedIsUnknown) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"hidden", 0, CommandType::kUnknown, 0, L"hidden", L""}});
}

TEST(Classify, TheFirstOfTwoEqualNamesWins) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"twice", 1, CommandType::kMorvi, 0x100a, L"twice", L""}});
}

TEST(Classify, ANameOfEightyCharactersIsFound) {
  ModuleBench bench;
  const std::wstring name = L"long_name_" + std::wstring(70, L'x');
  ExpectRows(bench.Controller(), {{name + L" 1", 1, CommandType::kMorvi, 0x1012, name, L"1"}});
}

TEST(Classify, AnAtLineWithARestIsNoCatalogueCommand) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"attach", 1, CommandType::kMorvi, 0x1005, L"attach", L""},
                                  {L"attach 1", 0, CommandType::kUnknown, 0, L"attach 1", L""}});
}

TEST(Classify, ARestBeyondItsLimitRejectsTheLineAsUnknown) {
  ModuleBench bench;
  const std::wstring rest(16384, L'1');
  ExpectRows(bench.Controller(),
             {{L"ping " + rest, 1, CommandType::kMorvi, 0x1004, L"ping", rest}});
  EXPECT_EQ(bench.Log().Lines(), Lines());
  ExpectRows(bench.Controller(),
             {{L"ping 1" + rest, 0, CommandType::kUnknown, 0, L"ping", L"1" + rest}});
  EXPECT_EQ(bench.Log().Lines(),
            Lines{L"01 CmdCtrl::GetCmd() - err=-1, Morvi Cmd With Param Length Exceed Max Len!\n"});
}

TEST(Classify, ARefusedCombinationKeepsItsType) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"alone", 1, CommandType::kMorvi, 0x1008, L"alone", L""},
                                  {L"alone 1", 0, CommandType::kMorvi, 0x1008, L"alone", L"1"}});
  EXPECT_EQ(bench.Log().Lines(),
            Lines{L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n"});
}

TEST(Classify, TheCombinationIsAskedWithTheWholeRestOptionIncluded) {
  ModuleBench bench;
  ExpectRows(bench.Controller(),
             {{L"picky 1,2,3", 1, CommandType::kMorvi, 0x1009, L"picky", L"1,2,3"},
              {L"picky 1,2,3 -d 5", 1, CommandType::kMorvi, 0x1009, L"picky", L"1,2,3 -d 5"},
              {L"picky 1,2,3 -d 6", 0, CommandType::kMorvi, 0x1009, L"picky", L"1,2,3 -d 6"}});
}

TEST(Classify, AnExistingScriptFileIsAcceptedWithoutItsRest) {
  ModuleBench bench;
  std::ofstream(bench.Setup().Path("run.hcs")) << "x";
  const std::wstring path = QCString::FromUtf8(bench.Setup().Path("run.hcs")).str();
  ASSERT_LE(path.size(), 80u);
  ExpectRows(bench.Controller(),
             {{path + L" a b", 1, CommandType::kScript, 0, path, L""},
              {L"missing.hcs a", 0, CommandType::kUnknown, 0, L"missing.hcs", L"a"}});
}

TEST(Classify, AHostWordIsAcceptedUnlessTheCatalogueHasACommandOfThatName) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"cls now", 1, CommandType::kHostWord, 0, L"cls", L"now"},
                                  {L"dir 1", 1, CommandType::kMorvi, 0x1013, L"dir", L"1"}});
}

TEST(Classify, AnEmptyWordIsNothing) {
  ModuleBench bench;
  ExpectRows(bench.Controller(), {{L"", 0, CommandType::kUnknown, 0, L"", L""},
                                  {L"\n x", 0, CommandType::kUnknown, 0, L"", L"x"}});
}

TEST(Classify, NothingOfTheLineBeforeRemainsButTheLastWord) {
  ModuleBench bench;
  CmdCtrl& controller = bench.Controller();
  const std::wstring word81(81, L'w');
  const std::wstring longLine(16464, L'x');
  controller.GetCmd(L"set_values 1,2,3");
  ExpectRows(controller, {{L"", 0, CommandType::kUnknown, 0, L"", L""}});
  EXPECT_EQ(controller.GetLastWord(), L"set_values");
  controller.GetCmd(L"set_values 1,2,3");
  ExpectRows(controller, {{longLine, 0, CommandType::kUnknown, 0, longLine, L""}});
  EXPECT_EQ(controller.GetLastWord(), L"set_values");
  controller.GetCmd(L"set_values 1,2,3");
  ExpectRows(controller, {{word81 + L" r", 0, CommandType::kUnknown, 0, word81, L""}});
  EXPECT_EQ(controller.GetLastWord().str(), word81);
  controller.GetCmd(L"AT+X 1");
  EXPECT_EQ(controller.GetLastWord(), L"AT+X");
}

TEST(Classify, TheLoadCommandIsUnknown) {
  ModuleBench bench;
  ExpectRows(bench.Controller(),
             {{L"ldnv 1 file", 0, CommandType::kUnknown, 0, L"ldnv", L"1 file"}});
}

}  // namespace
