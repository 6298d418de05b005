// "cts", "ctsftl", the channel's log, and what the device sends for it.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/cts/cts_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::kLogHead;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;
using TextList = std::vector<std::wstring>;

const std::wstring kUsageTail =
    L"usage         : cts <config name> <index>\n"
    L"example       : cts cts_DW_MDM_NM_GetAddr 0 #tfunction entry: cts_DW_MDM_NM_GetAddr_0; "
    L"config file: cts_DW_MDM_NM_GetAddr.pcfgn\n";

ServicePost TestPost(const std::string& name, const std::string& content, std::uint32_t delay = 0) {
  ByteList packet(name.begin(), name.end());
  packet.resize(72, 0);
  for (int i = 0; i < 4; ++i) {
    packet.push_back(static_cast<std::uint8_t>(content.size() >> (8 * i)));
  }
  packet.insert(packet.end(), content.begin(), content.end());
  return {1, 0x500C, packet, 0, delay};
}

class CtsCommand : public kivtest::CtsBench {
 protected:
  CtsCommand() { Configure(); }

  // A test case with a compiled file of this content.
  void AddCase(const std::string& name, const std::string& index, const std::string& content) {
    Write("cases/" + name + ".pcfg", "");
    Write("cases/pbin/" + name + ".pcfg.rt." + index, content);
  }
  std::wstring Config(const std::wstring& name) const { return Cases() + L"\\" + name + L".pcfg"; }
  std::wstring Compiled(const std::wstring& name, const std::wstring& index) const {
    return Cases() + L"\\pbin\\" + name + L".pcfg.rt." + index;
  }
  std::wstring Sent(const std::wstring& name, std::size_t lengthBytes) const {
    return L"send to UE... \ntest entry name       : " + name + L"\ntest parameter length : " +
           std::to_wstring(lengthBytes) + L"B\nconfig file           : " + Config(name) + L"\n";
  }
  TextList ReadFailed(const std::wstring& name, const std::wstring& index) const {
    return {L"***error: failed to read file: " + Compiled(name, index) + L"\n"};
  }
};

TEST_F(CtsCommand, SendsTheCompiledFileUnderItsName) {
  const std::string content(100, '\xA5');
  AddCase("cts_DW_MDM_NM_GetAddr", "0", content);
  EXPECT_EQ(Run(L"CTS", L"cts_DW_MDM_NM_GetAddr 0"), 0);
  EXPECT_EQ(Posts(), (PostList{TestPost("cts_DW_MDM_NM_GetAddr", content)}));
  EXPECT_EQ(Texts(), (TextList{Sent(L"cts_DW_MDM_NM_GetAddr", 176)}));
  EXPECT_EQ(Messages()[0].kind, 3);
  EXPECT_EQ(Pauses(), 0u);
}

TEST_F(CtsCommand, SendsAnEmptyFileAs76Bytes) {
  AddCase("empty", "0", "");
  EXPECT_EQ(Run(L"cts", L"empty 0"), 0);
  EXPECT_EQ(Posts(), (PostList{TestPost("empty", "")}));
  EXPECT_EQ(Posts()[0].bytes.size(), 76u);
  EXPECT_EQ(Texts(), (TextList{Sent(L"empty", 76)}));
}

TEST_F(CtsCommand, SendsEveryByteOfTheFileUnchanged) {
  std::string content;
  for (int i = 0; i < 70000; ++i) content += static_cast<char>(i * 7);
  AddCase("all", "12", content);
  Run(L"cts", L"all 12");
  EXPECT_EQ(Posts(), (PostList{TestPost("all", content)}));
}

TEST_F(CtsCommand, TakesTheIndexAsTyped) {
  AddCase("name", "abc", "1");
  AddCase("name", "0 1", "2");
  AddCase("name", "00", "3");
  EXPECT_EQ(Run(L"cts", L"  name   abc  "), 0);
  EXPECT_EQ(Run(L"cts", L"name 0 1"), 0);
  EXPECT_EQ(Run(L"cts", L"name 00"), 0);
  EXPECT_EQ(Posts(),
            (PostList{TestPost("name", "1"), TestPost("name", "2"), TestPost("name", "3")}));
}

