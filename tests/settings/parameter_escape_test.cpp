// Parameter texts as lists store them.
#include <gtest/gtest.h>

#include "settings/parameter_escape.h"

namespace {

using SvcKivClass::EscapedParameters;
using SvcKivClass::UnescapedParameters;

TEST(ParameterEscape, StoresAnglesAndLineFeedsSpeltOut) {
  EXPECT_EQ(EscapedParameters(L"a<b>\n"), L"a%(%b%)%\\n");
  EXPECT_EQ(UnescapedParameters(L"a%(%b%)%\\n"), L"a<b>\n");
}

TEST(ParameterEscape, LeavesEverythingElseAlone) {
  const QCString text(L"{1,[0x10]} \"q\" 'a' & % %( ( ) \\ \\r \t \u2603");
  EXPECT_EQ(EscapedParameters(text), text);
  EXPECT_EQ(UnescapedParameters(text), text);
}

// Users of list files know this loss: the three spellings cannot be told from typed ones.
TEST(ParameterEscape, TypedSpellingsComeBackChanged) {
  EXPECT_EQ(UnescapedParameters(EscapedParameters(L"@D:\\new.txt")), L"@D:\new.txt");
  EXPECT_EQ(UnescapedParameters(EscapedParameters(L"%(%1%)%")), L"<1>");
}

TEST(ParameterEscape, ReplacesInOneOrderBothWays) {
  EXPECT_EQ(EscapedParameters(L"<<>>"), L"%(%%(%%)%%)%");
  EXPECT_EQ(UnescapedParameters(L"%(%(%"), L"<(%");
  EXPECT_EQ(UnescapedParameters(L"%(%)%"), L"<)%");
}

}  // namespace
