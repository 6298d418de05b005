// FillNode: the walk that pours a line into a default-parameter tree.
#include <gtest/gtest.h>

#include <string>

#include "platform/bounded/pool.h"
#include "tests/params/fill_trees.h"
#include "tests/support/scratch_folder.h"

using namespace kivtest;

namespace {

const std::string kDepthFailure = std::string("2 ") + kDepthDiffers + kPlainIndex;

}  // namespace

TEST(DefaultFill, FlatLineFillsLeavesAtAnyDepth) {
  HandTree tree(NestedStructure());
  EXPECT_EQ(Fill(tree, "5,6"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "05 06");
}

TEST(DefaultFill, BracedLineMustHaveTheDepthOfTheTree) {
  HandTree shallow(NestedStructure());
  EXPECT_EQ(Fill(shallow, "{5,6}"), kDepthFailure);
  EXPECT_EQ(shallow.AllBytes(), "00 00");
  HandTree exact(NestedStructure());
  EXPECT_EQ(Fill(exact, "{{5,6}}"), "0 ");
  EXPECT_EQ(exact.AllBytes(), "05 06");
  HandTree deep(NestedStructure());
  EXPECT_EQ(Fill(deep, "{{{5,6}}}"), kDepthFailure);
}

TEST(DefaultFill, ValuesNotGivenKeepTheirDefaults) {
  HandTree tree(FlatStructure(3));
  EXPECT_EQ(Fill(tree, "9"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "09 02 03");
  HandTree middle(FlatStructure(3));
  EXPECT_EQ(Fill(middle, "8,,9"), "0 ");
  EXPECT_EQ(middle.AllBytes(), "08 02 09");
  HandTree blank(FlatStructure(3));
  EXPECT_EQ(Fill(blank, " "), "0 ");
  EXPECT_EQ(blank.AllBytes(), "01 02 03");
}

TEST(DefaultFill, BracedLineThatEndsEarlyFailsWithTheDepthText) {
  for (const char* line : {"{5}", "{}"}) {
    HandTree tree(FlatStructure(3));
    EXPECT_EQ(Fill(tree, line), kDepthFailure) << line;
  }
  HandTree spelt(FlatStructure(3));
  EXPECT_EQ(Fill(spelt, "{5,,}"), "0 ");
  EXPECT_EQ(spelt.AllBytes(), "05 02 03");
}

TEST(DefaultFill, DepthFailureKeepsWhatWasFilledBefore) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 1), Structure(1, L"s", L"t"),
                 Single(2, L"b", 1)});
  EXPECT_EQ(Fill(tree, "{5,6}"), kDepthFailure);
  EXPECT_EQ(tree.AllBytes(), "05 00");
}

TEST(DefaultFill, ValuesReachEveryBranchOfTheTree) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 1), Structure(1, L"s", L"t"),
                 Single(2, L"b", 2), Structure(2, L"u", L"t"), Array(3, L"c", 1, {0, 0, 0}),
                 Single(3, L"d", 4), Single(1, L"e", 8)});
  EXPECT_EQ(Fill(tree, "{1,{0x203,{[4,,6],-1}},7}"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "01 0302 040006 ffffffff 0700000000000000");
}

// Scripts with a brace too many have always gone through; the depth wraps and reads as flat.
TEST(DefaultFill, WrappedDepthReadsAsAFlatLine) {
  HandTree bad(FlatStructure(3));
  EXPECT_EQ(Fill(bad, "{5}},6,7}"),
            std::string("2 Failed to translate 7} to wexUint32.\n") + kPlainIndex);
  EXPECT_EQ(bad.AllBytes(), "05 06 03");
  HandTree one(FlatStructure(3));
  EXPECT_EQ(Fill(one, "{5}}"), "0 ");
  EXPECT_EQ(one.AllBytes(), "05 02 03");
  HandTree all(FlatStructure(3));
  EXPECT_EQ(Fill(all, "{5}},6,7,}"), "0 ");
  EXPECT_EQ(all.AllBytes(), "05 06 07");
}

TEST(DefaultFill, ValuesLeftOverAreIgnored) {
  for (const char* line : {"5,6,7", "5,x", "{5,6}", "{5}}}}", "{5,[}"}) {
    HandTree tree(FlatStructure(1));
    EXPECT_EQ(Fill(tree, line), "0 ") << line;
    EXPECT_EQ(tree.AllBytes(), "05") << line;
  }
}

TEST(DefaultFill, SomeKindsEscapeTheDepthCheckAndOthersDoNot) {
  for (std::int32_t kind : {17, 24, 25, 32, 33}) {
    HandTree tree(NestedStructure(kind));
    EXPECT_EQ(Fill(tree, "{{5,6}}"), "0 ") << kind;
    EXPECT_EQ(tree.AllBytes(), "05 06") << kind;
  }
  for (std::int32_t kind : {2, 7, 10, 18, 23, 26, 31, 34, -1}) {
    HandTree tree(NestedStructure(kind));
    EXPECT_EQ(Fill(tree, "{{5,6}}"), kDepthFailure) << kind;
    EXPECT_EQ(tree.AllBytes(), "00 00") << kind;
  }
}

