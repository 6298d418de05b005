// Shell lines, statement by statement: the request path, the raw path of one product, and what is
// noted and shown on each.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "channels/kiv_shell.h"
#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::BytesOf;
using kivtest::RequestPacket;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

constexpr char kNotConnected[] = "*** Failed to execute shell command. No UE is connected.\n";

ServicePost Raw(const std::string& text) { return {4, 0, BytesOf(text)}; }

class ShellLine : public kivtest::ChannelBench {
 protected:
  ShellLine() {
    Device(248, 0);
    shell_.Init(kivtest::RecordingServices());
    shell_.SetOutputFile(WidePath("out.txt"));
  }
  static void Device(std::int64_t variant, std::int64_t product) {
    version_query::NoteDevice(variant, product);
  }
  std::int32_t Run(const std::wstring& word, const std::wstring& rest) {
    Services().posts.clear();
    shell_.SaveToOutputFile(nullptr);
    return shell_.HandleCommand(word.c_str(), rest.c_str());
  }
  std::string Out() const { return FileText("out.txt"); }

  SvcKivClass::KivShell shell_;
};

// --- the request path

TEST_F(ShellLine, IsPostedUnderTheIdOfTheVariantUnlessTheProductIs38) {
  for (const std::int64_t variant : {0, 245, 246, 247, 248, 249, 250}) {
    for (const std::int64_t product : {0, 1, 37, 39, 65535}) {
      Device(variant, product);
      EXPECT_EQ(Run(L"sh", L"ls -l"), 0);
      EXPECT_EQ(Posts(),
                (PostList{{1, variant == 249 ? 0x805u : 0x500Eu, RequestPacket("ls -l"), 0, 0}}))
          << variant << " " << product;
      EXPECT_EQ(Out(), "shls -l") << "word and rest without a blank between";
    }
  }
}

TEST_F(ShellLine, IsAnyWordThatBeginsWithSh) {
  for (const wchar_t* word : {L"sh", L"Sh", L"sH", L"SH", L"shell", L"show", L"SHx", L"sh_1"}) {
    EXPECT_EQ(Run(word, L"X"), 0);
    EXPECT_EQ(Posts(), (PostList{{1, 0x500E, RequestPacket("X"), 0, 0}}));
  }
  for (const wchar_t* word : {L"", L"s", L"ls", L"ash", L" sh", L"s h", L"at+sh", L"\u017Fh"}) {
    for (const std::int32_t connected : {0, 1}) {
      Services().connected = connected;
      EXPECT_EQ(Run(word, L"X"), 50) << QCString(word).ToUtf8();
      EXPECT_EQ(Out(), QCString(word).ToUtf8() + "X");
      EXPECT_EQ(Posts(), PostList{});
    }
  }
}

TEST_F(ShellLine, SendsTheRestAloneWithItsDelay) {
  const struct {
    const wchar_t* rest;
    const char* sent;
    std::uint32_t delay;
    const char* echo;
  } rows[] = {
      {L"cat Big.txt -d 50", "cat Big.txt", 50, "shcat Big.txt"},
      {L"cat Big.txt  -d  50 ", "cat Big.txt", 50, "shcat Big.txt "},
      {L"  LS  ", "LS", 0, "sh  LS  "},
      {L"\tls\t", "\tls\t", 0, "sh\tls\t"},
      {L"-d 50", "-d 50", 50, "sh-d 50"},
      {L"x-d 50", "x-d 50", 50, "shx-d 50"},
      {L"x -d 0", "x -d 0", 0, "shx -d 0"},
      {L"x -d", "x -d", 0, "shx -d"},
      {L"ls -D 50", "ls -D 50", 0, "shls -D 50"},
      {L"sort -d file", "sort -d file", 0, "shsort -d file"},
      {L"a -d 5 -d 6", "a", 5, "sha"},
      {L"\u00DC\u20AC -d 5", "\xC3\x9C?", 5, "sh\xC3\x9C?"},
      {L"\u00DC\u20AC", "\xC3\x9C\xE2\x82\xAC", 0, "sh\xC3\x9C\xE2\x82\xAC"},
      {L"\u00DC\u20AC -d 0", "\xC3\x9C\xE2\x82\xAC -d 0", 0, "sh\xC3\x9C\xE2\x82\xAC -d 0"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Run(L"sh", row.rest), 0);
    EXPECT_EQ(Posts(), (PostList{{1, 0x500E, RequestPacket(row.sent), 0, row.delay}})) << row.echo;
    EXPECT_EQ(Out(), row.echo);
  }
}

