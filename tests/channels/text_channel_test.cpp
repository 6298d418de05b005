// The frame that all text channels share.
#include "channels/text_channel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "channels/kiv_at.h"
#include "channels/kiv_hci.h"
#include "channels/kiv_shell.h"
#include "tests/fakes/channel_bench.h"

namespace {

using SvcKivClass::KivAt;
using SvcKivClass::KivHci;
using SvcKivClass::KivShell;
using SvcKivClass::TextChannel;

class Frame : public kivtest::ChannelBench {
 protected:
  KivAt at_;
};

TEST_F(Frame, SendsACopyOfTheTextWithTheChannelsKind) {
  version_query::NoteDevice(248, 0);
  KivHci hci;
  KivShell shell;
  EXPECT_EQ(at_.PostTextToView("one"), 0);
  EXPECT_EQ(hci.PostTextToView("two"), 0);
  EXPECT_EQ(shell.PostTextToView("three"), 0);
  version_query::NoteDevice(248, 38);
  EXPECT_EQ(shell.PostTextToView("four"), 0);
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 4u);
  const std::pair<int, std::string> expected[] = {
      {2, "one"}, {4, "two"}, {4, "three"}, {5, "four"}};
  for (std::size_t i = 0; i < messages.size(); ++i) {
    EXPECT_EQ(messages[i].kind, expected[i].first);
    EXPECT_EQ(messages[i].bytes, expected[i].second);
  }
}

TEST_F(Frame, SendsANullPayloadForAnEmptyText) {
  EXPECT_EQ(at_.PostTextToView(""), 0);
  EXPECT_EQ(at_.PostTextToView(nullptr), 0);
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[0].isNull);
  EXPECT_TRUE(messages[1].isNull);
}

TEST_F(Frame, TakesThreeBytesMoreThanTheTextHasAndNothingForAnEmptyOne) {
  fake::RecordPool(true);
  at_.PostTextToView("abcd");
  at_.PostTextToView("");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls(),
            (std::vector<std::string>{"PoolMalloc(7)", "PoolFree()", "PoolFree(null)"}));
}

