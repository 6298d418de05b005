// Replies of everything but diagnostic commands, and what is logged and traced on the way.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "service/message/debug_trace.h"
#include "tests/fakes/module_bench.h"

namespace {

using kivtest::ModuleBench;
using Lines = std::vector<std::wstring>;

const std::wstring kHelpHead = L"help  Querying All Commands\n?  Querying All Commands\n";

std::wstring HelpLine(const std::wstring& name, const std::wstring& id) {
  return name + L"  (" + id + L") \n\n";
}

TEST(Dispatch, NamesAnUnknownWord) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"nonsense 1,2"), L"Command 'nonsense' is not exist\n");
  EXPECT_EQ(bench.Run(L"HELP"), L"Command 'HELP' is not exist\n");
  EXPECT_EQ(bench.Run(L"ldn 1"), L"Command 'ldn' is not exist\n");
  EXPECT_EQ(bench.Run(L"ldnv2 1"), L"Command 'ldnv2' is not exist\n");
  EXPECT_EQ(bench.Run(L"attach 1"), L"Command 'attach 1' is not exist\n");
  EXPECT_EQ(bench.Run(L"missing.hcs"), L"Command 'missing.hcs' is not exist\n");
}

TEST(Dispatch, ShowsAMarkerInAWordAsTyped) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"a%1b%2c%n%s"), L"Command 'a%1b%2c%n%s' is not exist\n");
  EXPECT_EQ(bench.Run(L"\u00e4\u20ac\U0001F600"),
            L"Command '\u00e4\u20ac\U0001F600' is not exist\n");
}

TEST(Dispatch, ShowsTheFirstFiftyCharactersOfALongWord) {
  ModuleBench bench;
  const std::wstring word80(80, L'w');
  EXPECT_EQ(bench.Run(word80), L"Command '" + word80 + L"' is not exist\n");
  EXPECT_EQ(bench.Run(word80 + L"w"), L"Command '" + std::wstring(50, L'w') + L"' is not exist\n");
  const std::wstring at = L"AT" + std::wstring(90, L'9');
  EXPECT_EQ(bench.Run(at + L" 1 -d 200"), L"Command '" + at.substr(0, 50) + L"' is not exist\n");
  EXPECT_EQ(bench.Run(L"ping " + std::wstring(16459, L'1')),
            L"Command 'ping " + std::wstring(45, L'1') + L"' is not exist\n");
}

TEST(Dispatch, AnswersNothingToAnEmptyWord) {
  ModuleBench bench;
  for (const wchar_t* line : {L"", L"   ", L"\r\n", L"\n x", L"  \n \r\n "}) {
    EXPECT_EQ(bench.Run(line), L"");
  }
  EXPECT_EQ(bench.Run(static_cast<const wchar_t*>(nullptr)), L"");
}

TEST(Dispatch, LeavesNothingOfTheReplyBefore) {
  ModuleBench bench;
  const std::wstring ping = bench.Run(L"ping");
  EXPECT_EQ(bench.Run(L""), L"");
  bench.Run(L"help");
  EXPECT_EQ(bench.Run(L"ping"), ping);
  bench.Run(L"alone 1");
  EXPECT_EQ(bench.Run(L"cls"), L"");
}

TEST(Dispatch, AnswersNothingToAScriptFileAndAHostWord) {
  ModuleBench bench;
  std::ofstream(bench.Setup().Path("run.hcs")) << "ping\n";
  EXPECT_EQ(bench.Run(QCString::FromUtf8(bench.Setup().Path("run.hcs")).str()), L"");
  EXPECT_EQ(bench.Run(L"cls all"), L"");
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(Dispatch, RefusesACombinationWithTwoLogLines) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"alone 1"), L"Morv Combined commands not supported.");
  EXPECT_EQ(bench.Log().Lines(),
            (Lines{L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n",
                   L"01 CmdCtrl::GetCmd() - err=-1, Morv Combined Cmd Not Supported!\n"}));
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(Dispatch, CallsACommandWithATooLongRestUnknown) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"ping " + std::wstring(16385, L'1')), L"Command 'ping' is not exist\n");
  EXPECT_EQ(bench.Log().Lines(),
            Lines{L"01 CmdCtrl::GetCmd() - err=-1, Morvi Cmd With Param Length Exceed Max Len!\n"});
}

