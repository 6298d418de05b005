// The replies that a line gets without a packet: unknown words, help, host words.
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "command/shared_constants.h"
#include "tests/fakes/written_texts.h"

namespace {

using kivtest::ModuleBench;
using Lines = std::vector<std::wstring>;

std::wstring Many(std::size_t count, wchar_t ch = L'x') { return std::wstring(count, ch); }
std::wstring Unknown(const std::wstring& word) { return L"Command '" + word + L"' is not exist\n"; }

TEST(ReplyToALine, AnUnknownWordIsNamed) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"nonsense 1 2 3"), Unknown(L"nonsense"));
  EXPECT_EQ(bench.Run(L"HELP"), Unknown(L"HELP"));
  EXPECT_EQ(bench.Run(L"hidden"), Unknown(L"hidden"));
  EXPECT_EQ(bench.Run(L"gr\u00f6\u00dfe \U0001F600"), Unknown(L"gr\u00f6\u00dfe"));
  EXPECT_EQ(bench.Run(L"missing.hcs"), Unknown(L"missing.hcs"));
}

TEST(ReplyToALine, AnEmptyOneGetsAnEmptyReply) {
  ModuleBench bench;
  for (const wchar_t* line : {L"", L"   ", L"\n", L"\r\n", L"\n x"})
    EXPECT_EQ(bench.Run(line), L"");
  QCString reply(L"before");
  bench.App().GetDiagCmdResponse(nullptr, reply);
  EXPECT_EQ(reply, L"");
}

TEST(ReplyToALine, AWordIsShownWholeUpToEightyCharactersAndCutToFiftyBeyond) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(Many(80)), Unknown(Many(80)));
  EXPECT_EQ(bench.Run(Many(81)), Unknown(Many(50)));
  EXPECT_EQ(bench.Run(Many(81) + L" rest"), Unknown(Many(50)));
  EXPECT_EQ(bench.Run(Many(81, L'\U0001F600')), Unknown(Many(50, L'\U0001F600')));
}

TEST(ReplyToALine, ATooLongLineIsNamedByItsFirstFiftyCharacters) {
  ModuleBench bench;
  const std::wstring line = L"help " + Many(16459);
  ASSERT_EQ(line.size(), 16464u);
  EXPECT_EQ(bench.Run(line), Unknown(L"help " + Many(45)));
  EXPECT_EQ(bench.Run(L"help " + Many(16458)), bench.Run(L"help"));
}

TEST(ReplyToALine, AnAtLineThatNobodyTookIsNamedWhole) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"AT+X 1 -d 5"), Unknown(L"AT+X 1 -d 5"));
  EXPECT_EQ(bench.Run(L"attach 1"), Unknown(L"attach 1"));
  EXPECT_EQ(bench.Run(L"at " + Many(77)), Unknown(L"at " + Many(77)));
  EXPECT_EQ(bench.Run(L"at " + Many(78)), Unknown(L"at " + Many(47)));
  EXPECT_EQ(bench.Run(L"AT" + Many(90) + L" 1"), Unknown(L"AT" + Many(48)));
}

TEST(ReplyToALine, MarksInTheWordAreShownAsTyped) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"%1%2%s%ls%n"), Unknown(L"%1%2%s%ls%n"));
}

TEST(ReplyToALine, HelpListsItsTwoWordsAndThenTheCatalogueById) {
  ModuleBench bench;
  const std::vector<std::pair<std::wstring, std::wstring>> commands = {
      {L"set_values", L"1001"}, {L"set_nested", L"1002"}, {L"note", L"1003"},
      {L"ping", L"1004"},       {L"attach", L"1005"},     {L"show_all", L"1006"},
      {L"alone", L"1008"},      {L"picky", L"1009"},      {L"twice", L"100a"},
      {L"twice", L"100b"},      {L"help", L"100c"},       {L"mixed", L"100d"},
      {L"block_2012", L"100e"}, {L"block_2013", L"100f"}, {L"block_2048", L"1010"},
      {L"block_2049", L"1011"}, {L"", L"1012"},           {L"dir", L"1013"},
      {L"HELPER", L"1014"},     {L"quiet", L"1015"},      {L"tick", L"1101"},
      {L"bookkeeping", L"7007"}};
  std::wstring expected = L"help  Querying All Commands\n?  Querying All Commands\n";
  for (const auto& [name, id] : commands) {
    // The longest name of the catalogue is looked up, the others are written out.
    std::wstring shown = name;
    if (name.empty()) {
      for (const CmdInfo& command : bench.App().GetMorviCmdList()->Commands()) {
        if (command.GetId() == 0x1012) shown = command.GetName();
      }
      ASSERT_FALSE(shown.empty());
    }
    expected += shown + L"  (0x" + id + L") \n\n";
  }
  EXPECT_EQ(bench.Run(L"help"), expected);
  EXPECT_EQ(bench.Run(L"?"), expected);
  EXPECT_EQ(bench.Run(L"  help  with a rest "), expected);
}

