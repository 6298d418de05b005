// HCI lines on their way to the device, and its answers.
#include "channels/kiv_hci.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

constexpr std::uint32_t kId = 0x7E0C;

ServicePost HciPost(const std::string& text) {
  const std::size_t counted = text.size() + 9;
  ByteList packet = {
      0x10, 0, static_cast<std::uint8_t>(counted), static_cast<std::uint8_t>(counted >> 8), 0, 0};
  packet.insert(packet.end(), text.begin(), text.end());
  return {2, kId, packet};
}

class Hci : public kivtest::ChannelBench {
 protected:
  Hci() {
    version_query::NoteDevice(246, 0);
    hci_.Init(kivtest::RecordingServices());
  }

  SvcKivClass::KivHci hci_;
};

TEST_F(Hci, SendsWordAndRestBehindAHeadThatCountsNineMore) {
  EXPECT_EQ(hci_.HandleCommand(L"hci", L"01 03 0c 00"), 0);
  const ByteList packet = {0x10, 0,   24,  0,   0,   0,   'h', 'c', 'i', ' ', '0',
                           '1',  ' ', '0', '3', ' ', '0', 'c', ' ', '0', '0'};
  EXPECT_EQ(Posts(), (PostList{{2, kId, packet}}));
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(Hci, SendsAWordAloneWithoutABlankOrALineEnd) {
  EXPECT_EQ(hci_.HandleCommand(L"hci_reset", L""), 0);
  EXPECT_EQ(hci_.HandleCommand(L"hci_reset", nullptr), 0);
  EXPECT_EQ(Posts(), (PostList{HciPost("hci_reset"), HciPost("hci_reset")}));
}

TEST_F(Hci, TakesAnyLineAndReadsNoDelay) {
  EXPECT_EQ(hci_.HandleCommand(L"AT+X -d 5", L""), 0);
  EXPECT_EQ(hci_.HandleCommand(L"sys_info", L"1 -d 5"), 0);
  EXPECT_EQ(Posts(), (PostList{HciPost("AT+X -d 5"), HciPost("sys_info 1 -d 5")}));
}

TEST_F(Hci, TakesAnEmptyLineAndSendsNothing) {
  EXPECT_EQ(hci_.HandleCommand(L"", L""), 0);
  EXPECT_EQ(hci_.HandleCommand(nullptr, nullptr), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(Pauses(), 0u);
}

TEST_F(Hci, DeclinesEveryLineOnOtherVariants) {
  hci_.SetOutputFile(WidePath("out.txt"));
  for (const std::int64_t variant : {0, 245, 247, 248, 249}) {
    version_query::NoteDevice(variant, 0);
    EXPECT_EQ(hci_.HandleCommand(L"hci_reset", L"1"), 50) << variant;
  }
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(FileText("out.txt"), "hci_reset 1hci_reset 1hci_reset 1hci_reset 1hci_reset 1");
}

TEST_F(Hci, ShowsAnswersAsKind4OnEveryVariant) {
  const std::uint8_t answer[] = {'0', '4', ' ', '0', 'e'};
  for (const std::int64_t variant : {246, 248, 249}) {
    version_query::NoteDevice(variant, 0);
    EXPECT_EQ(hci_.HandleResponse(kId, nullptr, answer, sizeof answer), 0);
  }
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 3u);
  for (const auto& message : messages) {
    EXPECT_EQ(message.kind, 4);
    EXPECT_EQ(message.bytes, "04 0e");
  }
}

TEST_F(Hci, SplitsALongLineAndCountsBytes) {
  EXPECT_EQ(hci_.HandleCommand(std::wstring(401, L'\u20ac').c_str(), L""), 0);
  std::string euros;
  for (int i = 0; i < 400; ++i) euros += "\xe2\x82\xac";
  EXPECT_EQ(Posts(), (PostList{HciPost(euros), HciPost("\xe2\x82\xac")}));
  EXPECT_EQ(Posts()[0].bytes[2], 1209 & 0xFF);
  EXPECT_EQ(Posts()[0].bytes[3], 1209 >> 8);
  EXPECT_EQ(Pauses(), 2u);
}

TEST_F(Hci, SaysThatNoDeviceIsConnectedInTheShellsWords) {
  hci_.SetOutputFile(WidePath("out.txt"));
  Services().connected = 0;
  EXPECT_EQ(hci_.HandleCommand(L"hci", L"01"), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(FileText("out.txt"),
            "hci 01*** Failed to execute shell command. No UE is connected.\n");
}

TEST_F(Hci, NotesARefusedChunkAndAMissingEntry) {
  hci_.SetOutputFile(WidePath("out.txt"));
  Services().refused = {0};
  EXPECT_EQ(hci_.HandleCommand(L"hci", L"01"), 0);
  SvcKivClass::ChannelServiceTable table = kivtest::RecordingServices();
  table.postHciData = nullptr;
  hci_.Init(table);
  EXPECT_EQ(hci_.HandleCommand(L"x", L""), 0);
  EXPECT_EQ(FileText("out.txt"),
            "hci 01***error: failed to send: hci 01\nx***error: failed to send: x\n");
  EXPECT_EQ(Pauses(), 2u);
}

TEST_F(Hci, TakesExactlyThePacketFromThePool) {
  fake::RecordPool(true);
  hci_.HandleCommand(L"hci", L"01");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(12)", "PoolMalloc(7)",
                                                     "PoolFree()", "Sleep(100)", "PoolFree()"}));
}

}  // namespace
