// Diagnostic commands from the typed line to the posted packet: whole replies and whole packets.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/base/transfer_profile.h"
#include "platform/bounded/pool.h"
#include "tests/fakes/written_texts.h"
#include "tests/support/hex.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::InputShown;
using kivtest::kSevenEightNine;
using kivtest::kSevenEightNineRows;
using kivtest::ModuleBench;
using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::wstring>;

const std::wstring kNotParsed = L"*** Failed to parse the diag command parameters (1).";
const std::wstring kNotFilled = L"*** Failed to parse the diag command parameters (2).\n";
const std::wstring kCheckMac = L"*** Failed to execute diag command. Check MAC path.\n";
const std::wstring kShownSevenEightNine = InputShown(kSevenEightNineRows);

Post Plain(std::uint32_t id, Bytes body, std::uint16_t tag, std::uint32_t word = 0) {
  return {PostKind::kCmd, id, std::move(body), tag, 0, word};
}

// A wrapped packet written out byte by byte.
Bytes Wrapped(std::uint32_t counter, std::uint16_t id, const std::string& headerHex,
              const Bytes& data) {
  Bytes packet = {static_cast<std::uint8_t>(counter),
                  static_cast<std::uint8_t>(counter >> 8),
                  static_cast<std::uint8_t>(counter >> 16),
                  static_cast<std::uint8_t>(counter >> 24),
                  0,
                  0,
                  0,
                  0,
                  static_cast<std::uint8_t>(id),
                  static_cast<std::uint8_t>(id >> 8),
                  0,
                  0};
  Bytes header = kivtest::FromHex(headerHex);
  header.resize(18);
  packet.insert(packet.end(), header.begin(), header.end());
  packet.insert(packet.end(), 6, 0);
  packet.insert(packet.end(), data.begin(), data.end());
  return packet;
}

TEST(DiagLine, IsShownAndPosted) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9"), kShownSevenEightNine);
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, kSevenEightNine, 1)});
}

TEST(DiagLine, WithoutParametersSendsTheDefaults) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values"), InputShown(L".first  = 1 \n.second = 2 \n.third  = 3 \n"));
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, {1, 2, 0, 3, 0, 0, 0}, 1)});
}

TEST(DiagLine, LeavesValuesThatAreNotTypedAtTheirDefaults) {
  ModuleBench bench;
  bench.Run(L"set_values 7");
  bench.Run(L"set_values ,8");
  bench.Run(L"set_values {,,9}");
  EXPECT_EQ(fake::Posts(), (std::vector<Post>{Plain(0x1001, {7, 2, 0, 3, 0, 0, 0}, 1),
                                              Plain(0x1001, {1, 8, 0, 3, 0, 0, 0}, 2),
                                              Plain(0x1001, {1, 2, 0, 9, 0, 0, 0}, 3)}));
}

TEST(DiagLine, FillsNestedStructuresByBraces) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_nested {1,{2,3}}"),
            InputShown(L".lead   = 1 \n.pair   =  \n..left  = 2 \n..right = 3 \n"));
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1002, {1, 2, 3}, 1)});
}

TEST(DiagLine, ShowsSignedValuesTextsAndArrays) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"mixed"), InputShown(L".small   = -5 \n.name    = abc \ntable[0] = 7 \n"
                                            L"table[1] = 8 \ntable[2] = 9 \n"));
  Bytes body = {0xFB, 'a', 'b', 'c'};
  body.resize(17);
  body.insert(body.end(), {7, 0, 8, 0, 9, 0});
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x100d, body, 1)});
}

TEST(DiagLine, ShowsItsInputWithTheFlagsOfReplies) {
  ModuleBench bench;
  bench.App().GetSwitches().oneLineArrays = true;
  EXPECT_EQ(bench.Run(L"mixed"), InputShown(L".small = -5 \n.name  = abc \n.table = 7,8,9 \n"));
  bench.App().GetSwitches().showType = true;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9"),
            InputShown(L".first  = 7  \n.second = 8  \n.third  = 9  \n"));
  bench.App().SetHexadecimalFlag(true);
  EXPECT_EQ(bench.Run(L"set_values 7,8,9"),
            InputShown(L".first  = 0x07  \n.second = 0x0008  \n.third  = 0x00000009  \n"));
}