TEST(ReplyToALine, HelpNeedsNoDevice) {
  ModuleBench bench({.connected = false});
  EXPECT_EQ(bench.Run(L"help").rfind(L"help  Querying All Commands\n", 0), 0u);
}

TEST(ReplyToALine, AHostWordGetsAnEmptyReplyAndSendsNothing) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"cls"), L"");
  EXPECT_EQ(bench.Run(L"cls /all"), L"");
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(ReplyToALine, ACombinationThatIsNotAllowedIsRefusedWithoutALineFeed) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"alone 1,2,3"), L"Morv Combined commands not supported.");
  EXPECT_EQ(bench.Run(L"picky 1,2,3 -d 6"), L"Morv Combined commands not supported.");
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
  EXPECT_EQ(bench.Log().Lines(),
            (Lines{L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n",
                   L"01 CmdCtrl::GetCmd() - err=-1, Morv Combined Cmd Not Supported!\n",
                   L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n",
                   L"01 CmdCtrl::GetCmd() - err=-1, Morv Combined Cmd Not Supported!\n"}));
}

TEST(ReplyToALine, ARefusalNeedsNoDevice) {
  ModuleBench bench({.connected = false});
  EXPECT_EQ(bench.Run(L"alone 1"), L"Morv Combined commands not supported.");
}

TEST(ReplyToALine, ATooLongRestMakesTheCommandUnknown) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values " + Many(16385, L'1')), Unknown(L"set_values"));
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
}

TEST(ReplyToALine, EachReplyReplacesWhatTheHolderHeld) {
  ModuleBench bench;
  QCString reply(L"before");
  bench.App().GetDiagCmdResponse(L"nonsense", reply);
  EXPECT_EQ(reply.str(), Unknown(L"nonsense"));
  bench.App().GetDiagCmdResponse(L"", reply);
  EXPECT_EQ(reply, L"");
}

TEST(ReplyToALine, UnknownWordsAndDispatchesAreTraced) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"nonsense");
  EXPECT_EQ(traces.Lines(),
            (Lines{L"[CmdCtrl::DispatchCmd]start", L"[CmdCtrl::DisposeErrCommand]start"}));
}

TEST(SharedTexts, AreExactlyThese) {
  using namespace SvcKivClass;
  EXPECT_STREQ(kTimeStampPattern, L"yyyymmddhhmmss");
  EXPECT_STREQ(kStatisticsFileName, L"kiv_stat_info.txt");
  EXPECT_STREQ(kHelpFileName, L"kiv_help.chm");
  EXPECT_STREQ(kTextFileMarker, L"$(T<");
  EXPECT_STREQ(kBinaryFileMarker, L"$(B<");
  EXPECT_STREQ(kHotKeyConflictWarning, "ESC(<-) conflict with hot key Cancel");
  EXPECT_STREQ(kScriptFileSuffix, L".hcs");
  EXPECT_STREQ(kHelpWords[0], L"help");
  EXPECT_STREQ(kHelpWords[1], L"?");
  EXPECT_STREQ(kHelpCaption, "Querying All Commands");
  const std::vector<std::string> messages(std::begin(kErrorMessages), std::end(kErrorMessages));
  EXPECT_EQ(messages,
            (std::vector<std::string>{
                "Execute DIAG Command Timeout!", "Build Command Packet failed!",
                "No enough memory!", "OS full!", "Initial is not correct!", "Not enough memory!",
                "No ZEBM data library file found!", "Not supported!",
                "Query default paramters failed!", "New parse object failed!"}));
}

}  // namespace