TEST_F(CtsCommand, PassesTheDelayOn) {
  AddCase("name", "0", "x");
  EXPECT_EQ(Run(L"cts", L"name 0 -d 300"), 0);
  EXPECT_EQ(Posts(), (PostList{TestPost("name", "x", 300)}));
}

TEST_F(CtsCommand, CutsALongNameInThePacketAlone) {
  const std::string name(70, 'n');
  AddCase(name, "0", "x");
  Run(L"cts", std::wstring(70, L'n') + L" 0");
  EXPECT_EQ(Posts(), (PostList{TestPost(name.substr(0, 63), "x")}));
  EXPECT_EQ(Texts(), (TextList{Sent(std::wstring(70, L'n'), 77)}));
}

TEST_F(CtsCommand, CountsANameInBytes) {
  std::string name;
  for (int i = 0; i < 32; ++i) name += "\xd0\xb6";
  AddCase(name, "0", "x");
  Run(L"cts", std::wstring(32, L'\u0436') + L" 0");
  EXPECT_EQ(Posts(), (PostList{TestPost(name.substr(0, 63), "x")}));
}

TEST_F(CtsCommand, ShowsPercentSignsOfANameAsTyped) {
  AddCase("%2%1%3", "0", "x");
  Run(L"cts", L"%2%1%3 0");
  EXPECT_EQ(Texts(), (TextList{Sent(L"%2%1%3", 77)}));
}

TEST_F(CtsCommand, ChecksInItsOrderAndStopsAtTheFirstThatFails) {
  SvcKivClass::KivCts fresh;
  Services().connected = 0;
  fresh.Init(kivtest::RecordingServices());
  EXPECT_EQ(fresh.HandleCommand(L"cts", L"   "), 0);
  EXPECT_EQ(fresh.HandleCommand(L"cts", L"name"), 0);
  Services().connected = 1;
  EXPECT_EQ(fresh.HandleCommand(L"cts", L"name"), 0);
  EXPECT_EQ(Run(L"cts", L"name"), 0);
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  Write("cases/name.pcfg", "");
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(
      Texts(),
      (TextList{
          L"***error: no input parameter.\n" + kUsageTail,
          L"*** Failed to execute cts command. No UE is connected.\n",
          L"***error: failed to find config path. Use ctscfg <path> to set cts config path.\n",
          L"***error: no input index parameter.\n" + kUsageTail,
          L"***error: failed to find parameter config file: " + Config(L"name") + L"\n",
          L"***error: failed to run parameter config file. Compile it by Kestrax. config file: " +
              Config(L"name") + L", rts file:" + Compiled(L"name", L"0") + L"\n"}));
  EXPECT_TRUE(Posts().empty());
}

TEST_F(CtsCommand, CountsAMissingTableAsNoDevice) {
  cts_.Init({});
  Run(L"cts", L"name 0");
  EXPECT_EQ(Texts(), (TextList{L"*** Failed to execute cts command. No UE is connected.\n"}));
}

TEST_F(CtsCommand, SaysThatTheFileCannotBeReadWhenItIsADirectory) {
  Write("cases/name.pcfg", "");
  std::filesystem::create_directories(Path("cases/pbin/name.pcfg.rt.0"));
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(Texts(), ReadFailed(L"name", L"0"));
}

TEST_F(CtsCommand, SaysThatTheFileCannotBeReadWhenItDoesNotFitThePacket) {
  AddCase("name", "0", "");
  std::filesystem::resize_file(Path("cases/pbin/name.pcfg.rt.0"), 0xFFFFFFFFull - 75);
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(Texts(), ReadFailed(L"name", L"0"));
  EXPECT_TRUE(Posts().empty());
}