TEST(DiagLine, WithoutFieldsShowsNothingBetweenTheStarsAndPostsAnEmptyBody) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"ping"), L"Input Parameters:\n********************\n********************\n");
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1004, {}, 1)});
}

TEST(DiagLine, WithoutADeviceIsRefusedBeforeItsParametersAreRead) {
  ModuleBench bench({.connected = false});
  for (const wchar_t* line : {L"set_values 7,8,9", L"set_values {1", L"note x", L"ping -r x"}) {
    EXPECT_EQ(bench.Run(line), L"*** Failed to execute diag command. No UE is connected.\n");
  }
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

TEST(DiagLine, ThatCannotBeParsedShowsTheParsersTextWithoutALineFeedBetween) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values {1,2"), kNotParsed + L"the last '}' is missing.\n");
  EXPECT_EQ(bench.Run(L"set_values 1,{2}"), kNotParsed + L"The outermost '{' or '}' is missing.\n");
  EXPECT_EQ(bench.Run(L"set_values @none %1.txt"), kNotParsed + L"none %1.txt does not exist.\n");
  EXPECT_EQ(bench.Run(L"set_values $(T<none"),
            kNotParsed + L"Cannot find the text file name finish tag ')'.\n");
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
}

TEST(DiagLine, ThatDoesNotFillTheTreeShowsTheFillText) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 1,x,3"), kNotFilled +
                                                L"Failed to translate x to wexUint32.\n"
                                                L"The index of current parameter is %d.\n");
  EXPECT_EQ(bench.Run(L"set_values {{1,2,3}}"),
            kNotFilled +
                L"The depth of the parameters line does not match that of the default "
                L"parameters tree.\nThe index of current parameter is %d.\n");
  EXPECT_EQ(bench.Run(L"set_values [1],2"),
            kNotFilled +
                L"Value type does not match, meeting the '[' for single value.\n"
                L"The index of current parameter is %d.\n");
  EXPECT_EQ(bench.Run(L"mixed 1"), kNotFilled +
                                       L"The parameters line is end"
                                       L"The index of current parameter is 2.\n");
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

TEST(DiagLine, AFailureWithoutATextOfItsOwnShowsNoOlderOne) {
  ModuleBench bench;
  bench.Run(L"set_values x");
  std::ofstream(bench.Setup().Path("short.bin")) << "ab";
  const std::wstring path = QCString::FromUtf8(bench.Setup().Path("short.bin")).str();
  EXPECT_EQ(bench.Run(L"mixed 1,$(B<" + path + L")"),
            kNotFilled + L"The index of current parameter is 2.\n");
}

TEST(DiagLine, IsTraced) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"set_values 7,8,9 -d 5");
  EXPECT_EQ(traces.Lines(),
            (Lines{L"[CmdCtrl::DispatchCmd]start", L"[CmdCtrl::ResponseMyCommand]start",
                   L"[CmdCtrl::ResponseMyCommand]paramRest = 7,8,9",
                   L"[CmdCtrl::DisplayInputParams]start",
                   L"[CmdCtrl::DisplayInputParams]dispStr = " + kShownSevenEightNine}));
}

TEST(DiagLine, IsTracedWithMarksAndForeignLettersAsTyped) {
  ModuleBench bench;
  kivtest::TraceEar traces;
  bench.Run(L"note %1%ls \u00fc\U0001F600");
  ASSERT_GE(traces.Lines().size(), 3u);
  EXPECT_EQ(traces.Lines()[2], L"[CmdCtrl::ResponseMyCommand]paramRest = %1%ls \u00fc\U0001F600");
}

TEST(TextLine, IsSentAsTextWithItsTerminatorInWholeWords) {
  ModuleBench bench;
  const std::wstring shown = InputShown(L"");
  for (const wchar_t* line :
       {L"note hello", L"note", L"note abc", L"note abcd", L"note 1,{x", L"note %1"}) {
    EXPECT_EQ(bench.Run(line), shown);
  }
  EXPECT_EQ(
      fake::Posts(),
      (std::vector<Post>{
          Plain(0x1003, {'h', 'e', 'l', 'l', 'o', 0, 0, 0}, 1), Plain(0x1003, {0, 0, 0, 0}, 2),
          Plain(0x1003, {'a', 'b', 'c', 0}, 3), Plain(0x1003, {'a', 'b', 'c', 'd', 0, 0, 0, 0}, 4),
          Plain(0x1003, {'1', ',', '{', 'x', 0, 0, 0, 0}, 5), Plain(0x1003, {'%', '1', 0, 0}, 6)}));
}