TEST(DefaultFill, OtherKindsAtTheRightDepthTakeNoValue) {
  HandTree tree(
      {Structure(0, L"struct", L"t"), Structure(1, L"other", L"t", 5), Single(1, L"a", 1)});
  EXPECT_EQ(Fill(tree, "{5}"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "05");
}

TEST(DefaultFill, RootIsNeverChecked) {
  HandTree single({Single(0, L"only", 1)});
  EXPECT_EQ(Fill(single, "{{{5}}}"), "0 ");
  EXPECT_EQ(single.AllBytes(), "05");
  HandTree odd({Structure(0, L"struct", L"t", 5), Single(1, L"a", 1)});
  EXPECT_EQ(Fill(odd, "{5}"), "0 ");
}

TEST(DefaultFill, AllSingleAndArrayKindsTakeTheirValues) {
  for (std::int32_t kind : {0, 8, 16}) {
    HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 2, 0, false, kind)});
    EXPECT_EQ(Fill(tree, "{0x1234}"), "0 ");
    EXPECT_EQ(tree.AllBytes(), "3412") << kind;
  }
  for (std::int32_t kind : {1, 9}) {
    HandTree tree({Structure(0, L"struct", L"t"), Array(1, L"a", 2, {0, 0, 0, 0}, L"t", kind)});
    EXPECT_EQ(Fill(tree, "{[1,2]}"), "0 ");
    EXPECT_EQ(tree.AllBytes(), "01000200") << kind;
  }
}

TEST(DefaultFill, ValuesAreCutToTheWidthWithoutAnyCheck) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 1, 0, true), Single(1, L"b", 1),
                 Single(1, L"c", 2), Single(1, L"d", 4), Single(1, L"e", 8, UINT64_MAX, true)});
  EXPECT_EQ(Fill(tree, "-1,300,-2,99999999999,-1"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "ff 2c feff ffffffff ffffffff00000000");
}

TEST(DefaultFill, BadValueNamesNoNumberInItsIndexLine) {
  HandTree tree(FlatStructure(3));
  EXPECT_EQ(Fill(tree, "1,abc,3"),
            std::string("2 Failed to translate abc to wexUint32.\n") + kPlainIndex);
  HandTree array(FlatStructure(1));
  EXPECT_EQ(Fill(array, "[1]"),
            std::string("2 Value type does not match, meeting the '[' for single value.\n") +
                kPlainIndex);
}

TEST(DefaultFill, ArrayFailureNamesTheRequestInItsIndexLine) {
  HandTree tree({Structure(0, L"struct", L"t"), Single(1, L"a", 1), Array(1, L"b", 1, {7, 8, 9})});
  EXPECT_EQ(Fill(tree, "1"), "2 The parameters line is end" + ArrayIndex(2));
  HandTree many({Structure(0, L"struct", L"t"), Array(1, L"b", 1, {7, 8, 9})});
  EXPECT_EQ(
      Fill(many, "[1,2,3,4]"),
      "2 The number of array parameters is bigger than that of the default.\n" + ArrayIndex(1));
  EXPECT_EQ(many.AllBytes(), "010203");
  HandTree brackets({Structure(0, L"struct", L"t"), Single(1, L"a", 1), Single(1, L"b", 1),
                     Array(1, L"c", 1, {7})});
  EXPECT_EQ(Fill(brackets, "1,2,3"),
            "2 The position of '[' or ']' is incorrect.\n" + ArrayIndex(3));
}

TEST(DefaultFill, TypedTextWithPlaceMarkersComesBackUnchanged) {
  HandTree tree({Structure(0, L"struct", L"t"), Array(1, L"b", 1, {7})});
  EXPECT_EQ(Fill(tree, "[%1%2]"), "2 Failed to translate %1%2 to wexUint32.\n" + ArrayIndex(1));
  HandTree single(FlatStructure(1));
  EXPECT_EQ(Fill(single, "%1"),
            std::string("2 Failed to translate %1 to wexUint32.\n") + kPlainIndex);
}

TEST(DefaultFill, ArrayWithoutElementWidthStopsWithItsOwnStatusAndNoText) {
  ParamNodeSpec spec = Array(1, L"a", 0, {1, 2});
  HandTree tree({Structure(0, L"struct", L"t"), spec, Single(1, L"b", 1)});
  EXPECT_EQ(Fill(tree, "[1],2"), "4001 ");
  EXPECT_EQ(tree.Bytes(2), "00");
}

TEST(DefaultFill, ArrayWithoutSizeTakesNothingFromTheLine) {
  HandTree tree({Structure(0, L"struct", L"t"), Array(1, L"a", 1, {}), Single(1, L"b", 1)});
  EXPECT_EQ(Fill(tree, "{5}"), "0 ");
  EXPECT_EQ(tree.Bytes(2), "05");
}

