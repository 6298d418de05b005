// What TAB brings about, from a typed line to what is inserted, listed and said.
#include "hosts/bench/line_completion.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/os/utf8.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/tree_paths.h"

using hostbench::Completion;

namespace {

QCString BoardPath() {
  return QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
}

// A guide over the catalogue that ships, with names beside it that nobody could type.
class CompletedLine : public testing::Test {
 protected:
  void SetUp() override {
    std::vector<CmdInfo> commands;
    ASSERT_EQ(hostbench::ReadCommands(BoardPath(), commands), 0u);
    commands.push_back(CmdInfo::Make(0, L"ldnv", L"sends a file", L"", 0, 0));
    commands.push_back(CmdInfo::Make(0, L"evil\x1b[2J", L"", L"", 0, 0));
    commands.push_back(CmdInfo::Make(0, L"evil_\x202E", L"", L"", 0, 0));
    for (int i = 0; i < 700; ++i) {
      const std::wstring name = L"zoo_animal_" + std::to_wstring(1000 + i);
      commands.push_back(CmdInfo::Make(0, name.c_str(), L"", L"", 0, 0));
    }
    guide_ = std::make_unique<hostbench::LineGuide>(
        BoardPath(), std::make_shared<const hostbench::CommandIndex>(std::move(commands)));
  }

  Completion Of(const std::wstring& line, std::size_t limit = 500) {
    return hostbench::CompleteLine(*guide_, line, line.size(), limit);
  }
  // The line with what is certain, "|", and all candidates.
  std::string Shown(const std::wstring& line) {
    const Completion completion = Of(line);
    std::wstring text = line.substr(0, completion.from) + completion.common;
    if (completion.total == 1) text += completion.behind;
    text += L"|";
    for (const auto& each : completion.candidates) text += each.typed + L" ";
    return os::WideToUtf8(text);
  }