TEST(TextLine, IsSentInUtf8) {
  ModuleBench bench;
  bench.Run(L"note gr\u00fc\U0001F600");
  EXPECT_EQ(fake::Posts(),
            std::vector<Post>{
                Plain(0x1003, {'g', 'r', 0xC3, 0xBC, 0xF0, 0x9F, 0x98, 0x80, 0, 0, 0, 0}, 1)});
}

TEST(TextLine, OfTheLongestRestIsPostedWhole) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"note " + std::wstring(16384, L'n')), InputShown(L""));
  Bytes body(16384, 'n');
  body.resize(16388);
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1003, body, 1)});
}

TEST(TextLine, LosesTheBlankBeforeItsOption) {
  ModuleBench bench;
  bench.Run(L"note a  b  -d 5");
  EXPECT_EQ(fake::Posts(),
            std::vector<Post>{Plain(0x1003, {'a', ' ', ' ', 'b', 0, 0, 0, 0}, 1, 5)});
}

TEST(TextLine, TakesAnEarlierOptionAsText) {
  ModuleBench bench;
  bench.Run(L"note -d 5 -r 00:11:22:33:44:55");
  // The "-d " anywhere makes it direct; what stands behind the last ">" is no number.
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1003, {'-', 'd', ' ', '5', 0, 0, 0, 0}, 1)});
}

// Started and connected over a catalogue made on the spot.
class OwnCatalogue {
 public:
  explicit OwnCatalogue(const std::string& source) {
    const std::string catalogue = kivtest::CompiledCatalogue(setup_.Path("."), source);
    EXPECT_NE(catalogue, "");
    bench::Setup own;
    own.configDir = QCString::FromUtf8(setup_.Path("config"));
    own.catalogue = QCString::FromUtf8(catalogue);
    bench::SetSetup(own);
    app_ = std::make_unique<SvcKivClass::SvcKivApp>(SvcKivClass::SvcKivAppParts{{}, {}});
    app_->Start();
    app_->SetUEConnectStatus(1);
  }
  std::wstring Run(const wchar_t* line) {
    QCString reply;
    app_->GetDiagCmdResponse(line, reply);
    return reply.str();
  }

 private:
  struct Reset {
    Reset() {
      kivtest::CoreApplication();
      fake::ResetSeam();
    }
  };

  Reset reset_;
  kivtest::ScratchSetup setup_;
  std::unique_ptr<SvcKivClass::SvcKivApp> app_;
};

TEST(TextLine, IsEveryCommandWhoseTreeHasOneOfTheTwoTextTypes) {
  OwnCatalogue bench(R"({ "format": 1, "name": "texts", "layout": "packed",
    "types": [
      { "name": "dbk_str_type", "fields": [
        { "name": "text", "type": "char", "count": 8, "default": "one" } ] },
      { "name": "dbk_str_type_stru", "fields": [
        { "name": "text", "type": "char", "count": 8, "default": "two" } ] },
      { "name": "my_dbk_str_type", "fields": [ { "name": "value", "type": "u8" } ] } ],
    "commands": [
      { "id": "0x1", "name": "first", "request": "dbk_str_type" },
      { "id": "0x2", "name": "second", "request": "dbk_str_type_stru" },
      { "id": "0x3", "name": "third", "request": "my_dbk_str_type" } ] })");
  // The display is the untouched default tree's, not the typed text.
  EXPECT_EQ(bench.Run(L"first 7"), InputShown(L"one  "));
  EXPECT_EQ(bench.Run(L"second 7"), InputShown(L"two  "));
  EXPECT_EQ(bench.Run(L"third 7"), InputShown(L".value = 7 \n"));
  EXPECT_EQ(fake::Posts(), (std::vector<Post>{Plain(1, {'7', 0, 0, 0}, 1),
                                              Plain(2, {'7', 0, 0, 0}, 2), Plain(3, {7}, 3)}));
}

