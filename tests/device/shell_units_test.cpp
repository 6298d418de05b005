// The parts of the shell channel that need no process: its list, its limits, and what it does to
// output.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "device/linux/output_text.h"
#include "device/linux/shell_channel.h"
#include "device/linux/shell_list.h"

namespace {

class ShellList : public testing::Test {
 protected:
  ~ShellList() override { TearDownList(); }
  void TearDownList() {
    kiv_shell_list_free(&list_);
    if (!path_.empty()) std::remove(path_.c_str());
    path_.clear();
  }
  bool read(const std::string& text) {
    char name[] = "/tmp/kivagent-list-XXXXXX";
    const int file = mkstemp(name);
    path_ = name;
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(file);
    return kiv_shell_list_read(&list_, name);
  }
  std::string path_;
  kiv_shell_list list_{};
};

TEST_F(ShellList, AllowsFirstWordsAndExactLines) {
  ASSERT_TRUE(read("ls\r\n\n# cat\n uname -a \nlast"));
  for (const char* line : {"ls", "ls -l /", " ls\t-l ", "uname -a", "  uname -a", "last", "last 1"})
    EXPECT_TRUE(kiv_shell_list_allows(&list_, line)) << line;
  for (const char* line :
       {"", " ", "l", "lsx", "uname", "uname -a -s", "uname  -a", "cat", "# cat", "#", "lasts"})
    EXPECT_FALSE(kiv_shell_list_allows(&list_, line)) << line;
}

TEST_F(ShellList, AllowsNoCharacterThatMeansSomethingToAShell) {
  ASSERT_TRUE(read("ls\n"));
  for (const char c : std::string("|&;<>()$`\\\"'*?[]{}#~!\r\n"))
    EXPECT_FALSE(kiv_shell_list_allows(&list_, (std::string("ls ") + c).c_str())) << c;
}

TEST_F(ShellList, ACommentMayStandBehindARow) {
  ASSERT_TRUE(read("uname -s # which system\nid\t#who, and $HOME\r\n\t# only this\nls #"));
  for (const char* line : {"uname -s", "id", "id -u", "ls /"})
    EXPECT_TRUE(kiv_shell_list_allows(&list_, line)) << line;
  for (const char* line : {"uname", "who,", "only this", "which system", "#"})
    EXPECT_FALSE(kiv_shell_list_allows(&list_, line)) << line;
}

TEST_F(ShellList, RefusesARowThatCouldNeverAllowALine) {
  for (const char c : std::string("|&;<>()$`\\\"'*?[]{}#~!")) {
    EXPECT_FALSE(read(std::string("ls # fine\n\nls a") + c + " # not\n")) << c;
    EXPECT_EQ(
        std::string(list_.problem),
        "list of commands " + path_ + ": line 3 allows nothing, since no line with " + c + " runs");
    TearDownList();
  }
  EXPECT_FALSE(read("ls\rid\n"));
  EXPECT_EQ(std::string(list_.problem),
            "list of commands " + path_ +
                ": line 1 allows nothing, since no line with a carriage return runs");
}

TEST_F(ShellList, RefusesAZeroByte) {
  EXPECT_FALSE(read(std::string("uname\0id\n", 9)));
  EXPECT_EQ(std::string(list_.problem), "list of commands " + path_ + ": has a zero byte");
}

TEST_F(ShellList, AllowsNothingWhenItIsEmpty) {
  EXPECT_FALSE(kiv_shell_list_allows(&list_, "ls"));
  ASSERT_TRUE(read(""));
  EXPECT_FALSE(kiv_shell_list_allows(&list_, "ls"));
  EXPECT_FALSE(kiv_shell_list_allows(&list_, ""));
}

TEST_F(ShellList, RefusesAFileThatIsTooLong) {
  EXPECT_FALSE(read(std::string(KIV_SHELL_LIST_MAX_BYTES + 1, 'x')));
  EXPECT_EQ(std::string(list_.problem), "list of commands " + path_ + ": longer than 65536 bytes");
}

TEST(ShellSplit, CutsAtBlanksAndSaysWhenThereAreTooManyWords) {
  std::string line = "  a \tbc  d ";
  char* words[KIV_SHELL_MAX_WORDS + 1];
  EXPECT_TRUE(kiv_shell_split(line.data(), words));
  EXPECT_EQ(std::vector<std::string>(words, words + 3), (std::vector<std::string>{"a", "bc", "d"}));
  EXPECT_EQ(words[3], nullptr);
  std::string full;
  for (int i = 0; i < KIV_SHELL_MAX_WORDS; ++i) full += "x ";
  std::string over = full + "y";
  EXPECT_TRUE(kiv_shell_split(full.data(), words));
  EXPECT_EQ(words[KIV_SHELL_MAX_WORDS], nullptr);
  EXPECT_FALSE(kiv_shell_split(over.data(), words));
}

TEST(ShellOptions, KeepWhatTheyHadWhenATextIsWrong) {
  kiv_shell_options options;
  kiv_shell_options_init(&options);
  EXPECT_FALSE(kiv_shell_read_limits(&options.limits, "5,6"));
  EXPECT_EQ(options.limits.seconds, 60u);
  EXPECT_TRUE(kiv_shell_read_limits(&options.limits, "5,6,7"));
  EXPECT_EQ(options.limits.seconds, 5u);
  EXPECT_EQ(options.limits.output_bytes, 6u);
  EXPECT_EQ(options.limits.processes, 7u);
  EXPECT_TRUE(kiv_shell_read_mode(&options, "list:/x"));
  EXPECT_EQ(options.mode, KIV_SHELL_LIST);
  EXPECT_STREQ(options.list_path, "/x");
  EXPECT_TRUE(kiv_shell_read_mode(&options, "off"));
  EXPECT_EQ(options.mode, KIV_SHELL_OFF);
}

// What goes out when the text comes in pieces of that length.
std::vector<std::string> piecesOf(const std::string& text, size_t pieceBytes) {
  std::vector<std::string> out;
  kiv_output_text output{};
  for (size_t at = 0; at < text.size(); at += pieceBytes) {
    const std::string piece = text.substr(at, pieceBytes);
    std::vector<uint8_t> room(piece.size() + KIV_OUTPUT_MAX_HELD_BYTES);
    const uint32_t n = kiv_output_add(&output, reinterpret_cast<const uint8_t*>(piece.data()),
                                      static_cast<uint32_t>(piece.size()), room.data());
    if (n > 0) out.emplace_back(room.begin(), room.begin() + n);
  }
  uint8_t rest[KIV_OUTPUT_MAX_HELD_BYTES];
  const uint32_t n = kiv_output_end(&output, rest);
  if (n > 0) out.emplace_back(rest, rest + n);
  return out;
}

TEST(OutputText, CutsNoCharacterInTwoWhereverItIsCut) {
  const std::string whole = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
  EXPECT_EQ(piecesOf(whole, 1),
            (std::vector<std::string>{"a", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}));
  EXPECT_EQ(piecesOf(whole, 3),
            (std::vector<std::string>{"a\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}));
}

TEST(OutputText, LosesNoByteButZeros) {
  std::string all;
  for (int i = 255; i >= 0; --i) all += std::string(3, static_cast<char>(i)) + "x";
  std::string expected;
  for (const char c : all)
    if (c != 0) expected += c;
  for (size_t pieceBytes = 1; pieceBytes < 20; ++pieceBytes) {
    std::string joined;
    for (const std::string& piece : piecesOf(all, pieceBytes)) joined += piece;
    EXPECT_EQ(joined, expected);
  }
}

}  // namespace