TEST_F(CtsCommand, SaysNothingWhenTheSizeCannotBeTaken) {
  int controller = -1;
  int terminal = -1;
  char path[128];
  ASSERT_EQ(openpty(&controller, &terminal, path, nullptr, nullptr), 0);
  // By the line such a file is not even opened.
  Write("cases/name.pcfg", "");
  std::filesystem::create_symlink(path, Path("cases/pbin/name.pcfg.rt.0"));
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(Texts(), ReadFailed(L"name", L"0"));
  const std::size_t before = Messages().size();
  EXPECT_EQ(cts_.SendTestParameters(Compiled(L"name", L"0").c_str(), std::fopen(path, "rb"), 0,
                                    L"name", Config(L"name").c_str()),
            0);
  EXPECT_EQ(Messages().size(), before);
  EXPECT_TRUE(Posts().empty());
  ::close(controller);
  ::close(terminal);
}

TEST_F(CtsCommand, SaysThatTheFileCannotBeReadWhenItEndsEarly) {
  AddCase("name", "0", std::string(100000, 'x'));
  const std::string file = Path("cases/pbin/name.pcfg.rt.0");
  std::FILE* const open = std::fopen(file.c_str(), "rb");
  fake::OnStep("PoolMalloc", [&] { std::filesystem::resize_file(file, 3); });
  fake::RecordPool(true);
  EXPECT_EQ(cts_.SendTestParameters(Compiled(L"name", L"0").c_str(), open, 0, L"name",
                                    Config(L"name").c_str()),
            0);
  fake::RecordPool(false);
  EXPECT_EQ(Texts(), ReadFailed(L"name", L"0"));
  EXPECT_TRUE(Posts().empty());
}

TEST_F(CtsCommand, UsesTheSameWordsForARefusedPostAndForAMissingEntry) {
  AddCase("name", "0", "x");
  Services().refused = {0};
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(Texts(), ReadFailed(L"name", L"0"));
  SvcKivClass::ChannelServiceTable table = kivtest::RecordingServices();
  table.postDiagData = nullptr;
  cts_.Init(table);
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_EQ(Texts().size(), 2u);
  EXPECT_EQ(Texts()[1], Texts()[0]);
}

TEST_F(CtsCommand, SwitchesTheFilter) {
  const struct {
    const wchar_t* rest;
    std::uint32_t filter;
  } rows[] = {{L"", 0}, {L"1", 1}, {L"", 1}, {L"0", 0}, {L"on", 1}, {L"00", 1}, {L"0", 0}};
  TextList expected;
  for (const auto& row : rows) {
    EXPECT_EQ(Run(L"CtsFtl", row.rest), 0);
    EXPECT_EQ(cts_.GetFilter(), row.filter);
    expected.push_back(row.filter != 0 ? L"Filter out other messages.\n"
                                       : L"Do not filter out other messages.\n");
  }
  EXPECT_EQ(Texts(), expected);
}

TEST_F(CtsCommand, DeclinesOtherWordsAndNotesEveryLineInTheLog) {
  EXPECT_EQ(Run(L"Nix", L"A b"), 50);
  EXPECT_EQ(Run(L"ctsx", L""), 50);
  EXPECT_EQ(cts_.HandleCommand(nullptr, nullptr), 50);
  EXPECT_EQ(Run(L"AT", L"x -d 5"), 50);
  EXPECT_TRUE(Messages().empty());
  EXPECT_EQ(Log(), std::string(kLogHead) + "nix A b \nctsx  \n  \nat x \n");
}

TEST_F(CtsCommand, WritesAnAnswerTwiceIntoTheLogAndOnceToTheView) {
  Run(L"ctsftl", L"0");
  EXPECT_EQ(Log(), std::string(kLogHead) +
                       "ctsftl 0 \n"
                       "Do not filter out other messages.\nDo not filter out other messages.\n");
  EXPECT_EQ(Messages().size(), 1u);
}