TEST(DiagLine, OfANullStructureShowsItsInputAllTheSame) {
  OwnCatalogue bench(R"({ "format": 1, "name": "nulls", "layout": "packed",
    "types": [ { "name": "my_Null_Stru", "fields": [ { "name": "value", "type": "u8" } ] } ],
    "commands": [ { "id": "0x1", "name": "first", "request": "my_Null_Stru" } ] })");
  EXPECT_EQ(bench.Run(L"first 7"), InputShown(L".value = 7 \n"));
  EXPECT_EQ(fake::Posts(), (std::vector<Post>{Plain(1, {7}, 1)}));
}

TEST(PostedLine, NumbersPostsFromOneAndSkipsTheLastNumber) {
  ModuleBench bench;
  bench.Run(L"ping");
  bench.Run(L"ping");
  bench.Controller().SetSequenceNumber(65533);
  for (int i = 0; i < 4; ++i) bench.Run(L"ping");
  std::vector<std::uint16_t> tags;
  for (const Post& post : fake::Posts()) tags.push_back(post.tag);
  EXPECT_EQ(tags, (std::vector<std::uint16_t>{1, 2, 65534, 0, 1, 2}));
}

TEST(PostedLine, ConsumesANumberForABadPathAndAFailedPostButNotForALineThatNeverGotThere) {
  ModuleBench bench;
  bench.Run(L"set_values 1 -r bad");  // 1
  bench.Run(L"set_values x");         // none
  bench.Run(L"nonsense");             // none
  fake::SetPostStatus(9);
  bench.Run(L"ping");  // 2
  fake::SetPostStatus(0);
  bench.Run(L"ping");  // 3
  std::vector<std::uint16_t> tags;
  for (const Post& post : fake::Posts()) tags.push_back(post.tag);
  EXPECT_EQ(tags, (std::vector<std::uint16_t>{2, 3}));
}

TEST(PostedLine, DirectPutsItsNumberInTheLastWord) {
  const std::vector<std::pair<const wchar_t*, std::uint32_t>> rows = {
      {L"5", 5},          {L"4294967295", 4294967295u},
      {L"4294967296", 0}, {L"0x10", 0},
      {L"200abc", 0},     {L"-5", 0},
      {L"+5", 5},         {L"abc", 0},
      {L"1->7", 7},       {L"1> 8", 8},
      {L"007", 7},
  };
  for (const auto& [path, word] : rows) {
    ModuleBench bench;
    SCOPED_TRACE(QCString(path).ToUtf8());
    EXPECT_EQ(bench.Run(L"set_values 7,8,9 -d " + std::wstring(path)), kShownSevenEightNine);
    EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, kSevenEightNine, 1, word)});
  }
}

TEST(PostedLine, FindsItsOptionInAnyCaseAndWithoutABlankBefore) {
  for (const wchar_t* line : {L"set_values 7,8,9 -D 5", L"set_values 7,8,9-d 5",
                              L"set_values 7,8,9 -r d->5", L"set_values 7,8,9 -d    5"}) {
    ModuleBench bench;
    SCOPED_TRACE(QCString(line).ToUtf8());
    EXPECT_EQ(bench.Run(line), kShownSevenEightNine);
    EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, kSevenEightNine, 1, 5)});
  }
}

TEST(PostedLine, WithAnOptionAloneSendsTheDefaults) {
  ModuleBench bench;
  bench.Run(L"set_values -d 5");
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, {1, 2, 0, 3, 0, 0, 0}, 1, 5)});
}