TEST(Dispatch, ListsHelpWordsThenTheCatalogueByAscendingId) {
  ModuleBench bench;
  const std::wstring expected =
      kHelpHead + HelpLine(L"set_values", L"0x1001") + HelpLine(L"set_nested", L"0x1002") +
      HelpLine(L"note", L"0x1003") + HelpLine(L"ping", L"0x1004") + HelpLine(L"attach", L"0x1005") +
      HelpLine(L"show_all", L"0x1006") + HelpLine(L"alone", L"0x1008") +
      HelpLine(L"picky", L"0x1009") + HelpLine(L"twice", L"0x100a") +
      HelpLine(L"twice", L"0x100b") + HelpLine(L"help", L"0x100c") + HelpLine(L"mixed", L"0x100d") +
      HelpLine(L"block_2012", L"0x100e") + HelpLine(L"block_2013", L"0x100f") +
      HelpLine(L"block_2048", L"0x1010") + HelpLine(L"block_2049", L"0x1011") +
      HelpLine(L"long_name_" + std::wstring(70, L'x'), L"0x1012") + HelpLine(L"dir", L"0x1013") +
      HelpLine(L"HELPER", L"0x1014") + HelpLine(L"quiet", L"0x1015") +
      HelpLine(L"tick", L"0x1101") + HelpLine(L"bookkeeping", L"0x7007");
  EXPECT_EQ(bench.Run(L"help"), expected);
  EXPECT_EQ(bench.Run(L"? anything"), expected);
  EXPECT_EQ(bench.App().GetMorviCmdList()->GetCount(), 24u);
}

TEST(Dispatch, KeepsTheHelpWordsWhenTheCatalogueCannotBeRead) {
  ModuleBench bench;
  fake::FailStep("EnumCommands", 51);
  kivtest::TraceEar traces;
  bench.App().ReloadDb();
  EXPECT_EQ(bench.Run(L"help"), kHelpHead);
  EXPECT_EQ(bench.Run(L"ping"), L"Command 'ping' is not exist\n");
  EXPECT_EQ(bench.Log().Lines(),
            Lines{L"01 CmdCtrl::FillMorviCmdList() - err=51, EnumCommands Fail\n"});
  EXPECT_EQ(traces.Lines(),
            (Lines{L"[CmdCtrl::Initial]start", L"[CmdCtrl::FillMorviCmdList]start",
                   L"[CmdCtrl::Initial]end", L"[CmdCtrl::DispatchCmd]start",
                   L"[CmdCtrl::DispatchCmd]start", L"[CmdCtrl::DisposeErrCommand]start"}));
}

TEST(Dispatch, AMissingCatalogueFileLeavesTheHelpWords) {
  kivtest::CoreApplication();
  fake::ResetSeam();
  kivtest::ScratchSetup setup;
  kivtest::LogEar log;
  SvcKivClass::SvcKivApp app({{}, QCString::FromUtf8(setup.Path("missing.kcat"))});
  app.Start();
  QCString reply;
  app.GetDiagCmdResponse(L"help", reply);
  EXPECT_EQ(reply.str(), kHelpHead);
  EXPECT_EQ(log.Lines(), Lines{L"01 CmdCtrl::FillMorviCmdList() - err=51, EnumCommands Fail\n"});
}

TEST(Dispatch, InitialFillsTheListAnew) {
  ModuleBench bench;
  const std::wstring before = bench.Run(L"help");
  bench.Controller().Initial();
  EXPECT_EQ(bench.Run(L"help"), before);
}

TEST(Dispatch, TracesTheUnknownCommand) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"nonsense");
  EXPECT_EQ(traces.Lines(),
            (Lines{L"[CmdCtrl::DispatchCmd]start", L"[CmdCtrl::DisposeErrCommand]start"}));
}

TEST(Dispatch, BuildsNoTraceThatNobodyReads) {
  ModuleBench bench;
  QLoggingCategory::setFilterRules("default.debug=false");
  kivtest::TraceEar traces;
  bool built = false;
  SvcKivClass::Trace([&] {
    built = true;
    return QCString(L"x");
  });
  bench.Run(L"set_values 1,2,3");
  QLoggingCategory::setFilterRules("default.debug=true");
  EXPECT_FALSE(built);
  EXPECT_EQ(traces.Lines(), Lines());
}

TEST(Dispatch, TakesALineFromThroughTheFacadeStepByStep) {
  ModuleBench bench;
  CmdCtrl& controller = bench.Controller();
  EXPECT_EQ(controller.GetCmd(L"nonsense"), 0);
  controller.DisposeErrCommand();
  EXPECT_EQ(controller.GetResponse(), L"Command 'nonsense' is not exist\n");
}

}  // namespace