TEST_F(ShellLine, WithoutARestIsTakenAndNotedBeforeTheDeviceIsAskedFor) {
  for (const std::int32_t connected : {0, 1}) {
    Services().connected = connected;
    EXPECT_EQ(Run(L"sh", L""), 0);
    EXPECT_EQ(Out(), "sh***error: no input parameter.n\n");
    EXPECT_EQ(Run(L"Show", L"   "), 0);
    EXPECT_EQ(Out(), "Show   ***error: no input parameter.n\n");
    EXPECT_EQ(Run(L"sh", L" -d 50"), 0);
    EXPECT_EQ(Out(), "sh***error: no input parameter.n\n");
  }
  EXPECT_EQ(shell_.HandleCommand(L"sh", nullptr), 0);
  EXPECT_EQ(shell_.HandleCommand(nullptr, nullptr), 50);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_TRUE(Messages().empty());
}

TEST_F(ShellLine, WithoutADeviceIsTakenAndNoted) {
  Services().connected = 0;
  EXPECT_EQ(Run(L"sh", L"ls"), 0);
  EXPECT_EQ(Out(), std::string("shls") + kNotConnected);
  auto table = kivtest::RecordingServices();
  table.isUeConnected = nullptr;
  shell_.Init(table);
  Services().connected = 1;
  EXPECT_EQ(Run(L"sh", L"ls"), 0);
  EXPECT_EQ(Out(), std::string("shls") + kNotConnected);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_EQ(Pauses(), 0u);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(ShellLine, GoesOutInChunksAndNotesTheOnesThatAreRefused) {
  const std::string text = std::string(400, 'a') + std::string(400, 'b') + std::string(200, 'c');
  Services().refused = {1};
  EXPECT_EQ(Run(L"sh", QCString::FromUtf8(text + " -d 9").str()), 0);
  EXPECT_EQ(Posts(), (PostList{{1, 0x500E, RequestPacket(std::string(400, 'a')), 0, 9},
                               {1, 0x500E, RequestPacket(std::string(400, 'b')), 0, 9},
                               {1, 0x500E, RequestPacket(std::string(200, 'c')), 0, 9}}));
  EXPECT_EQ(Pauses(), 3u);
  EXPECT_EQ(Out(), "sh" + text + "***error: failed to send: " + std::string(400, 'b') + "\n");
  auto table = kivtest::RecordingServices();
  table.postDiagData = nullptr;
  shell_.Init(table);
  EXPECT_EQ(Run(L"sh", L"%ls"), 0);
  EXPECT_EQ(Out(), "sh%ls***error: failed to send: %ls\n");
}

TEST_F(ShellLine, TakesFiveBytesMoreThanTheChunk) {
  fake::ResetSeam();
  fake::RecordPool(true);
  shell_.HandleCommand(L"sh", L"ls");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(7)", "PoolMalloc(3)", "PoolFree()",
                                                     "Sleep(100)", "PoolFree()"}));
}

// --- the raw path

TEST_F(ShellLine, OnProduct38IsSentRawWhateverItIsUnderEveryVariant) {
  const struct {
    const wchar_t* word;
    const wchar_t* rest;
    const char* sent;
    const char* echo;
  } rows[] = {
      {L"ls", L"", "ls\r\n", "ls"},
      {L"Sh", L"ls", "Sh ls\r\n", "Shls"},
      {L"AT+CGMI", L"", "AT+CGMI\r\n", "AT+CGMI"},
      {L"help", L"", "help\r\n", "help"},
      {L"", L"", "\r\n", ""},
      {L"", L"x", " x\r\n", "x"},
      {L"cat", L"Big -d 50", "cat Big\r\n", "catBig"},
      {L"cat", L" -d 50", "cat\r\n", "cat"},
      {L"cat", L"-d 50", "cat -d 50\r\n", "cat-d 50"},
      {L"cat", L"  x  ", "cat   x  \r\n", "cat  x  "},
      {L"sh", L"", "sh\r\n", "sh"},
      {L"\u20AC", L"\u20AC", "\xE2\x82\xAC \xE2\x82\xAC\r\n", "\xE2\x82\xAC\xE2\x82\xAC"},
      {L"\u20AC", L"\u20AC -d 5", "\xE2\x82\xAC ?\r\n", "\xE2\x82\xAC?"},
  };
  for (const std::int64_t variant : {0, 246, 248, 249}) {
    Device(variant, 38);
    for (const auto& row : rows) {
      EXPECT_EQ(Run(row.word, row.rest), 0);
      EXPECT_EQ(Posts(), PostList{Raw(row.sent)}) << row.sent;
      EXPECT_EQ(Out(), row.echo);
    }
  }
}