TEST(PostedLine, RoutedIsWrappedByteForByte) {
  const std::vector<std::pair<std::wstring, std::string>> rows = {
      {L"-r 00:11:22:33:44:55", "001122334455"},
      {L"-R 00-11-22-aA-Bb-cC", "001122aabbcc"},
      {L"-r 0 0:11:22 :33:44:55", "001122334455"},
      {L"-rf 00:11:22:33:44:55", "ffffffffffff001122334455"},
      {L"-RF 00:11:22:33:44:55", "ffffffffffff001122334455"},
      {L"-r 00:11:22:33:44:55->66:77:88:99:aa:bb", "00112233445566778899aabb"},
      {L"-r 01:02:03:04:05:06->11:12:13:14:15:16 -> 21:22:23:24:25:26",
       "010203040506111213141516212223242526"},
      {L"-rf 11:12:13:14:15:16->21:22:23:24:25:26", "ffffffffffff111213141516212223242526"},
      {L"-r 00:00:00:00:00:01", "000000000001"},
      {L"-r 01:00:00:00:00:00", "010000000000"},
  };
  for (const auto& [option, header] : rows) {
    ModuleBench bench;
    SCOPED_TRACE(QCString(option).ToUtf8());
    EXPECT_EQ(bench.Run(L"set_values 7,8,9 " + option), kShownSevenEightNine);
    EXPECT_EQ(fake::Posts(),
              std::vector<Post>{Plain(0x7000, Wrapped(0, 0x1001, header, kSevenEightNine), 1)});
  }
}

TEST(PostedLine, RoutedCountsItsOwnSequenceAlsoOverFailedPosts) {
  ModuleBench bench;
  const std::wstring line = std::wstring(L"set_values 7,8,9 -r ") + kivtest::kMac;
  bench.Run(L"ping");
  bench.Run(line);
  fake::SetPostStatus(9);
  bench.Run(line);
  fake::SetPostStatus(0);
  bench.Run(line);
  const std::string header = "001122334455";
  EXPECT_EQ(fake::Posts(),
            (std::vector<Post>{Plain(0x1004, {}, 1),
                               Plain(0x7000, Wrapped(0, 0x1001, header, kSevenEightNine), 2),
                               Plain(0x7000, Wrapped(1, 0x1001, header, kSevenEightNine), 3),
                               Plain(0x7000, Wrapped(2, 0x1001, header, kSevenEightNine), 4)}));
}

TEST(PostedLine, RoutedCarriesACommandWithoutParameters) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"ping -r 00:11:22:33:44:55"), InputShown(L""));
  EXPECT_EQ(fake::Posts(),
            std::vector<Post>{Plain(0x7000, Wrapped(0, 0x1004, "001122334455", {}), 1)});
}

TEST(PostedLine, AFirstHopOfZerosIsPostedPlain) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9 -r 00:00:00:00:00:00->11:22:33:44:55:66"),
            kShownSevenEightNine);
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x1001, kSevenEightNine, 1)});
}

TEST(PostedLine, ABadPathPostsNothingAndSaysSoBehindTheInput) {
  for (const wchar_t* path :
       {L"00:11:22:33:44:5", L"00:11:22:33:44:555", L"00:11:22:33:44:5g", L"001122334455",
        L"00:11:22:33:44:55->", L"00.11.22.33.44.55", L"->00:11:22:33:44:55", L"D->5",
        L"00:11:22:33:44:55->00:11:22:33:44:55->00:11:22:33:44:55->00:11:22:33:44:55",
        L"00:11:22:33:44:\u0665\u0665", L"+0:11:22:33:44:55"}) {
    ModuleBench bench;
    SCOPED_TRACE(QCString(path).ToUtf8());
    EXPECT_EQ(bench.Run(L"set_values 7,8,9 -r " + std::wstring(path)),
              kShownSevenEightNine + kCheckMac);
    EXPECT_EQ(fake::Posts(), std::vector<Post>());
    EXPECT_EQ(bench.Log().Lines(), Lines());
  }
}

TEST(PostedLine, BroadcastLeavesRoomForTwoHopsOnly) {
  ModuleBench bench;
  const std::wstring hop = kivtest::kMac;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9 -rf " + hop + L"->" + hop + L"->" + hop),
            kShownSevenEightNine + kCheckMac);
}

TEST(PostedLine, ASecondOptionIsLeftToTheParser) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9 -d 5 -d 6"),
            kNotFilled +
                L"Failed to translate 9 -d 5 to wexUint32.\n"
                L"The index of current parameter is %d.\n");
  EXPECT_EQ(fake::Posts(), std::vector<Post>());
}

TEST(PostedLine, AnOptionWithNothingBehindItIsNone) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"set_values 7,8,9 -r "), kNotFilled +
                                                    L"Failed to translate 9 -r to wexUint32.\n"
                                                    L"The index of current parameter is %d.\n");
}

