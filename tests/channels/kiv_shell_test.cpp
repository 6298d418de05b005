// Shell lines on their way to the device, by request and raw, and its answers.
#include "channels/kiv_shell.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::BytesOf;
using kivtest::RequestPacket;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

constexpr std::uint32_t kRequest = 0x500E;
constexpr std::uint32_t kAnswer = 0xA012;

ServicePost ShellPost(const std::string& text, std::uint32_t delay = 0,
                      std::uint32_t id = kRequest) {
  return {1, id, RequestPacket(text), 0, delay};
}
ServicePost RawPost(const std::string& text) { return {4, 0, BytesOf(text)}; }

class Shell : public kivtest::ChannelBench {
 protected:
  Shell() {
    version_query::NoteDevice(248, 0);
    shell_.Init(kivtest::RecordingServices());
    shell_.SetOutputFile(WidePath("out.txt"));
  }
  std::int32_t Answer(std::uint32_t id, const std::string& text) {
    return shell_.HandleResponse(id, nullptr, reinterpret_cast<const std::uint8_t*>(text.data()),
                                 static_cast<std::uint32_t>(text.size()));
  }

  SvcKivClass::KivShell shell_;
};

// On product 38.
class RawShell : public Shell {
 protected:
  RawShell() { version_query::NoteDevice(248, 38); }
};

TEST_F(Shell, SendsTheRestAloneWithoutALineEnd) {
  EXPECT_EQ(shell_.HandleCommand(L"sh", L"ls -l"), 0);
  EXPECT_EQ(Posts(), (PostList{ShellPost("ls -l")}));
  EXPECT_EQ(Pauses(), 1u);
  EXPECT_EQ(FileText("out.txt"), "shls -l");
}

TEST_F(Shell, TakesEveryWordThatBeginsWithShInAnyCase) {
  const std::pair<const wchar_t*, std::int32_t> rows[] = {
      {L"sh", 0},   {L"SH", 0}, {L"Sh", 0}, {L"shell", 0}, {L"show", 0}, {L"ls", 50},
      {L" sh", 50}, {L"s", 50}, {L"", 50},  {L"push", 50}, {L"at", 50},  {nullptr, 50},
  };
  for (const auto& [word, answer] : rows) {
    EXPECT_EQ(shell_.HandleCommand(word, L"ls"), answer) << QCString(word).ToUtf8();
  }
}

TEST_F(Shell, ReadsAndCutsTheDelayOfTheRestAndKeepsItsCase) {
  const struct {
    const wchar_t* rest;
    ServicePost post;
  } rows[] = {
      {L"cat Big.txt -d 50", ShellPost("cat Big.txt", 50)},
      {L"-d 50", ShellPost("-d 50", 50)},
      {L"ls-d 5", ShellPost("ls-d 5", 5)},
      {L"ls -d 0", ShellPost("ls -d 0", 0)},
      {L"ls -D 5", ShellPost("ls -D 5", 0)},
      {L"  ls  ", ShellPost("ls", 0)},
      {L"echo \u0416\u00e9 -d 5", ShellPost("echo ?\xc3\xa9", 5)},
      {L"echo \u0416\u00e9", ShellPost("echo \xd0\x96\xc3\xa9", 0)},
  };
  for (const auto& row : rows) {
    Services().posts.clear();
    EXPECT_EQ(shell_.HandleCommand(L"sh", row.rest), 0);
    EXPECT_EQ(Posts(), (PostList{row.post})) << QCString(row.rest).ToUtf8();
  }
}

TEST_F(Shell, UsesTheIdsOfTheVariant) {
  version_query::NoteDevice(249, 0);
  shell_.HandleCommand(L"sh", L"ls");
  EXPECT_EQ(Posts(), (PostList{ShellPost("ls", 0, 0x805)}));
  EXPECT_EQ(Answer(0x805, "echo"), 0);
  EXPECT_EQ(Answer(0x4105, "files"), 0);
  EXPECT_EQ(Answer(kAnswer, "other"), 50);
  EXPECT_EQ(Texts(), std::vector<std::wstring>{L"files"});
}

TEST_F(Shell, SplitsALongLine) {
  EXPECT_EQ(shell_.HandleCommand(L"sh", std::wstring(801, L'y').c_str()), 0);
  EXPECT_EQ(Posts(), (PostList{ShellPost(std::string(400, 'y')), ShellPost(std::string(400, 'y')),
                               ShellPost("y")}));
  EXPECT_EQ(Pauses(), 3u);
}

