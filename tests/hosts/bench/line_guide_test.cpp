// The whole way from a typed line and a cursor to what a host shows.
#include "hosts/bench/line_guide.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "command/packet/diag_packet.h"
#include "hosts/bench/caret_line.h"
#include "platform/os/utf8.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/tree_paths.h"

using hostbench::LineHelp;
using hostbench::LinePlace;

namespace {

// A guide over the catalogue that ships, with a host's own word.
class BoardGuide : public testing::Test {
 protected:
  static QCString Path() {
    return QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
  }
  void SetUp() override {
    std::vector<CmdInfo> commands;
    ASSERT_EQ(hostbench::ReadCommands(Path(), commands), 0u);
    commands.push_back(CmdInfo::Make(0, L"help", L"lists the commands", L"", 0, 0));
    guide_ = std::make_unique<hostbench::LineGuide>(
        Path(), std::make_shared<const hostbench::CommandIndex>(std::move(commands)));
  }

  LineHelp At(const std::wstring& line) { return guide_->At(line, line.size(), 10); }
  std::string Text(const std::wstring& line) { return os::WideToUtf8(At(line).text); }
  std::string Mark(const std::wstring& line) {
    const auto refusal = guide_->RefusalOf(line);
    if (!refusal) return "";
    return os::WideToUtf8(hostbench::CaretLine(line, refusal->column, refusal->path));
  }

