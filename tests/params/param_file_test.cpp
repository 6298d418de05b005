// Command files, text files and binary files named in a line.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "tests/params/line_reading.h"
#include "tests/support/sanitized.h"
#include "tests/support/scratch_folder.h"

using namespace kivtest;

namespace {

class ParamFile : public testing::Test {
 protected:
  // The line that a reference to a text file of this content leaves.
  std::string TextOf(std::string_view content) {
    return LineOf(Opened("<$(T<" + folder_.Write("content.txt", content) + ")>"));
  }
  std::string CommandOf(std::string_view content) {
    return LineOf(Opened("@" + folder_.Write("content.cmd", content)));
  }
  std::string TextTag(std::string_view name) const { return "$(T<" + folder_.Path(name) + ")"; }
  std::string BinaryTag(std::string_view name) const { return "$(B<" + folder_.Path(name) + ")"; }

  ScratchFolder folder_;
};

std::string Missing(const std::string& path) { return path + " does not exist.\n"; }

std::string CannotOpen(const std::string& path) { return "Failed to open " + path + "\n"; }

long PeakMemoryKib() {
  rusage usage = {};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

}  // namespace

TEST_F(ParamFile, CommandFileReplacesTheWholeLine) {
  const std::string path = folder_.Write("cmds.txt", "1,2\n,3\n");
  EXPECT_EQ(LineOf(Opened("abc @" + path)), "1,2,3");
  EXPECT_EQ(LineOf(Opened("{1,2} @" + path)), "1,2,3");
}

TEST_F(ParamFile, HashCutsACommandFileLineAndEachLineGetsABlank) {
  EXPECT_EQ(CommandOf("# head\n1 # one\n2#two#\n#\n3"), "1 2 3");
  EXPECT_EQ(CommandOf("{1,{2,\n  3} # inner\n}\n"), "{1,{2,3} }");
  EXPECT_EQ(CommandOf("1\n2"), "1 2");
}

TEST_F(ParamFile, CommandFileWithoutContentIsABlankFlatLine) {
  for (const char* content : {"", "\n", "# nothing\n", " \n \n"}) {
    ParamLineParser parser = Opened("@" + folder_.Write("c", content));
    EXPECT_EQ(LineOf(parser), "");
    EXPECT_EQ(StateOf(parser), "0 flat 0");
  }
}

TEST_F(ParamFile, EverythingBehindTheFirstAtSignIsThePath) {
  EXPECT_EQ(Refusal("1 @/no/such file"), Missing("/no/such file"));
  EXPECT_EQ(Refusal("@ /no/such"), Missing(" /no/such"));
  EXPECT_EQ(Refusal("@/no/such @x"), Missing("/no/such @x"));
  EXPECT_EQ(Refusal("@/no/a  b , c"), Missing("/no/a  b , c"));
  EXPECT_EQ(Refusal("@/no/a\nb"), Missing("/no/a b"));
  EXPECT_EQ(Refusal("@"), Missing(""));
}

TEST_F(ParamFile, AtSignInsideACommandFileIsText) { EXPECT_EQ(CommandOf("1,@x"), "1,@x"); }

TEST_F(ParamFile, AtSignWinsOverTextReferences) {
  const std::string path = folder_.Write("c", "7");
  EXPECT_EQ(LineOf(Opened("$(T</no/such) @" + path)), "7");
  EXPECT_EQ(Refusal("@$(T<" + path + ")"), Missing("$(T<" + path + ")"));
}

TEST_F(ParamFile, CommandFileMayReferToTextFiles) {
  folder_.Write("t", "2,3");
  EXPECT_EQ(CommandOf("1," + TextTag("t") + ",4 # " + TextTag("none")), "1,2,3,4");
}

TEST_F(ParamFile, MissingAndUnreadableFilesSayWhich) {
  EXPECT_EQ(Refusal("@" + folder_.Path("no")), Missing(folder_.Path("no")));
  EXPECT_EQ(Refusal("1," + TextTag("no") + ",2"), Missing(folder_.Path("no")));
  EXPECT_EQ(Refusal("@" + folder_.Path()), CannotOpen(folder_.Path()));
  EXPECT_EQ(Refusal("$(T<" + folder_.Path() + ")"), CannotOpen(folder_.Path()));
  EXPECT_EQ(Refusal("$(T<)"), Missing(""));
}

TEST_F(ParamFile, BackslashesInAPathNameFolders) {
  const std::string path = folder_.Write("t", "5");
  std::string typed = path;
  for (char& c : typed) c = c == '/' ? '\\' : c;
  EXPECT_EQ(LineOf(Opened("$(T<" + typed + ")")), "5");
  EXPECT_EQ(LineOf(Opened("@" + typed)), "5");
  EXPECT_EQ(Refusal("@" + typed + "x"), Missing(typed + "x"));
}

TEST_F(ParamFile, PathsMayHoldAnyLetters) {
  const std::string path = folder_.Write("\xc3\xa9 \xe2\x82\xac.txt", "5");
  EXPECT_EQ(LineOf(Opened("$(T<" + path + ")")), "5");
}

TEST_F(ParamFile, TextFileReplacesItsReferenceOnly) {
  folder_.Write("t", "2,3\n");
  EXPECT_EQ(LineOf(Opened("1," + TextTag("t") + ",4")), "1,2,3,4");
  EXPECT_EQ(LineOf(Opened("{1," + TextTag("t") + "}")), "{1,2,3 }");
  EXPECT_EQ(LineOf(Opened(TextTag("t") + "," + TextTag("t"))), "2,3,2,3");
}

TEST_F(ParamFile, TextFileMayBringTheOuterBraces) {
  folder_.Write("t", "{1,\n{2}}");
  ParamLineParser parser = Opened(TextTag("t"));
  EXPECT_EQ(LineOf(parser), "{1,{2}}");
  EXPECT_EQ(NextValues(parser, 2), "1 2");
}

TEST_F(ParamFile, EveryTextFileLineGetsABlankBehindIt) {
  EXPECT_EQ(TextOf("1\n2\n3"), "<1 2 3 >");
  EXPECT_EQ(TextOf("1"), "<1 >");
  EXPECT_EQ(TextOf("1\n"), "<1 >");
  EXPECT_EQ(TextOf("\n"), "< >");
  EXPECT_EQ(TextOf("1 \n\n\n 2"), "<1 2 >");
  EXPECT_EQ(TextOf(""), "<>");
}

TEST_F(ParamFile, HashIsTextInATextFile) { EXPECT_EQ(TextOf("1#2\n#3"), "<1#2 #3 >"); }

TEST_F(ParamFile, BothLineEndsAndAByteOrderMarkAreTaken) {
  EXPECT_EQ(TextOf("1\r\n2\r\n"), "<1 2 >");
  EXPECT_EQ(TextOf("1\r\n2\n3\r\n4"), "<1 2 3 4 >");
  EXPECT_EQ(TextOf("\xef\xbb\xbf"
                   "1,2"),
            "<1,2 >");
  EXPECT_EQ(TextOf("\xef\xbb\xbf"), "<>");
  EXPECT_EQ(TextOf("1\xef\xbb\xbf"), "<1\xef\xbb\xbf >");
  EXPECT_EQ(CommandOf("\xef\xbb\xbf"
                      "1,#x\r\n2\r\n"),
            "1,2");
}

TEST_F(ParamFile, CarriageReturnWithoutALineFeedStays) {
  EXPECT_EQ(TextOf("1\r"
                   "2\n"),
            "<1\r"
            "2 >");
  EXPECT_EQ(TextOf("1\r"), "<1\r >");
  EXPECT_EQ(TextOf("1\r\r\n"), "<1\r >");
}

TEST_F(ParamFile, BytesThatAreNoTextBecomeReplacementCharacters) {
  EXPECT_EQ(TextOf("1\xff"
                   "2"),
            "<1\xef\xbf\xbd"
            "2 >");
  EXPECT_EQ(TextOf("\xc3\xa9\xf0\x9f\x98\x80"), "<\xc3\xa9\xf0\x9f\x98\x80 >");
}

TEST_F(ParamFile, WindowsMadeFileConvertsItsLastNumber) {
  ParamLineParser parser = Opened("[" + ("$(T<" + folder_.Write("w", "1,2,\r\n3") + ")]"));
  EXPECT_EQ(NextArray(parser, 1, "aaaaaa"),
            "0102aa failed: Failed to translate 3  to wexUint32.\n");
  ParamLineParser last = Opened("$(T<" + folder_.Write("v", "1,\r\n2\r\n") + ")");
  EXPECT_EQ(NextValues(last, 2), "1 2");
}

TEST_F(ParamFile, UnfinishedReferenceIsRefused) {
  EXPECT_EQ(Refusal("1,$(T<name"), "Cannot find the text file name finish tag ')'.\n");
  EXPECT_EQ(Refusal(")$(T<"), "Cannot find the text file name finish tag ')'.\n");
  folder_.Write("t", "1,$(T<x");
  EXPECT_EQ(Refusal(TextTag("t")), "Cannot find the text file name finish tag ')'.\n");
}

TEST_F(ParamFile, PathEndsAtTheFirstClosingParenthesis) {
  folder_.Write("t", "5");
  EXPECT_EQ(LineOf(Opened(TextTag("t") + ")")), "5 )");
}

TEST_F(ParamFile, OtherTagsAreText) {
  EXPECT_EQ(LineOf(Opened("$(t</no)")), "$(t</no)");
  EXPECT_EQ(LineOf(Opened("$ (T</no)")), "$ (T</no)");
  EXPECT_EQ(LineOf(Opened("$(T /no)")), "$(T /no)");
}

TEST_F(ParamFile, TextPathIsTakenBeforeBlanksCollapse) {
  folder_.Write("a  b , c", "5");
  EXPECT_EQ(LineOf(Opened(TextTag("a  b , c"))), "5");
}

TEST_F(ParamFile, InsertedFilesMayReferToOtherFiles) {
  folder_.Write("one", "1");
  folder_.Write("two", TextTag("one") + ",2," + TextTag("one"));
  folder_.Write("three", TextTag("two") + "," + TextTag("one"));
  EXPECT_EQ(LineOf(Opened("0," + TextTag("three") + ",9")), "0,1,2,1,1,9");
}

TEST_F(ParamFile, InsertedTextMayCompleteATag) {
  folder_.Write("one", "7");
  folder_.Write("half", "T<" + folder_.Path("one") + ")");
  EXPECT_EQ(LineOf(Opened("$(" + TextTag("half"))), "7");
  folder_.Write("most", "(T<" + folder_.Path("one") + ")");
  EXPECT_EQ(LineOf(Opened("$" + TextTag("most"))), "7");
  folder_.Write("path", folder_.Path("one"));
  EXPECT_EQ(Refusal("$(T<" + TextTag("path")), Missing("$(T<" + folder_.Path("path")));
}

TEST_F(ParamFile, FileThatNamesItselfCannotBeOpened) {
  folder_.Write("self", "1," + TextTag("self"));
  EXPECT_EQ(Refusal(TextTag("self")), CannotOpen(folder_.Path("self")));
}

TEST_F(ParamFile, FilesThatNameEachOtherCannotBeOpened) {
  folder_.Write("ping", "1," + TextTag("pong"));
  folder_.Write("pong", "2," + TextTag("ping"));
  EXPECT_EQ(Refusal(TextTag("ping")), CannotOpen(folder_.Path("ping")));
  EXPECT_EQ(Refusal(TextTag("pong")), CannotOpen(folder_.Path("pong")));
  folder_.Write("outer", TextTag("ping"));
  EXPECT_EQ(Refusal(TextTag("outer")), CannotOpen(folder_.Path("ping")));
}

TEST_F(ParamFile, CommandFileThatNamesItselfAsTextCannotBeOpened) {
  folder_.Write("c", "1," + TextTag("c"));
  EXPECT_EQ(Refusal("@" + folder_.Path("c")), CannotOpen(folder_.Path("c")));
}

TEST_F(ParamFile, TagsCompletedOutsideTheirFilesDoNotLoop) {
  folder_.Write("f", "$(" + TextTag("g"));
  folder_.Write("g", "T<" + folder_.Path("f") + ")");
  EXPECT_EQ(Refusal(TextTag("f")), CannotOpen(folder_.Path("f")));
}

TEST_F(ParamFile, SameFileManyTimesSideBySideIsNoLoop) {
  folder_.Write("empty", "");
  std::string line = "1";
  for (int i = 0; i < 100000; ++i) line += TextTag("empty");
  EXPECT_EQ(LineOf(Opened(line)), "1");
}

TEST_F(ParamFile, TwoHundredFilesDeepIsNoLoop) {
  folder_.Write("200", "5");
  for (int i = 0; i < 200; ++i) folder_.Write(std::to_string(i), TextTag(std::to_string(i + 1)));
  EXPECT_EQ(LineOf(Opened(TextTag("0"))), "5");
}

TEST_F(ParamFile, LineBeyond64MebiCharactersIsRefused) {
  folder_.Write("large", std::string(9 * 1024 * 1024, '1'));
  std::string line;
  for (int i = 0; i < 8; ++i) line += TextTag("large");
  EXPECT_EQ(Refusal(line), CannotOpen(folder_.Path("large")));
}

// Each file names the next one twice: 2 to the 29th references, refused at the first too many and
// without the room that the whole line would take.
TEST_F(ParamFile, FilesThatDoubleEachOtherAreRefusedEarly) {
  folder_.Write("29", "1,");
  for (int i = 0; i < 29; ++i) {
    const std::string next = TextTag(std::to_string(i + 1));
    folder_.Write(std::to_string(i), next + next);
  }
  const long before = PeakMemoryKib();
  EXPECT_EQ(Refusal(TextTag("0")), CannotOpen(folder_.Path("29")));
  // A sanitizer keeps released memory for a while.
  EXPECT_LT(PeakMemoryKib() - before, (kivtest::kSanitized ? 900 : 300) * 1024);
}

TEST_F(ParamFile, AMillionReferencesAreNotTooMany) {
  folder_.Write("20", "");
  for (int i = 1; i < 20; ++i) {
    const std::string next = TextTag(std::to_string(i + 1));
    folder_.Write(std::to_string(i), next + next);
  }
  // 2 to the 20th less one references, and the blank behind each of the inner files.
  EXPECT_EQ(LineOf(Opened("5," + TextTag("1"))), "5,");
}

TEST_F(ParamFile, BinaryFileFillsTheWholeBuffer) {
  folder_.Write("b", std::string("\x01\x02\x00\xff", 4));
  ParamLineParser parser = Opened(BinaryTag("b"));
  EXPECT_EQ(NextArray(parser, 2, "aaaaaaaa"), "010200ff");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}

TEST_F(ParamFile, LongerBinaryFileIsReadUpToTheBuffer) {
  folder_.Write("b", "abcdef");
  ParamLineParser parser = Opened(BinaryTag("b"));
  EXPECT_EQ(NextArray(parser, 1, "0000"), "6162");
}

TEST_F(ParamFile, ShorterBinaryFileFailsWithoutAText) {
  folder_.Write("b", "ab");
  ParamLineParser parser = Opened(BinaryTag("b"));
  std::uint8_t bytes[4] = {};
  std::uint8_t* buffer = bytes;
  EXPECT_EQ(parser.GetNextArray(&buffer, 1, 4), 0u);
  EXPECT_EQ(ErrorOf(parser), "");
  EXPECT_EQ(StateOf(parser), "0 flat 1");
}

TEST_F(ParamFile, EmptyBufferReadsNothingFromABinaryFile) {
  folder_.Write("b", "ab");
  ParamLineParser parser = Opened(BinaryTag("b"));
  EXPECT_EQ(NextArray(parser, 1, ""), "");
}

TEST_F(ParamFile, BinaryReferenceFailuresSayWhy) {
  ParamLineParser unfinished = Opened("$(B<name");
  EXPECT_EQ(NextArray(unfinished, 1, "aa"),
            "aa failed: Cannot find the bin file name finish tag ')'.\n");
  ParamLineParser missing = Opened(BinaryTag("no"));
  EXPECT_EQ(NextArray(missing, 1, "aa"), "aa failed: " + Missing(folder_.Path("no")));
  ParamLineParser folder = Opened("$(B<" + folder_.Path() + ")");
  EXPECT_EQ(NextArray(folder, 1, "aa"), "aa failed: " + CannotOpen(folder_.Path()));
}

// Load scripts put the reference last on the line, where the position does not matter.
TEST_F(ParamFile, BinaryReferenceAnywhereAheadServesTheNextArrays) {
  folder_.Write("b", "abc");
  ParamLineParser parser = Opened("[1,2]," + BinaryTag("b"));
  EXPECT_EQ(NextArray(parser, 1, "0000"), "6162");
  EXPECT_EQ(NextArray(parser, 1, "000000"), "616263");
  EXPECT_EQ(StateOf(parser), "0 flat 2");
}

TEST_F(ParamFile, ValueBehindABinaryReferenceFailsOnTheReference) {
  folder_.Write("b", "a");
  const std::string tag = BinaryTag("b");
  ParamLineParser parser = Opened(tag);
  EXPECT_EQ(NextArray(parser, 1, "00"), "61");
  EXPECT_EQ(NextValue(parser), "failed: Failed to translate " + tag + " to wexUint32.\n");
}

TEST_F(ParamFile, BinaryReferenceBehindTheCursorIsPast) {
  folder_.Write("b", "a");
  ParamLineParser parser = Opened("1,[2]");
  NextValue(parser);
  EXPECT_EQ(NextArray(parser, 1, "00"), "02");
}

TEST_F(ParamFile, BinaryReferenceServesAnElementWidthOfZero) {
  folder_.Write("b", "abc");
  ParamLineParser parser = Opened(BinaryTag("b"));
  EXPECT_EQ(NextArray(parser, 0, "0000"), "6162");
}

TEST_F(ParamFile, BinaryPathIsTakenAfterBlanksCollapse) {
  folder_.Write("a b", "x");
  ParamLineParser collapsed = Opened(BinaryTag("a   b"));
  EXPECT_EQ(NextArray(collapsed, 1, "00"), "78");
  ParamLineParser comma = Opened(BinaryTag("a, b"));
  EXPECT_EQ(NextArray(comma, 1, "00"), "00 failed: " + Missing(folder_.Path("a,b")));
}

TEST_F(ParamFile, FileContentMayBringABinaryReference) {
  folder_.Write("b", "x");
  folder_.Write("t", "1," + BinaryTag("b"));
  ParamLineParser parser = Opened(TextTag("t"));
  EXPECT_EQ(NextValue(parser), "1");
  EXPECT_EQ(NextArray(parser, 1, "00"), "78");
}