TEST(DefaultFill, ArrayWhoseBufferHasAnotherLengthFailsWithoutAText) {
  for (std::uint64_t length : {0u, 2u, 4u, 100u}) {
    ParamNodeSpec spec = Array(1, L"a", 1, {7, 8, 9});
    spec.bufferBytes = length;
    HandTree tree({Structure(0, L"struct", L"t"), spec});
    EXPECT_EQ(Fill(tree, "[1,2,3]"), "2 ") << length;
  }
}

TEST(DefaultFill, ArrayFailureLeavesTheOwnBufferPartlyWritten) {
  HandTree tree({Structure(0, L"struct", L"t"), Array(1, L"a", 1, {7, 8, 9})});
  EXPECT_EQ(Fill(tree, "[1,x]"), "2 Failed to translate x to wexUint32.\n" + ArrayIndex(1));
  EXPECT_EQ(tree.AllBytes(), "010809");
}

TEST(DefaultFill, ArrayWithoutABufferToShowIsFilledThroughACopy) {
  ParamNodeSpec spec = Array(1, L"a", 2, {7, 7, 8, 8});
  spec.hasBuffer = false;
  HandTree tree({Structure(0, L"struct", L"t"), spec, Single(1, L"b", 1)});
  EXPECT_EQ(Fill(tree, "{[1,2],5}"), "0 ");
  EXPECT_EQ(tree.Bytes(2), "05");
  HandTree failing({Structure(0, L"struct", L"t"), spec});
  EXPECT_EQ(
      Fill(failing, "[1,2,3]"),
      "2 The number of array parameters is bigger than that of the default.\n" + ArrayIndex(1));
}

// The hidden node cannot be asked, but a tree is one body in document order.
TEST(DefaultFill, CopyStartsFromZeroWhereAShownBufferKeepsItsBytes) {
  ParamNodeSpec hidden = Array(1, L"hidden", 1, {7, 8, 9});
  hidden.hasBuffer = false;
  HandTree tree({Structure(0, L"struct", L"t"), Array(1, L"shown", 1, {7, 8, 9}), hidden});
  EXPECT_EQ(Fill(tree, "{[1,,3],[4,,6]}"), "0 ");
  std::uint8_t* body = nullptr;
  std::uint64_t lengthBytes = 0;
  ASSERT_EQ(tree.Node(1)->GetValueBuf(&body, &lengthBytes), 0u);
  EXPECT_EQ(ToHex(body, 6),
            "010803"
            "040006");
}

TEST(DefaultFill, BinaryFileFillsAnArrayWhole) {
  ScratchFolder folder;
  const std::string tag = "$(B<" + folder.Write("b", "abcd") + ")";
  HandTree tree(
      {Structure(0, L"struct", L"t"), Single(1, L"a", 1), Array(1, L"b", 2, {0, 0, 0, 0})});
  EXPECT_EQ(Fill(tree, "{9," + tag + "}"), "0 ");
  EXPECT_EQ(tree.AllBytes(), "09 61626364");
  HandTree larger({Structure(0, L"struct", L"t"), Array(1, L"b", 1, {0, 0, 0, 0, 0})});
  EXPECT_EQ(Fill(larger, tag), "2 " + ArrayIndex(1));
}

TEST(DefaultFill, NullParserFails) {
  HandTree tree(FlatStructure(1));
  EXPECT_EQ(tree.Root().ParseNodes(&SvcKivClass::FillNode, nullptr, 0), 2u);
  EXPECT_EQ(tree.AllBytes(), "01");
}

TEST(DefaultFill, ErrorTextIsReplacedNotAppended) {
  HandTree tree(FlatStructure(1));
  Fill(tree, "abc");
  ParamLineParser parser = Opened("x");
  EXPECT_EQ(tree.Root().ParseNodes(&SvcKivClass::FillNode, &parser, 0), 2u);
  EXPECT_EQ(SvcKivClass::GetFillErrorText().ToUtf8(),
            std::string("Failed to translate x to wexUint32.\n") + kPlainIndex);
  SvcKivClass::ClearFillErrorText();
  EXPECT_EQ(SvcKivClass::GetFillErrorText().ToUtf8(), "");
}

TEST(DefaultFill, EveryFailedAllocationIsSurvivedAndNothingLeaks) {
  const std::uint64_t before = pool::LiveBlocks();
  bool failed = true;
  for (std::uint64_t n = 1; failed; ++n) {
    ASSERT_LT(n, 1000u);
    ParamNodeSpec spec = Array(1, L"a", 2, {7, 7, 8, 8});
    spec.hasBuffer = false;
    HandTree tree(
        {Structure(0, L"struct", L"t"), spec, Array(1, L"b", 1, {0, 0}), Single(1, L"c", 1)});
    ParamLineParser parser = Opened("{[1,2],[3,4],5}");
    pool::FailNth(n);
    const std::uint32_t status = tree.Root().ParseNodes(&SvcKivClass::FillNode, &parser, 0);
    failed = pool::Failed();
    pool::FailNth(0);
    if (failed) {
      EXPECT_NE(status, 0u);
    } else {
      EXPECT_EQ(status, 0u);
      EXPECT_EQ(tree.AllBytes(), "0304 05");
    }
  }
  EXPECT_EQ(pool::LiveBlocks(), before);
}