TEST_F(ShellLine, OnProduct38IsOnePieceWhateverItsLength) {
  Device(248, 38);
  const std::string text(5000, 'r');
  EXPECT_EQ(Run(L"w", QCString::FromUtf8(text).str()), 0);
  EXPECT_EQ(Posts(), PostList{Raw("w " + text + "\r\n")});
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(ShellLine, OnProduct38IsSentWithoutADeviceAndNotedWhenThatFails) {
  Device(248, 38);
  Services().connected = 0;
  EXPECT_EQ(Run(L"ls", L""), 0);
  EXPECT_EQ(Posts(), PostList{Raw("ls\r\n")});
  Services().posts.clear();
  Services().refused = {0};
  EXPECT_EQ(Run(L"ls", L"-l"), 0);
  EXPECT_EQ(Out(), "ls-l***error: failed to send: ls -l\r\n\n");
  EXPECT_EQ(Pauses(), 2u) << "also behind a refused one";
  auto table = kivtest::RecordingServices();
  table.postRawText = nullptr;
  shell_.Init(table);
  EXPECT_EQ(Run(L"%ls", L""), 0);
  EXPECT_EQ(Out(), "%ls***error: failed to send: %ls\r\n\n");
  EXPECT_EQ(Pauses(), 3u);
}

TEST_F(ShellLine, OnProduct38TakesOneByteMoreThanTheLine) {
  Device(248, 38);
  fake::ResetSeam();
  fake::RecordPool(true);
  shell_.HandleCommand(L"ls", L"");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(5)", "PoolMalloc(5)", "PoolFree()",
                                                     "Sleep(100)", "PoolFree()"}));
}

TEST_F(ShellLine, WithoutTheTableIsTakenAndSentNowhereOnBothPaths) {
  SvcKivClass::KivShell fresh;
  fresh.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(fresh.HandleCommand(L"sh", L"x"), 0);
  EXPECT_EQ(Out(), std::string("shx") + kNotConnected);
  Device(248, 38);
  fresh.SaveToOutputFile(nullptr);
  EXPECT_EQ(fresh.HandleCommand(L"sh", L"x"), 0);
  EXPECT_EQ(Out(), "shx***error: failed to send: sh x\r\n\n");
}

// --- answers

TEST_F(ShellLine, AnswersUnderTheVariantsIdAreShownAndEchoesSwallowed) {
  const std::uint8_t body[] = {'a', '\n'};
  for (const std::int64_t variant : {0, 245, 246, 248, 249, 250}) {
    for (const std::int64_t product : {0, 37, 38, 39}) {
      Device(variant, product);
      const std::uint32_t request = variant == 249 ? 0x805 : 0x500E;
      const std::uint32_t answer = variant == 249 ? 0x4105 : 0xA012;
      const std::size_t before = Messages().size();
      for (const std::uint32_t id :
           {0x500Eu, 0xA012u, 0x805u, 0x4105u, 0x500Du, 0xA011u, 0x705u, 0x4005u, 0x7E0Cu}) {
        const bool mine = id == request || id == answer;
        EXPECT_EQ(shell_.HandleResponse(id, nullptr, body, 2), mine ? 0 : 50) << std::hex << id;
      }
      EXPECT_EQ(shell_.HandleResponse(answer, nullptr, nullptr, 0), 0);
      EXPECT_EQ(shell_.HandleResponse(answer, nullptr, nullptr, 2), -1);
      EXPECT_EQ(shell_.HandleResponse(request, nullptr, nullptr, 2), 0);
      const auto shown = Messages();
      ASSERT_EQ(shown.size(), before + 2);
      EXPECT_EQ(shown[before].kind, product == 38 ? 5 : 4);
      EXPECT_EQ(shown[before].bytes, "a\n");
      EXPECT_EQ(shown[before + 1].kind, product == 38 ? 5 : 4);
      EXPECT_TRUE(shown[before + 1].isNull);
    }
  }
}

}  // namespace
