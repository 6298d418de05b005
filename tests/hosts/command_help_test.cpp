// What is said of a refused line behind the module's reply.
#include "hosts/terminal/command_help.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/tree_paths.h"

using kiv::CommandHelp;

namespace {

QCString BoardPath() {
  return QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
}

TEST(CommandHelp, AWrongWordGetsTheNamesThatAreNearest) {
  CommandHelp help(BoardPath());
  EXPECT_EQ(help.AfterRefusal(L"sys_inof", 80), "kiv: did you mean sys_info?\n");
  EXPECT_EQ(help.AfterRefusal(L"  nv_raed 7", 80), "kiv: did you mean nv_read?\n");
  EXPECT_EQ(help.AfterRefusal(L"SYS_INFO", 80), "kiv: did you mean sys_info?\n");
  EXPECT_EQ(help.AfterRefusal(L"hlep", 80), "kiv: did you mean help?\n");
  EXPECT_EQ(help.AfterRefusal(L"nothing_like_it", 80), "");
}

TEST(CommandHelp, AParameterErrorGetsAMarkBelowTheLineWithTheFieldsPath) {
  CommandHelp help(BoardPath());
  EXPECT_EQ(help.AfterRefusal(L"echo_nested {2,{3,x}", 80),
            "kiv: echo_nested {2,{3,x}\n"
            "kiv:                   ^ leg.from.x\n");
  EXPECT_EQ(help.AfterRefusal(L"nv_read {7", 80),
            "kiv: nv_read {7\n"
            "kiv:           ^\n");
  EXPECT_EQ(help.AfterRefusal(L"nv_read \x1b[2J", 80),
            "kiv: nv_read \\x1b[2J\n"
            "kiv:             ^ item\n");
}

TEST(CommandHelp, NoRowIsWiderThanTheTerminal) {
  CommandHelp help(BoardPath());
  EXPECT_EQ(help.AfterRefusal(L"ind_start 1,1000,0000000000000000000000000000000000x,5", 40),
            "kiv: ...00000000000000000000000x,5\n"
            "kiv:                           ^ count\n");
}

TEST(CommandHelp, ALineThatNothingIsWrongWithGetsNothing) {
  CommandHelp help(BoardPath());
  EXPECT_EQ(help.AfterRefusal(L"nv_read 7", 80), "");
  EXPECT_EQ(help.AfterRefusal(L"sys_info", 80), "");
  EXPECT_EQ(help.AfterRefusal(L"", 80), "");
  EXPECT_EQ(help.AfterRefusal(L"at+cgmi", 80), "");
}

TEST(CommandHelp, WithoutACatalogueTheModulesOwnWordsAreLeft) {
  CommandHelp help(L"/nowhere/at/all.kcat");
  EXPECT_EQ(help.AfterRefusal(L"hlep", 80), "kiv: did you mean help?\n");
  EXPECT_EQ(help.AfterRefusal(L"sys_inof", 80), "");
}

}  // namespace