  std::unique_ptr<hostbench::LineGuide> guide_;
};

TEST_F(CompletedLine, ANameThatIsAloneIsWrittenOutWithABlank) {
  EXPECT_EQ(Shown(L"sys_i"), "sys_info |sys_info ");
  EXPECT_EQ(Shown(L"  sys"), "  sys_info |sys_info ");
}

TEST_F(CompletedLine, WhatSeveralNamesBeginWithIsWritten) {
  EXPECT_EQ(Shown(L"nv"), "nv_|nv_read nv_write ");
  EXPECT_EQ(Of(L"nv").candidates[0].note,
            guide_->Commands().At(guide_->Commands().IndexOf(L"nv_read")).GetDescription().str());
}

TEST_F(CompletedLine, NamesThatBeginSoStandBeforeThoseInAnotherCaseAndThoseThatResemble) {
  EXPECT_EQ(Shown(L"NV_R"), "nv_read |nv_read ");
  EXPECT_EQ(Shown(L"syin"), "sys_info |sys_info ");
  EXPECT_EQ(Shown(L"frobnicate"), "frobnicate|");
}

TEST_F(CompletedLine, WhatOnlyResemblesIsListedAndLeftAlone) {
  const Completion completion = Of(L"info");
  EXPECT_EQ(completion.common, L"info");
  EXPECT_GE(completion.candidates.size(), 3u);
  EXPECT_EQ(completion.total, completion.candidates.size());
}

TEST_F(CompletedLine, NamesBeyondTheLimitAreCountedAndHaveTheirPartInWhatIsCommon) {
  const Completion completion = Of(L"zoo", 20);
  EXPECT_EQ(completion.candidates.size(), 20u);
  EXPECT_EQ(completion.total, 700u);
  EXPECT_EQ(completion.common, L"zoo_animal_1");
}

TEST_F(CompletedLine, ANameThatWouldActOnATerminalIsNotOffered) {
  EXPECT_EQ(Shown(L"evil"), "evil|");
  EXPECT_EQ(Of(L"evil").total, 0u);
}

TEST_F(CompletedLine, AFieldIsSaidAndItsNamedValuesAreOffered) {
  const Completion completion = Of(L"ind_start ");
  EXPECT_EQ(os::WideToUtf8(completion.note),
            "which: indication_set, default 3 (all), 1 tick, 2 load, 3 all; begins with \"{\", or "
            "without; then \",\", 2 more fields");
  EXPECT_EQ(Shown(L"ind_start "), "ind_start |1 2 3 ");
  EXPECT_EQ(Shown(L"ind_start lo"), "ind_start 2|2 ");
}

TEST_F(CompletedLine, WhatMustComeNextIsWritten) {
  EXPECT_EQ(Shown(L"ind_start 2"), "ind_start 2,|2, ");
  EXPECT_EQ(Shown(L"nv_write 1,2,"), "nv_write 1,2,[|[ ");
  EXPECT_EQ(Shown(L"echo_nested {1,"), "echo_nested {1,{|{ ");
  EXPECT_EQ(Shown(L"nv_write {1,2,[3]"), "nv_write {1,2,[3]}|} ");
}

TEST_F(CompletedLine, AValueThatMayGoOnIsLeftAlone) {
  EXPECT_EQ(Shown(L"ind_start 1,10"), "ind_start 1,10|");
  EXPECT_EQ(Shown(L"nv_write 1,2,[3"), "nv_write 1,2,[3|");
  EXPECT_EQ(Shown(L"sys_info "), "sys_info |");
}

TEST_F(CompletedLine, ARoutingOptionIsOfferedWhenItIsBegun) {
  EXPECT_EQ(Shown(L"nv_read 7 -"), "nv_read 7 -|-d  -r  -rf  ");
  EXPECT_EQ(Shown(L"nv_read 7 "), "nv_read 7 |");
}

TEST_F(CompletedLine, WhatIsWrongIsSaid) {
  EXPECT_EQ(os::WideToUtf8(Of(L"nv_read x").note), "item: not a number");
}

TEST_F(CompletedLine, PathsAreTheHosts) {
  for (const wchar_t* line : {L"ldnv /tmp/x", L"LDNV /tmp/x", L"echo_all @/tmp/x"}) {
    const Completion completion = Of(line);
    EXPECT_TRUE(completion.isPath);
    EXPECT_EQ(std::wstring(line).substr(completion.from), L"/tmp/x");
    EXPECT_EQ(completion.behind, L"");
    EXPECT_EQ(completion.note, L"");
  }
  EXPECT_EQ(Of(L"nv_write 1,2,[$(T</tmp/x").behind, L")");
  EXPECT_FALSE(Of(L"ldnv").isPath);
}

TEST_F(CompletedLine, OfALineThatIsNoCommandsNothingIsKnown) {
  for (const wchar_t* line : {L"no_such_command 1", L"at+cgmi x", L"sh ls"}) {
    const Completion completion = Of(line);
    EXPECT_EQ(completion.from, std::wstring(line).size());
    EXPECT_EQ(completion.total, 0u);
    EXPECT_EQ(completion.note, L"");
  }
}

TEST_F(CompletedLine, WhatStandsBehindTheCursorIsNotLookedAt) {
  const Completion completion = hostbench::CompleteLine(*guide_, L"sys_ixyz", 5, 500);
  EXPECT_EQ(completion.from, 0u);
  EXPECT_EQ(completion.common, L"sys_info");
}

TEST(CompletedWord, IsOneOfTheHostsOwn) {
  const std::wstring line = L":set COLO";
  const Completion several =
      hostbench::CompleteWord(line, 5, {{L"COLOR_A", L""}, {L"COLOR_B", L"the second"}});
  EXPECT_EQ(several.from, 5u);
  EXPECT_EQ(several.common, L"COLOR_");
  EXPECT_EQ(several.total, 2u);
  const Completion one = hostbench::CompleteWord(line, 5, {{L"the_colour", L""}});
  EXPECT_EQ(one.common, L"the_colour");
  EXPECT_EQ(one.behind, L" ");
  const Completion other = hostbench::CompleteWord(line, 5, {{L"one", L""}, {L"two", L""}});
  EXPECT_EQ(other.common, L"COLO");
  EXPECT_EQ(hostbench::CompleteWord(line, 5, {}).common, L"COLO");
}

}  // namespace