  std::unique_ptr<hostbench::LineGuide> guide_;
};

TEST_F(BoardGuide, CompletesTheFirstWord) {
  const LineHelp help = At(L"  sys_i");
  EXPECT_EQ(help.place, LinePlace::kWord);
  EXPECT_EQ(help.from, 2u);
  EXPECT_EQ(help.word, L"sys_i");
  ASSERT_EQ(help.commands.rows.size(), 1u);
  EXPECT_EQ(std::wstring(guide_->Commands().At(help.commands.rows[0].index).GetName()),
            L"sys_info");
  EXPECT_EQ(At(L"").place, LinePlace::kWord);
  EXPECT_EQ(At(L"at").place, LinePlace::kWord);
}

TEST_F(BoardGuide, LooksOnlyAtWhatStandsBeforeTheCursor) {
  const std::wstring line = L"sys_info 1,2";
  const LineHelp help = guide_->At(line, 3, 10);
  EXPECT_EQ(help.place, LinePlace::kWord);
  EXPECT_EQ(help.word, L"sys");
}

TEST_F(BoardGuide, TellsTheFieldsOfACommandWithTheirNames) {
  EXPECT_EQ(Text(L"ind_start "),
            "which: indication_set, default 3 (all), 1 tick, 2 load, 3 all; begins with \"{\", or "
            "without; then \",\", 2 more fields");
  EXPECT_EQ(Text(L"ind_start 1,"),
            "period_ms: u32, default 1000, 0 to 4294967295; then \",\", 1 more field");
  EXPECT_EQ(Text(L"sys_info "), "takes no parameters");
  const LineHelp help = At(L"ind_start t");
  ASSERT_EQ(help.field.candidates.size(), 1u);
  EXPECT_EQ(help.field.candidates[0].typed, L"1");
  EXPECT_EQ(help.field.candidates[0].note, L"tick: ind_tick");
  EXPECT_EQ(help.field.from, 10u);
  EXPECT_FALSE(help.field.isTaken);
}

TEST_F(BoardGuide, SaysNothingOfWhatIsNoCommand) {
  EXPECT_EQ(At(L"help x").place, LinePlace::kNothing);
  EXPECT_EQ(At(L"no_such_command 1").place, LinePlace::kNothing);
  EXPECT_EQ(At(L"at+cgmi x").place, LinePlace::kNothing);
}

TEST_F(BoardGuide, MarksTheTypedLineWhereTheModuleRefusedIt) {
  EXPECT_EQ(Mark(L"ind_start 1,x,3"), "            ^ period_ms");
  EXPECT_EQ(Mark(L"  ind_start   1 , x,3 -d 4"), "                  ^ period_ms");
  EXPECT_EQ(Mark(L"ind_start {1,2,3"), "                ^");
  EXPECT_EQ(Mark(L"ind_start 1,2,3"), "");
  EXPECT_EQ(Mark(L"ind_start"), "");
  EXPECT_EQ(Mark(L"no_such_command {"), "");
}

TEST_F(BoardGuide, RefusesExactlyWhatTheModuleRefuses) {
  const wchar_t* const rests[] = {L"1",      L"1,2,3,4", L"{1}",       L"{1,2,3}",  L"{1,2,3} ",
                                  L"1,2,3x", L"[1]",     L"1 -d 3",    L"x -rf 00", L"{1,2,3}-r a",
                                  L",,",     L"0x",      L"{1,{2},3}", L"{1,2,3}}"};
  const std::uint32_t id = guide_->Commands().At(guide_->Commands().IndexOf(L"ind_start")).GetId();
  for (const wchar_t* rest : rests) {
    SvcKivClass::DiagPacket packet(id, Path());
    ASSERT_EQ(packet.QueryDefaults(), 0u);
    packet.SplitRest(QCString(rest).Trim());
    EXPECT_EQ(guide_->RefusalOf(L"ind_start " + std::wstring(rest)).has_value(),
              packet.FillParameters() != 0)
        << os::WideToUtf8(rest);
  }
}

TEST_F(BoardGuide, DescribesByName) {
  hostbench::CommandDescription description;
  EXPECT_TRUE(guide_->Describe(L"ind_start", description));
  EXPECT_EQ(description.line, L"ind_start {3,1000,0}");
  EXPECT_FALSE(guide_->Describe(L"no_such_command", description));
}

// Over a catalogue that is written into the folder.
hostbench::LineGuide GuideOf(const kivtest::TempFolder& folder, kivtest::ModelMaker& maker) {
  kivtest::WriteBytes(folder.File("c.kcat"), maker.Bytes());
  const QCString path = QCString::FromUtf8(folder.File("c.kcat"));
  std::vector<CmdInfo> commands;
  EXPECT_EQ(hostbench::ReadCommands(path, commands), 0u);
  return hostbench::LineGuide(path,
                              std::make_shared<const hostbench::CommandIndex>(std::move(commands)));
}

TEST(LineGuide, LeavesTextsAlone) {
  kivtest::TempFolder folder;
  kivtest::ModelMaker maker;
  maker.Structure("dbk_str_type").Scalar("text", catalogue::Scalar::kChar, 8).End();
  maker.Command(1, "say", 0, 0);
  hostbench::LineGuide guide = GuideOf(folder, maker);
  const std::wstring line = L"say {hello";
  const LineHelp help = guide.At(line, line.size(), 10);
  EXPECT_EQ(help.field.state, hostbench::HelpState::kText);
  EXPECT_EQ(help.field.typed, L"{hello");
  EXPECT_FALSE(guide.RefusalOf(line).has_value());
  const std::wstring routed = L"say hello -r ";
  EXPECT_EQ(guide.At(routed, routed.size(), 10).field.state, hostbench::HelpState::kRoutePath);
}

TEST(LineGuide, MarksNothingWhereTheCatalogueWantsNoParameters) {
  kivtest::TempFolder folder;
  kivtest::ModelMaker maker;
  maker.Structure("pair").Scalar("a", catalogue::Scalar::kU8, 0).End();
  maker.Command(1, "alone", 0, 0).combined = catalogue::Combined::kNone;
  maker.Command(2, "free", 0, 0);
  hostbench::LineGuide guide = GuideOf(folder, maker);
  EXPECT_FALSE(guide.RefusalOf(L"alone x").has_value());
  EXPECT_TRUE(guide.RefusalOf(L"free x").has_value());
}

TEST(LineGuide, WithoutACatalogueKnowsNothing) {
  hostbench::LineGuide guide(L"/nowhere/c.kcat",
                             std::make_shared<const hostbench::CommandIndex>(
                                 std::vector<CmdInfo>{CmdInfo::Make(5, L"ghost", L"", L"", 0, 0)}));
  EXPECT_EQ(guide.At(L"ghost 1", 7, 10).place, LinePlace::kNothing);
  EXPECT_FALSE(guide.RefusalOf(L"ghost {").has_value());
}

}  // namespace
