// HCI lines, statement by statement: the one variant that has them, the frame byte by byte, and
// what is noted and shown.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "channels/kiv_hci.h"
#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

// The frame of a chunk: a mark, a length that counts 9 more than the text, zeros, the text.
ServicePost Frame(const std::string& text) {
  const std::size_t length = text.size() + 9;
  ByteList bytes = {
      0x10, 0, static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(length >> 8), 0, 0};
  bytes.insert(bytes.end(), text.begin(), text.end());
  return {2, 0x7E0C, bytes};
}

class HciLine : public kivtest::ChannelBench {
 protected:
  HciLine() {
    Device(246);
    hci_.Init(kivtest::RecordingServices());
    hci_.SetOutputFile(WidePath("out.txt"));
  }
  static void Device(std::int64_t variant, std::int64_t product = 0) {
    version_query::NoteDevice(variant, product);
  }
  std::int32_t Run(const std::wstring& word, const std::wstring& rest) {
    Services().posts.clear();
    hci_.SaveToOutputFile(nullptr);
    return hci_.HandleCommand(word.c_str(), rest.c_str());
  }
  std::string Out() const { return FileText("out.txt"); }

  SvcKivClass::KivHci hci_;
};

TEST_F(HciLine, IsOneFrameOfWordBlankAndRest) {
  EXPECT_EQ(Run(L"hci", L"01 03 0c 00"), 0);
  EXPECT_EQ(Posts(), (PostList{{2, 0x7E0C, {0x10, 0,   24,  0,   0,   0,   'h', 'c', 'i', ' ', '0',
                                            '1',  ' ', '0', '3', ' ', '0', 'c', ' ', '0', '0'}}}));
  EXPECT_EQ(Out(), "hci 01 03 0c 00");
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(HciLine, IsAnyLineAsItIs) {
  const struct {
    const wchar_t* word;
    const wchar_t* rest;
    const char* line;
  } rows[] = {
      {L"hci_reset", L"", "hci_reset"},
      {L"AT+CGMI", L"", "AT+CGMI"},
      {L"help", L"", "help"},
      {L"sh", L"ls -d 5", "sh ls -d 5"},
      {L"CTS", L"Name 0", "CTS Name 0"},
      {L"w", L"  r  ", "w   r  "},
      {L"", L"r", " r"},
      {L"\u00FC", L"\u20AC", "\xC3\xBC \xE2\x82\xAC"},
      {L"100%", L"%ls", "100% %ls"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Run(row.word, row.rest), 0);
    EXPECT_EQ(Posts(), PostList{Frame(row.line)}) << row.line;
    EXPECT_EQ(Out(), row.line);
  }
}

TEST_F(HciLine, IsTakenAndSentNowhereWhenItIsEmpty) {
  EXPECT_EQ(Run(L"", L""), 0);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_EQ(Pauses(), 0u);
  EXPECT_EQ(hci_.HandleCommand(nullptr, nullptr), 0);
  EXPECT_EQ(Posts(), PostList{});
}

TEST_F(HciLine, IsNotedAndDeclinedOnEveryOtherVariant) {
  for (const std::int64_t variant : {0, 245, 247, 248, 249, 65535}) {
    for (const std::int64_t product : {0, 38}) {
      for (const std::int32_t connected : {0, 1}) {
        Device(variant, product);
        Services().connected = connected;
        EXPECT_EQ(Run(L"hci_reset", L"x"), 50) << variant;
        EXPECT_EQ(Out(), "hci_reset x");
        EXPECT_EQ(Posts(), PostList{});
      }
    }
  }
  Device(246, 38);
  EXPECT_EQ(Run(L"hci_reset", L""), 0) << "the product does not matter";
  EXPECT_EQ(Posts(), PostList{Frame("hci_reset")});
}

TEST_F(HciLine, WithoutADeviceIsTakenAndNotedInTheShellsWords) {
  const std::string said = "*** Failed to execute shell command. No UE is connected.\n";
  Services().connected = 0;
  EXPECT_EQ(Run(L"a", L"b"), 0);
  EXPECT_EQ(Out(), "a b" + said);
  EXPECT_EQ(Run(L"", L""), 0);
  EXPECT_EQ(Out(), said);
  auto table = kivtest::RecordingServices();
  table.isUeConnected = nullptr;
  hci_.Init(table);
  Services().connected = 1;
  EXPECT_EQ(Run(L"a", L""), 0);
  EXPECT_EQ(Out(), "a" + said);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_TRUE(Messages().empty());
  EXPECT_EQ(Pauses(), 0u);
}

TEST_F(HciLine, GoesOutInChunksOf400CharactersWithTheLengthOfEach) {
  const std::string text = std::string(400, 'a') + std::string(400, 'b') + "c";
  EXPECT_EQ(Run(QCString::FromUtf8(text).str(), L""), 0);
  EXPECT_EQ(Posts(),
            (PostList{Frame(std::string(400, 'a')), Frame(std::string(400, 'b')), Frame("c")}));
  EXPECT_EQ(Posts()[0].bytes[2], 0x99) << "409, low byte first";
  EXPECT_EQ(Posts()[0].bytes[3], 0x01);
  EXPECT_EQ(Pauses(), 3u);
  EXPECT_EQ(Run(std::wstring(400, L'\u20AC'), L""), 0);
  ASSERT_EQ(Posts().size(), 1u) << "400 characters are one chunk";
  EXPECT_EQ(Posts()[0].bytes.size(), 1206u);
  EXPECT_EQ(Posts()[0].bytes[2] | Posts()[0].bytes[3] << 8, 1209);
}

TEST_F(HciLine, NotesEachChunkThatIsRefusedAndSendsTheNext) {
  Services().refused = {0};
  const std::wstring word = std::wstring(399, L'a') + L"%1";
  EXPECT_EQ(Run(word, L""), 0);
  EXPECT_EQ(Posts().size(), 2u);
  EXPECT_EQ(Pauses(), 2u);
  EXPECT_EQ(Out(),
            std::string(399, 'a') + "%1***error: failed to send: " + std::string(399, 'a') + "%\n");
  auto table = kivtest::RecordingServices();
  table.postHciData = nullptr;
  hci_.Init(table);
  EXPECT_EQ(Run(L"a", L"b"), 0);
  EXPECT_EQ(Out(), "a b***error: failed to send: a b\n");
  EXPECT_EQ(Pauses(), 3u);
}

TEST_F(HciLine, TakesSixBytesMoreThanTheChunkAndPausesBeforeItReleasesThem) {
  fake::ResetSeam();
  fake::RecordPool(true);
  hci_.HandleCommand(L"abcd", L"");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(10)", "PoolMalloc(5)",
                                                     "PoolFree()", "Sleep(100)", "PoolFree()"}));
}