// Rows of the large blocks' display.
std::wstring BlockRows(int count) {
  std::wstring rows;
  for (int i = 0; i < count; ++i) {
    std::wstring name = L"bytes[" + std::to_wstring(i) + L"]";
    name.resize(11, L' ');
    rows += name + L" = 0 \n";
  }
  return rows;
}

TEST(PostedLine, RoutedTakesTwoThousandAndTwelveBytesAndNotOneMore) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"block_2012 -r 00:11:22:33:44:55"), InputShown(BlockRows(2012)));
  const Bytes packet = Wrapped(0, 0x100e, "001122334455", Bytes(2012));
  ASSERT_EQ(packet.size(), 2048u);
  EXPECT_EQ(fake::Posts(), std::vector<Post>{Plain(0x7000, packet, 1)});

  EXPECT_EQ(bench.Run(L"block_2013 -r 00:11:22:33:44:55"),
            InputShown(BlockRows(2013)) + L"*** Failed to execute diag command, ret=22\n");
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(bench.Log().Lines(),
            Lines{L"01 CmdCtrl::DispatchMyCommand() - err=22, Connection Error. Invalid UE ID!\n"});
}

TEST(PostedLine, PlainAndDirectHaveNoLengthLimitButZeroRoutesHave) {
  ModuleBench bench;
  EXPECT_EQ(bench.Run(L"block_2049"), InputShown(BlockRows(2049)));
  EXPECT_EQ(bench.Run(L"block_2049 -d 1"), InputShown(BlockRows(2049)));
  EXPECT_EQ(bench.Run(L"block_2048 -r 00:00:00:00:00:00"), InputShown(BlockRows(2048)));
  EXPECT_EQ(bench.Run(L"block_2049 -r 00:00:00:00:00:00"),
            InputShown(BlockRows(2049)) + L"*** Failed to execute diag command, ret=22\n");
  EXPECT_EQ(fake::Posts(),
            (std::vector<Post>{Plain(0x1011, Bytes(2049), 1), Plain(0x1011, Bytes(2049), 2, 1),
                               Plain(0x1010, Bytes(2048), 3)}));
}

TEST(PostedLine, TellsTheLinksStatusBehindTheInput) {
  const std::vector<std::tuple<std::uint32_t, std::wstring, Lines>> rows = {
      {3207, L"*** Failed to execute diag command. Connect UE before using any commands.\n", {}},
      {23, kCheckMac, {}},
      {9,
       L"*** Failed to execute diag command, ret=9\n",
       {L"01 CmdCtrl::DispatchMyCommand() - err=9, Connection Error. Invalid UE ID!\n"}},
      {500,
       L"*** Failed to execute diag command, ret=500\n",
       {L"01 CmdCtrl::DispatchMyCommand() - err=500, Connection Error. Invalid UE ID!\n"}},
      {0xFFFFFFFFu,
       L"*** Failed to execute diag command, ret=4294967295\n",
       {L"01 CmdCtrl::DispatchMyCommand() - err=-1, Connection Error. Invalid UE ID!\n"}},
  };
  for (const auto& [status, text, log] : rows) {
    for (const wchar_t* option : {L"", L" -d 5", L" -r 00:11:22:33:44:55"}) {
      ModuleBench bench;
      fake::SetPostStatus(status);
      EXPECT_EQ(bench.Run(std::wstring(L"set_values 7,8,9") + option), kShownSevenEightNine + text);
      EXPECT_EQ(bench.Log().Lines(), log);
      EXPECT_EQ(fake::Posts().size(), 1u);
    }
  }
}

TEST(PostedLine, WithoutADeviceBehindTheLinkSaysConnectFirst) {
  ModuleBench bench;
  fake::SetDeviceThere(false);
  EXPECT_EQ(bench.Run(L"set_values 7,8,9"),
            kShownSevenEightNine +
                L"*** Failed to execute diag command. Connect UE before using any commands.\n");
}