TEST_F(CtsCommand, ShowsTheConfirmationAndTheTextOfTheDevice) {
  EXPECT_EQ(Answer(0x500C, "ignored"), 0);
  EXPECT_EQ(Answer(0xA010, "line \xd0\xb6\xff"), 0);
  EXPECT_EQ(Answer(0xA010, ""), 0);
  EXPECT_EQ(Texts(), (TextList{L"\nSent to UE successfully\n", L"line \u0436\uFFFD\n", L"\n"}));
  EXPECT_EQ(Log(),
            std::string(kLogHead) + "\nSent to UE successfully\nline \xd0\xb6\xef\xbf\xbd\n\n");
  for (const auto& message : Messages()) EXPECT_EQ(message.kind, 3);
}

TEST_F(CtsCommand, ShowsItsOwnPacketsAndClaimsAllOthersWhileTheFilterIsOn) {
  EXPECT_EQ(Answer(0xA011, "OK"), 50);
  cts_.SetFilter(1);
  EXPECT_EQ(Answer(0xA011, "OK"), 0);
  EXPECT_EQ(Answer(0x500C, ""), 0);
  EXPECT_EQ(Answer(0xA010, "text"), 0);
  EXPECT_EQ(Texts(), (TextList{L"\nSent to UE successfully\n", L"text\n"}));
}

TEST_F(CtsCommand, ShowsNothingOfATextWithoutABody) {
  EXPECT_EQ(cts_.HandleResponse(0xA010, nullptr, nullptr, 4), 0);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(CtsCommand, ReleasesATextThatNobodyReceivesAndStillLogsIt) {
  SvcKivClass::SetViewSender(nullptr);
  cts_.ShowText(L"text");
  EXPECT_EQ(pool::LiveBlocks(), 0u);
  EXPECT_EQ(Log(), std::string(kLogHead) + "text\n");
}

// The view's copy is the last allocation of every command; the log has its lines all the same.
TEST_F(CtsCommand, KeepsTheLogAndShowsANullTextWithoutMemory) {
  AddCase("name", "0", "x");
  for (std::uint64_t n = 1; n <= 2; ++n) {
    const std::size_t before = Messages().size();
    pool::FailNth(n);
    EXPECT_EQ(Run(L"cts", L"name 0"), 0);
    EXPECT_TRUE(pool::Failed()) << n;
    pool::FailNth(0);
    const auto messages = Messages();
    ASSERT_EQ(messages.size(), before + 1);
    EXPECT_EQ(messages.back().text, n == 1 ? L"***error: no more memory\n" : L"");
    EXPECT_EQ(messages.back().isNull, n == 2);
    EXPECT_EQ(Posts().size(), n - 1);
  }
  pool::FailNth(3);
  EXPECT_EQ(Run(L"cts", L"name 0"), 0);
  EXPECT_FALSE(pool::Failed());
  const std::string once = "send to UE... ";
  const std::string log = Log();
  EXPECT_TRUE(log.starts_with(kLogHead));
  std::size_t count = 0;
  for (std::size_t at = log.find(once); at != std::string::npos; at = log.find(once, at + 1)) {
    ++count;
  }
  EXPECT_EQ(count, 3u);  // once without memory for the copy, twice with it
}

TEST_F(CtsCommand, ShowsNothingOrANullTextOfTheDeviceWithoutMemory) {
  pool::FailNth(1);
  EXPECT_EQ(Answer(0xA010, "text"), 0);
  EXPECT_TRUE(Messages().empty());
  pool::FailNth(2);
  EXPECT_EQ(Answer(0xA010, "text"), 0);
  ASSERT_EQ(Messages().size(), 1u);
  EXPECT_TRUE(Messages()[0].isNull);
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(CtsCommand, ClosesTheFileOnEveryPath) {
  AddCase("name", "0", "x");
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
  };
  const auto before = openFiles();
  Run(L"cts", L"name 0");
  Services().refused = {1};
  Run(L"cts", L"name 0");
  pool::FailNth(1);
  Run(L"cts", L"name 0");
  std::filesystem::resize_file(Path("cases/pbin/name.pcfg.rt.0"), 0x100000000ull);
  Run(L"cts", L"name 0");
  EXPECT_EQ(openFiles(), before);
}

}  // namespace