TEST_F(HciLine, AnswersAreShownAsKind4UnderEveryVariantAndProduct) {
  const std::uint8_t body[] = {'0', '4', ' ', '0', 'e'};
  for (const std::int64_t variant : {0, 246, 248, 249}) {
    for (const std::int64_t product : {0, 38}) {
      Device(variant, product);
      const std::size_t before = Messages().size();
      EXPECT_EQ(hci_.HandleResponse(0x7E0C, nullptr, body, 5), 0);
      for (const std::uint32_t id :
           {0x7E0Bu, 0x500Du, 0xA011u, 0x705u, 0x4005u, 0x500Eu, 0xA012u, 0xA010u, 0x17E0Cu}) {
        EXPECT_EQ(hci_.HandleResponse(id, nullptr, body, 5), 50) << std::hex << id;
      }
      EXPECT_EQ(hci_.HandleResponse(0x7E0C, nullptr, nullptr, 0), 0);
      EXPECT_EQ(hci_.HandleResponse(0x7E0C, nullptr, nullptr, 1), -1);
      const auto shown = Messages();
      ASSERT_EQ(shown.size(), before + 2);
      EXPECT_EQ(shown[before].kind, 4);
      EXPECT_EQ(shown[before].bytes, "04 0e");
      EXPECT_EQ(shown[before + 1].kind, 4);
      EXPECT_TRUE(shown[before + 1].isNull);
    }
  }
}

}  // namespace