TEST_F(Frame, SendsNothingWithoutMemory) {
  pool::FailNth(1);
  EXPECT_EQ(at_.PostTextToView("text"), -1);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(Frame, WritesItsOwnNameIntoTheDebugLog) {
  KivHci hci;
  KivShell shell;
  kivtest::TraceEar traces;
  at_.PostTextToView("100%s \xd0\xb6");
  at_.PostTextToView("");
  hci.PostTextToView("x");
  shell.PostTextToView("y");
  EXPECT_EQ(traces.Lines(),
            (std::vector<std::wstring>{
                L"[KivAt::PostTextToView]text = 100%s \u0436", L"[KivAt::PostTextToView]text = ",
                L"[KivHci::PostTextToView]text = x", L"[KivShell::PostTextToView]text = y"}));
}

TEST_F(Frame, ReleasesATextThatNobodyReceives) {
  SvcKivSpace::SvcKivMessage deaf;
  SvcKivClass::SetViewSender(&deaf);
  EXPECT_EQ(at_.PostTextToView("text"), 0);
  SvcKivClass::SetViewSender(nullptr);
  EXPECT_EQ(at_.PostTextToView("text"), 0);
  EXPECT_EQ(pool::LiveBlocks(), 0u);
}

TEST_F(Frame, LeavesTheTextToItsReceiverUntilThatReleasesIt) {
  SvcKivSpace::SvcKivMessage sender;
  void* kept = nullptr;
  QObject::connect(&sender, &SvcKivSpace::SvcKivMessage::SvcHandleMessage,
                   [&](SvcKivSpace::SvcKivMsgType, void* payload) { kept = payload; });
  SvcKivClass::SetViewSender(&sender);
  at_.PostTextToView("still here");
  EXPECT_EQ(pool::LiveBlocks(), 1u);
  EXPECT_STREQ(static_cast<const char*>(kept), "still here");
  PoolFree(kept);
}

TEST_F(Frame, AppendsToTheOutputFileAsUtf8) {
  at_.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(at_.SaveToOutputFile(L"one %ls \u0436"), 0);
  EXPECT_EQ(at_.SaveLineToOutputFile(L"two"), 0);
  EXPECT_EQ(at_.SaveToOutputFile(L""), 0);
  EXPECT_EQ(FileText("out.txt"), "one %ls \xd0\xb6two\n");
}

TEST_F(Frame, EmptiesTheOutputFileForANullText) {
  Write("out.txt", "old");
  at_.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(at_.SaveToOutputFile(nullptr), 0);
  EXPECT_EQ(FileText("out.txt"), "");
  EXPECT_TRUE(std::filesystem::exists(Path("out.txt")));
}

TEST_F(Frame, Answers53WhereTheOutputFileCannotBeUsed) {
  EXPECT_EQ(at_.SaveToOutputFile(L"text"), 53);
  EXPECT_EQ(at_.SaveToOutputFile(nullptr), 53);
  EXPECT_EQ(at_.SaveLineToOutputFile(L"text"), 0);
  at_.SetOutputFile(WidePath("missing/out.txt"));
  EXPECT_EQ(at_.SaveToOutputFile(L"text"), 53);
  EXPECT_EQ(at_.SaveToOutputFile(nullptr), 53);
  EXPECT_EQ(at_.SaveLineToOutputFile(L"text"), 0);
}

TEST_F(Frame, BeginsWithoutFilesAndWithoutFilter) {
  EXPECT_EQ(at_.GetConfigPath(), L"");
  EXPECT_EQ(at_.GetOutputFile(), L"");
  EXPECT_EQ(at_.GetFilter(), 0u);
}

TEST_F(Frame, ReadsAnIniValueAndKeepsTheOldOneWhenThereIsNone) {
  Write("own.ini", "; kept\n[Config]\nPath = \"D:\\cts\"\n");
  QCString value(L"before");
  TextChannel::ReadIniString(WidePath("own.ini").c_str(), L"config", L"title", value);
  EXPECT_EQ(value, L"before");
  TextChannel::ReadIniString(WidePath("own.ini").c_str(), L"config", L"path", value);
  EXPECT_EQ(value, L"D:\\cts");
  TextChannel::ReadIniString(WidePath("none.ini").c_str(), L"config", L"path", value);
  EXPECT_EQ(value, L"D:\\cts");
}

TEST_F(Frame, ReadsAtMost1023CharactersOfAnIniValue) {
  Write("own.ini",
        "[config]\nfits=" + std::string(1023, 'a') + "\nlong=" + std::string(1024, 'b') + "\n");
  QCString value;
  TextChannel::ReadIniString(WidePath("own.ini").c_str(), L"config", L"fits", value);
  EXPECT_EQ(value.str(), std::wstring(1023, L'a'));
  TextChannel::ReadIniString(WidePath("own.ini").c_str(), L"config", L"long", value);
  EXPECT_EQ(value.str(), std::wstring(1023, L'b'));
}

TEST_F(Frame, WritesAnIniValueIntoAProtectedFileAndKeepsWhatElseIsThere) {
  Write("own.ini", "; a comment\n[other]\npath=1\n[config]\nmine=2\n");
  std::filesystem::permissions(Path("own.ini"), std::filesystem::perms::owner_read);
  EXPECT_TRUE(
      TextChannel::WriteIniString(WidePath("own.ini").c_str(), L"config", L"path", L"D:\\cts"));
  EXPECT_EQ(FileText("own.ini"), "; a comment\n[other]\npath=1\n[config]\nmine=2\npath=D:\\cts\n");
}

TEST_F(Frame, HasNoServicesBeforeItIsInitialised) {
  at_.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(at_.HandleCommand(L"AT+CGMI", L""), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_EQ(FileText("out.txt"),
            "at+cgmiAT+CGMI*** Failed to execute AT Command. No UE is connected.\n\n");
  EXPECT_EQ(at_.ParsePstReq(L"AT", 0), 0);
  EXPECT_EQ(FileText("out.txt"),
            "at+cgmiAT+CGMI*** Failed to execute AT Command. No UE is connected.\n\n"
            "***error: failed to send: AT\n");
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(Frame, TakesTheTableAnewAtEachInit) {
  SvcKivClass::ChannelServiceTable table = kivtest::RecordingServices();
  EXPECT_EQ(at_.Init(table), 0);
  at_.HandleCommand(L"AT", L"");
  EXPECT_EQ(Posts().size(), 1u);
  EXPECT_EQ(at_.Init({}), 0);
  at_.HandleCommand(L"AT", L"");
  EXPECT_EQ(Posts().size(), 1u);
}

TEST_F(Frame, ClaimsEveryPacketWhileTheFilterIsOn) {
  KivHci hci;
  KivShell shell;
  TextChannel* const channels[] = {&at_, &hci, &shell};
  for (TextChannel* const channel : channels) {
    EXPECT_EQ(channel->HandleResponse(0x1234, nullptr, nullptr, 0), 50);
    channel->SetFilter(2);
    EXPECT_EQ(channel->HandleResponse(0x1234, nullptr, nullptr, 0), 0);
    channel->SetFilter(0);
    EXPECT_EQ(channel->HandleResponse(0x1234, nullptr, nullptr, 0), 50);
  }
  EXPECT_TRUE(Messages().empty());
}

TEST_F(Frame, HasOneObjectAChannelBehindItsEntries) {
  const SvcKivClass::ChannelEntries entries = SvcKivClass::EntriesOf<KivAt>();
  EXPECT_EQ(&SvcKivClass::TheChannel<KivAt>(), &SvcKivClass::TheChannel<KivAt>());
  EXPECT_EQ(entries.init(kivtest::RecordingServices()), 0);
  EXPECT_EQ(entries.command(L"AT", L""), 0);
  EXPECT_EQ(entries.command(L"nix", nullptr), 50);
  EXPECT_EQ(entries.response(0xA011, nullptr, nullptr, 0), 0);
  EXPECT_EQ(Posts().size(), 1u);
  entries.init({});
}

}  // namespace