TEST_F(Shell, SaysWhenThereIsNothingToSend) {
  EXPECT_EQ(shell_.HandleCommand(L"sh", L""), 0);
  EXPECT_EQ(shell_.HandleCommand(L"Shell", L"  "), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(FileText("out.txt"),
            "sh***error: no input parameter.n\nShell  ***error: no input parameter.n\n");
}

TEST_F(Shell, LooksForAParameterBeforeItLooksForADevice) {
  Services().connected = 0;
  EXPECT_EQ(shell_.HandleCommand(L"sh", L""), 0);
  EXPECT_EQ(shell_.HandleCommand(L"sh", L"ls"), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(FileText("out.txt"),
            "sh***error: no input parameter.n\n"
            "shls*** Failed to execute shell command. No UE is connected.\n");
  EXPECT_TRUE(Messages().empty());
}

TEST_F(Shell, NotesARefusedChunkAndGoesOn) {
  Services().refused = {0};
  EXPECT_EQ(shell_.HandleCommand(L"sh", std::wstring(401, L'y').c_str()), 0);
  EXPECT_EQ(Posts().size(), 2u);
  EXPECT_EQ(FileText("out.txt"), "sh" + std::string(401, 'y') +
                                     "***error: failed to send: " + std::string(400, 'y') + "\n");
}

TEST_F(Shell, ShowsAnswersAsKind4) {
  EXPECT_EQ(Answer(kAnswer, "a\nb\n"), 0);
  EXPECT_EQ(Answer(kAnswer, ""), 0);
  EXPECT_EQ(Answer(kRequest, "echo"), 0);
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0].kind, 4);
  EXPECT_EQ(messages[0].bytes, "a\nb\n");
  EXPECT_TRUE(messages[1].isNull);
}

TEST_F(RawShell, SendsEveryLineWholeWithALineEnd) {
  const struct {
    const wchar_t* word;
    const wchar_t* rest;
    std::string sent;
  } rows[] = {
      {L"ls", L"-l", "ls -l\r\n"},
      {L"sh", L"ls", "sh ls\r\n"},
      {L"Ps", L"", "Ps\r\n"},
      {L"AT+CSQ", L"", "AT+CSQ\r\n"},
      {L"", L"", "\r\n"},
      {L"cat", L"x -d 50", "cat x\r\n"},
      {L"cat", L"-d 50", "cat -d 50\r\n"},
      {L"echo", L"\u0436\u20ac", "echo \xd0\xb6\xe2\x82\xac\r\n"},
  };
  for (const auto& row : rows) {
    Services().posts.clear();
    EXPECT_EQ(shell_.HandleCommand(row.word, row.rest), 0);
    EXPECT_EQ(Posts(), (PostList{RawPost(row.sent)})) << row.sent;
  }
  EXPECT_EQ(Pauses(), std::size(rows));
}

TEST_F(RawShell, SendsALongLineInOnePiece) {
  EXPECT_EQ(shell_.HandleCommand(L"echo", std::wstring(2000, L'y').c_str()), 0);
  EXPECT_EQ(Posts(), (PostList{RawPost("echo " + std::string(2000, 'y') + "\r\n")}));
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(RawShell, TriesToSendWithoutADeviceToo) {
  Services().connected = 0;
  Services().refused = {0};
  EXPECT_EQ(shell_.HandleCommand(L"ls", L"-l"), 0);
  EXPECT_EQ(Posts().size(), 1u);
  EXPECT_EQ(FileText("out.txt"), "ls-l***error: failed to send: ls -l\r\n\n");
}

TEST_F(RawShell, CountsAMissingSendEntryAsARefusal) {
  shell_.Init({});
  EXPECT_EQ(shell_.HandleCommand(L"ls", L""), 0);
  EXPECT_EQ(FileText("out.txt"), "ls***error: failed to send: ls\r\n\n");
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(RawShell, ShowsAnswersAsKind5) {
  EXPECT_EQ(Answer(kAnswer, "text"), 0);
  EXPECT_EQ(Messages().at(0).kind, 5);
}

TEST_F(RawShell, TakesOneByteMoreThanItSendsFromThePool) {
  fake::RecordPool(true);
  shell_.HandleCommand(L"ls", L"");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(5)", "PoolMalloc(5)", "PoolFree()",
                                                     "Sleep(100)", "PoolFree()"}));
}

}  // namespace
