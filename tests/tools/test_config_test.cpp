#include "tools/kivcts/test_config.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kivcts {
namespace {

struct Outcome {
  bool good;
  std::vector<Variation> variations;
  std::string problem;
};

Outcome Read(std::string_view source) {
  Outcome outcome;
  outcome.good = ReadTestConfig(source, outcome.variations, outcome.problem);
  return outcome;
}

TEST(TestConfig, PutsTheValuesOfAVariationBehindEachOtherLittleEndian) {
  const Outcome read = Read(
      "# memory\r\n[0]\r\nu8 255 # a comment\r\n  u16 0x0201\r\nu32 4294967295\r\n\r\n"
      "[long-run_2]\ntext \"a # b\"\nbytes 00 fF\n[empty]");
  ASSERT_TRUE(read.good) << read.problem;
  ASSERT_EQ(read.variations.size(), 3u);
  EXPECT_EQ(read.variations[0].index, "0");
  EXPECT_EQ(read.variations[0].bytes, "\xFF\x01\x02\xFF\xFF\xFF\xFF");
  EXPECT_EQ(read.variations[1].index, "long-run_2");
  EXPECT_EQ(read.variations[1].bytes, std::string("a # b\0\xFF", 7));
  EXPECT_EQ(read.variations[2].index, "empty");
  EXPECT_EQ(read.variations[2].bytes, "");
}

TEST(TestConfig, ReadsOverAMarkOfUtf8InFrontOfTheFirstLine) {
  const Outcome read = Read("\xEF\xBB\xBF[0]\nu8 1\n");
  ASSERT_TRUE(read.good) << read.problem;
  EXPECT_EQ(read.variations[0].bytes, "\x01");
  EXPECT_EQ(Read("[0]\n\xEF\xBB\xBFu8 1\n").problem,
            "line 2: a value begins with u8, u16, u32, text or bytes");
}

TEST(TestConfig, IsRefusedUnderANameThatNoLineReaches) {
  EXPECT_EQ(NameProblem("cts_echo"), "");
  EXPECT_EQ(NameProblem(std::string(63, 'n')), "");
  EXPECT_EQ(NameProblem("a.b-\xC3\xBC"), "");
  EXPECT_EQ(NameProblem(""), "a cts line cannot name it: its name is empty");
  for (const char* name : {"a b", " a", "a ", "a\\b", "a\nb", "a\r"}) {
    EXPECT_EQ(NameProblem(name),
              "a cts line cannot name it: there is a blank, a line end or a backslash in its name");
  }
  EXPECT_EQ(NameProblem(std::string(64, 'n')),
            "a device gets 63 bytes of a name, and this one has 64");
}

TEST(TestConfig, KnowsItsCompiledFilesByTheirNames) {
  EXPECT_EQ(IndexOfCompiled("a.pcfg.rt.0", "a.pcfg"), "0");
  EXPECT_EQ(IndexOfCompiled("a.pcfg.rt.long-run_2", "a.pcfg"), "long-run_2");
  for (const char* other : {"a.pcfg", "a.pcfg.rt.", "a.pcfg.rt.0.bak", "b.pcfg.rt.0", "a.pcfgrt.0",
                            "a.pcfg.rt.0 ", "xa.pcfg.rt.0"}) {
    EXPECT_EQ(IndexOfCompiled(other, "a.pcfg"), "") << other;
  }
}

struct ProblemRow {
  const char* source;
  const char* problem;
};

TEST(TestConfig, TellsTheFirstMistakeWithItsLine) {
  const ProblemRow rows[] = {
      {"", "there is no index in it"},
      {"# only\n", "there is no index in it"},
      {"u8 1\n", "line 1: a value stands in front of the first index"},
      {"\n[]\n", "line 2: an index is letters, digits, '-' and '_' in brackets"},
      {"[../x]\n", "line 1: an index is letters, digits, '-' and '_' in brackets"},
      {"[0\n", "line 1: an index is letters, digits, '-' and '_' in brackets"},
      {"[\n", "line 1: an index is letters, digits, '-' and '_' in brackets"},
      {"[0]\n[0]\n", "line 2: the index 0 is there twice"},
      {"[0]\nu8 256\n", "line 2: u8 wants a number from 0 to 255"},
      {"[0]\nu8 -1\n", "line 2: u8 wants a number from 0 to 255"},
      {"[0]\nu8\n", "line 2: u8 wants a number from 0 to 255"},
      {"[0]\nu16 65536\n", "line 2: u16 wants a number from 0 to 65535"},
      {"[0]\nu32 4294967296\n", "line 2: u32 wants a number from 0 to 4294967295"},
      {"[0]\nu32 99999999999999999999\n", "line 2: u32 wants a number from 0 to 4294967295"},
      {"[0]\nu32 0x\n", "line 2: u32 wants a number from 0 to 4294967295"},
      {"[0]\nu32 1 2\n", "line 2: u32 wants a number from 0 to 4294967295"},
      {"[0]\ntext x\n", "line 2: text wants a text in quotes"},
      {"[0]\ntext \"\n", "line 2: text wants a text in quotes"},
      {"[0]\ntext \"a\" \"b\"\n", "line 2: text wants a text in quotes"},
      {"[0]\nbytes\n", "line 2: bytes wants bytes of two hexadecimal digits"},
      {"[0]\nbytes 1\n", "line 2: bytes wants bytes of two hexadecimal digits"},
      {"[0]\nbytes 0x\n", "line 2: bytes wants bytes of two hexadecimal digits"},
      {"[0]\nword 1\n", "line 2: a value begins with u8, u16, u32, text or bytes"},
  };
  for (const ProblemRow& row : rows) {
    const Outcome read = Read(row.source);
    EXPECT_FALSE(read.good) << row.source;
    EXPECT_EQ(read.problem, row.problem) << row.source;
  }
}

}  // namespace
}  // namespace kivcts