TEST(PostedLine, OnlyRoutedPostsAreCountedWithTheCallersLength) {
  ModuleBench bench;
  const CTransferProfile* profile = TpfFind(256, 1);
  ASSERT_NE(profile, nullptr);
  bench.Run(L"set_values 7,8,9");
  bench.Run(L"set_values 7,8,9 -d 5");
  EXPECT_EQ(profile->TxCount(), 0u);
  bench.Run(L"set_values 7,8,9 -r 00:11:22:33:44:55");
  bench.Run(L"set_values 7,8,9 -r 00:00:00:00:00:00");
  EXPECT_EQ(profile->TxCount(), 2u);
  EXPECT_EQ(profile->TxBytes(), 14u);
  fake::SetPostStatus(9);
  bench.Run(L"set_values 7,8,9 -r 00:11:22:33:44:55");
  EXPECT_EQ(profile->TxCount(), 2u);
}

TEST(PostedLine, GivesEveryPoolBlockBackWhateverHappened) {
  ModuleBench bench;
  bench.Run(L"ping");
  const std::uint64_t blocks = pool::LiveBlocks();
  for (const wchar_t* line : {L"set_values 7,8,9", L"set_values x", L"set_values {1", L"note text",
                              L"note", L"ping -r bad", L"ping -r 00:11:22:33:44:55",
                              L"block_2013 -r 00:11:22:33:44:55", L"nonsense", L"help", L"mixed"}) {
    for (const std::uint32_t status : {0u, 9u, 23u, 3207u}) {
      fake::SetPostStatus(status);
      bench.Run(line);
      EXPECT_EQ(pool::LiveBlocks(), blocks) << QCString(line).ToUtf8() << " " << status;
    }
  }
}

// Every allocation of the line fails once; what the user is told is one of the texts that say so.
TEST(PostedLine, TellsTheUserWhichStepHadNoMemory) {
  const std::wstring noPacket =
      L"*** Failed to find valid packet (id=0x1001, ret=500). Maybe the parameter is invalid or "
      L"the "
      L"ID does not exist. \n";
  const std::wstring noBody =
      kShownSevenEightNine +
      L"*** Failed to execute diag command. Build diag command packet error. ErrNum =500\n";
  const std::wstring noWrap =
      kShownSevenEightNine + L"*** Failed to execute diag command, ret=500\n";
  std::set<std::wstring> seen;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 100u);
    ModuleBench bench;
    bench.Run(L"ping");
    const std::uint64_t blocks = pool::LiveBlocks();
    pool::FailNth(n);
    const std::wstring reply = bench.Run(L"set_values 7,8,9 -r 00:11:22:33:44:55");
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), blocks) << n;
    if (!failed) {
      EXPECT_EQ(reply, kShownSevenEightNine);
      break;
    }
    EXPECT_EQ(fake::Posts().size(), 1u) << n;
    EXPECT_EQ(bench.Controller().GetSequenceNumber(), reply == noWrap ? 2 : 1) << n;
    seen.insert(reply);
  }
  EXPECT_EQ(seen, (std::set<std::wstring>{noPacket, noBody, noWrap}));
}

TEST(PostedLine, ATextWithoutMemoryIsABodyThatCannotBeBuilt) {
  std::set<std::wstring> seen;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 100u);
    ModuleBench bench;
    pool::FailNth(n);
    const std::wstring reply = bench.Run(L"note hello");
    const bool failed = pool::Failed();
    pool::FailNth(0);
    if (!failed) break;
    EXPECT_EQ(fake::Posts(), std::vector<Post>()) << n;
    seen.insert(reply);
  }
  EXPECT_EQ(seen.count(InputShown(L"") +
                       L"*** Failed to execute diag command. Build diag command packet error. "
                       L"ErrNum =500\n"),
            1u);
}

TEST(PostedLine, ACommandWithoutAPacketIsToldWithItsIdAndStatus) {
  kivtest::CoreApplication();
  fake::ResetSeam();
  const kivtest::ScratchSetup setup;
  // In the controller's list, but not in the catalogue that the packet is built from.
  SvcKivClass::SvcKivApp app(SvcKivClass::SvcKivAppParts{{}, {}});
  app.Start();
  app.SetUEConnectStatus(1);
  app.GetMorviCmdList()->AddCommand(CmdInfo::Make(0xABCD, L"ghost", L"", L"", 0, 0));
  QCString reply;
  app.GetDiagCmdResponse(L"ghost", reply);
  EXPECT_EQ(
      reply.str(),
      L"*** Failed to find valid packet (id=0xabcd, ret=521). Maybe the parameter is invalid or "
      L"the ID does not exist. \n");
}

}  // namespace
