// What every text channel does alike, one statement a test: the table, the output file, the way to
// the view, the delay option and the ini file. Run over each of the four channels where that makes
// a difference.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "channels/channel_text.h"
#include "channels/kiv_at.h"
#include "channels/kiv_hci.h"
#include "channels/kiv_shell.h"
#include "cts/kiv_cts.h"
#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::ServicePost;
using SvcKivClass::ChannelServiceTable;
using SvcKivClass::TextChannel;

// One channel that shows 8-bit texts, under a device of this variant and product.
struct ViewRow {
  const char* name;
  std::unique_ptr<TextChannel> (*make)();
  std::int64_t variant;
  std::int64_t product;
  int kind;
};

template <typename Channel>
std::unique_ptr<TextChannel> Make() {
  return std::make_unique<Channel>();
}

const std::vector<ViewRow> kViewRows = {
    {"KivAt", &Make<SvcKivClass::KivAt>, 0, 0, 2},
    {"KivAt", &Make<SvcKivClass::KivAt>, 249, 38, 2},
    {"KivHci", &Make<SvcKivClass::KivHci>, 246, 0, 4},
    {"KivHci", &Make<SvcKivClass::KivHci>, 248, 38, 4},
    {"KivShell", &Make<SvcKivClass::KivShell>, 248, 0, 4},
    {"KivShell", &Make<SvcKivClass::KivShell>, 246, 37, 4},
    {"KivShell", &Make<SvcKivClass::KivShell>, 249, 39, 4},
    {"KivShell", &Make<SvcKivClass::KivShell>, 248, 38, 5},
    {"KivShell", &Make<SvcKivClass::KivShell>, 249, 38, 5},
};

class FrameOfAChannel : public kivtest::ChannelBench {
 protected:
  static void Device(std::int64_t variant, std::int64_t product) {
    version_query::NoteDevice(variant, product);
  }
};

TEST_F(FrameOfAChannel, ShowsATextUnderItsKindAndTracesItUnderItsName) {
  for (const ViewRow& row : kViewRows) {
    SCOPED_TRACE(std::string(row.name) + " " + std::to_string(row.variant) + " " +
                 std::to_string(row.product));
    Device(row.variant, row.product);
    const std::unique_ptr<TextChannel> channel = row.make();
    const std::size_t before = Messages().size();
    kivtest::TraceEar traces;
    EXPECT_EQ(channel->PostTextToView("one\r\ntwo %s"), 0);
    EXPECT_EQ(channel->PostTextToView(""), 0);
    const std::vector<kivtest::Message> shown = Messages();
    ASSERT_EQ(shown.size(), before + 2);
    EXPECT_EQ(shown[before].kind, row.kind);
    EXPECT_EQ(shown[before].bytes, "one\r\ntwo %s");
    EXPECT_EQ(shown[before + 1].kind, row.kind);
    EXPECT_TRUE(shown[before + 1].isNull);
    const std::wstring head = L"[" +
                              std::wstring(row.name, row.name + std::string(row.name).size()) +
                              L"::PostTextToView]text = ";
    EXPECT_EQ(traces.Lines(), (std::vector<std::wstring>{head + L"one\r\ntwo %s", head}));
  }
}

TEST_F(FrameOfAChannel, HandsOutACopyWithThreeZeroBytesBehindTheText) {
  for (const ViewRow& row : kViewRows) {
    Device(row.variant, row.product);
    SvcKivSpace::SvcKivMessage sender;
    char* payload = nullptr;
    QObject::connect(
        &sender, &SvcKivSpace::SvcKivMessage::SvcHandleMessage, &sender,
        [&](SvcKivSpace::SvcKivMsgType, void* text) { payload = static_cast<char*>(text); });
    SvcKivClass::SetViewSender(&sender);
    fake::ResetSeam();
    fake::RecordPool(true);
    EXPECT_EQ(row.make()->PostTextToView("abcd"), 0);
    fake::RecordPool(false);
    SvcKivClass::SetViewSender(&sender_);
    EXPECT_EQ(fake::Calls(), std::vector<std::string>{"PoolMalloc(7)"}) << row.name;
    ASSERT_NE(payload, nullptr);
    EXPECT_EQ(std::string(payload, 7), std::string("abcd\0\0\0", 7));
    PoolFree(payload);
  }
}

TEST_F(FrameOfAChannel, ShowsNothingWhenThePoolIsEmptyAndSaysSo) {
  for (const ViewRow& row : kViewRows) {
    Device(row.variant, row.product);
    const std::unique_ptr<TextChannel> channel = row.make();
    pool::FailNth(1);
    EXPECT_EQ(channel->PostTextToView("text"), -1) << row.name;
    EXPECT_TRUE(pool::Failed());
    pool::FailNth(1);
    EXPECT_EQ(channel->PostTextToView(""), 0) << "an empty text takes nothing";
    EXPECT_FALSE(pool::Failed());
    pool::FailNth(0);
  }
  for (const kivtest::Message& message : Messages()) EXPECT_TRUE(message.isNull);
}

TEST_F(FrameOfAChannel, ReleasesATextThatNobodyIsThereFor) {
  SvcKivSpace::SvcKivMessage deaf;
  SvcKivClass::SetViewSender(&deaf);
  for (const ViewRow& row : kViewRows) {
    Device(row.variant, row.product);
    EXPECT_EQ(row.make()->PostTextToView("text"), 0) << row.name;
    EXPECT_EQ(pool::LiveBlocks(), 0u) << row.name;
  }
  SvcKivClass::SetViewSender(nullptr);
  for (const ViewRow& row : kViewRows) EXPECT_EQ(row.make()->PostTextToView("text"), 0);
  EXPECT_EQ(pool::LiveBlocks(), 0u);
}

TEST_F(FrameOfAChannel, KeepsItsOwnCopyOfTheTable) {
  Device(246, 0);
  ChannelServiceTable table = kivtest::RecordingServices();
  SvcKivClass::KivAt at;
  SvcKivClass::KivHci hci;
  SvcKivClass::KivShell shell;
  SvcKivClass::KivCts cts;
  for (TextChannel* channel :
       {static_cast<TextChannel*>(&at), static_cast<TextChannel*>(&hci),
        static_cast<TextChannel*>(&shell), static_cast<TextChannel*>(&cts)}) {
    EXPECT_EQ(channel->Init(table), 0);
  }
  table = {};
  EXPECT_EQ(at.HandleCommand(L"at", L""), 0);
  EXPECT_EQ(hci.HandleCommand(L"h", L""), 0);
  EXPECT_EQ(shell.HandleCommand(L"sh", L"s"), 0);
  EXPECT_EQ(Posts(), (std::vector<ServicePost>{
                         {1, 0x500D, kivtest::RequestPacket("at\r\n"), 0, 0},
                         {2, 0x7E0C, {0x10, 0, 10, 0, 0, 0, 'h'}},
                         {1, 0x500E, kivtest::RequestPacket("s"), 0, 0},
                     }));
}

TEST_F(FrameOfAChannel, IsAskedAboutNothingButTheEntriesItUses) {
  // The channels use entries 0, 1, 2 and 4: nothing happens to what stands in the others.
  Device(246, 38);
  ChannelServiceTable table = kivtest::RecordingServices();
  int anything = 0;
  table.empty3 = table.controller = table.application = &anything;
  for (void*& entry : table.empty) entry = &anything;
  SvcKivClass::KivShell shell;
  SvcKivClass::KivHci hci;
  shell.Init(table);
  hci.Init(table);
  EXPECT_EQ(shell.HandleCommand(L"x", L""), 0);
  EXPECT_EQ(hci.HandleCommand(L"x", L""), 0);
  EXPECT_EQ(anything, 0);
  EXPECT_EQ(Posts().size(), 2u);
}

TEST_F(FrameOfAChannel, BeginsWithNothing) {
  for (const ViewRow& row : kViewRows) {
    const std::unique_ptr<TextChannel> channel = row.make();
    EXPECT_TRUE(channel->GetConfigPath().IsEmpty());
    EXPECT_TRUE(channel->GetOutputFile().IsEmpty());
    EXPECT_EQ(channel->GetFilter(), 0u);
  }
}

TEST_F(FrameOfAChannel, ClaimsForeignPacketsOnlyWhileItsFilterIsSet) {
  Device(248, 0);
  SvcKivClass::KivAt at;
  SvcKivClass::KivHci hci;
  SvcKivClass::KivShell shell;
  SvcKivClass::KivCts cts;
  const std::uint8_t body[] = {'x'};
  for (TextChannel* channel :
       {static_cast<TextChannel*>(&at), static_cast<TextChannel*>(&hci),
        static_cast<TextChannel*>(&shell), static_cast<TextChannel*>(&cts)}) {
    for (const std::uint32_t id : {0u, 1u, 0x500Bu, 0x7000u, 0xFFFFFFFFu}) {
      channel->SetFilter(0);
      EXPECT_EQ(channel->HandleResponse(id, nullptr, body, 1), 50) << std::hex << id;
      for (const std::uint32_t flag : {1u, 2u, 0x80000000u}) {
        channel->SetFilter(flag);
        EXPECT_EQ(channel->HandleResponse(id, nullptr, body, 1), 0) << std::hex << id;
      }
    }
  }
  EXPECT_TRUE(Messages().empty());
}

TEST_F(FrameOfAChannel, ShowsAnAnswerOnTheThreadThatBroughtIt) {
  Device(248, 0);
  SvcKivClass::KivAt at;
  const std::uint8_t body[] = {'O', 'K'};
  std::thread::id link;
  std::thread thread([&] {
    link = std::this_thread::get_id();
    EXPECT_EQ(at.HandleResponse(0xA011, &link, body, 2), 0);
  });
  thread.join();
  ASSERT_EQ(Messages().size(), 1u);
  EXPECT_EQ(Messages()[0].thread, link);
}

// --- the output file

TEST_F(FrameOfAChannel, AppendsToItsOutputFileAndAnswers53WithoutOne) {
  SvcKivClass::KivAt at;
  EXPECT_EQ(at.SaveToOutputFile(L"lost"), 53);
  EXPECT_EQ(at.SaveToOutputFile(nullptr), 53);
  EXPECT_EQ(at.SaveLineToOutputFile(L"lost"), 0) << "a line's answer is always 0";
  at.SetOutputFile(WidePath("out.txt"));
  Write("out.txt", "before\n");
  EXPECT_EQ(at.SaveToOutputFile(L"100% %ls %n"), 0);
  EXPECT_EQ(at.SaveLineToOutputFile(L"line"), 0);
  EXPECT_EQ(at.SaveToOutputFile(L""), 0);
  EXPECT_EQ(at.SaveToOutputFile(L"\u00FC\u20AC"), 0);
  EXPECT_EQ(FileText("out.txt"), "before\n100% %ls %nline\n\xC3\xBC\xE2\x82\xAC");
  EXPECT_EQ(at.SaveToOutputFile(nullptr), 0);
  EXPECT_EQ(FileText("out.txt"), "");
  at.SetOutputFile(WidePath("no/such/folder.txt"));
  EXPECT_EQ(at.SaveToOutputFile(L"lost"), 53);
  EXPECT_EQ(at.SaveToOutputFile(nullptr), 53);
  EXPECT_EQ(at.SaveLineToOutputFile(L"lost"), 0);
}

// --- the delay option

TEST(DelayOfALine, IsThePieceBetweenTheFirstTwoSeparators) {
  const struct {
    const wchar_t* text;
    std::uint32_t delay;
  } rows[] = {
      {L"", 0},
      {L"-d", 0},
      {L"-d ", 0},
      {L"-d5", 0},
      {L"- d 5", 0},
      {L"-d 5", 5},
      {L"ls -d 5", 5},
      {L"ls-d 5", 5},
      {L"--d 5", 5},
      {L"-d 007", 7},
      {L"-d   12   ", 12},
      {L"-d 5-d 6", 5},
      {L"-d 200 -d 300", 200},
      {L"-d -d 7", 0},
      {L"x -d y -d 7", 0},
      {L"-d 12 34", 0},
      {L"-d 12,", 0},
      {L"-d 1.5", 0},
      {L"-d 1e2", 0},
      {L"-d 0", 0},
      {L"-d -5", 0},
      {L"-d 0x10", 0},
      {L"-d 4294967295", 4294967295u},
      {L"-d 4294967296", 0},
      {L"-d 99999999999999999999999", 0},
      {L"-d \u0665", 0},
      {L"-D 5", 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SvcKivClass::GetDelayOption(row.text), row.delay) << QCString(row.text).ToUtf8();
  }
}

TEST(DelayOfALine, IsCutAtTheFirstBlankDashDBlankOnly) {
  const struct {
    const wchar_t* text;
    const wchar_t* cut;
  } rows[] = {
      {L"ls -d 5", L"ls"},    {L"ls  -d 5", L"ls "}, {L"ls-d 5", L"ls-d 5"},
      {L"-d 5", L"-d 5"},     {L" -d 5", L""},       {L"a-d 5 b -d 6", L"a-d 5 b"},
      {L"a -d 5 -d 6", L"a"}, {L"a -d5", L"a -d5"},  {L"\u00FF\u0100\u20AC -d 5", L"\u00FF??"},
      {L"\u0100", L"?"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SvcKivClass::CutAtDelay(row.text), row.cut) << QCString(row.text).ToUtf8();
  }
}

TEST(SplitOfALine, LeavesTheTextBeforeAndTheRestWithoutWhiteSpaceInFront) {
  const struct {
    const wchar_t* text;
    wchar_t at;
    const wchar_t* left;
    const wchar_t* right;
  } rows[] = {
      {L"name 0", L' ', L"name", L"0"},
      {L"name   0 1 ", L' ', L"name", L"0 1 "},
      {L"name", L' ', L"name", L""},
      {L"name ", L' ', L"name", L""},
      {L" name", L' ', L"", L"name"},
      {L"", L' ', L"", L""},
      {L"a \t\u00A0\u2003\n0", L' ', L"a", L"0"},
      {L"a\tb 0", L' ', L"a\tb", L"0"},
      {L"k=v=w", L'=', L"k", L"=v=w"},
      {L"k = v", L'=', L"k ", L"= v"},
  };
  for (const auto& row : rows) {
    QCString left(L"old");
    QCString right(L"old");
    SvcKivClass::SplitAtChar(row.text, left, right, row.at);
    EXPECT_EQ(left, row.left) << QCString(row.text).ToUtf8();
    EXPECT_EQ(right, row.right) << QCString(row.text).ToUtf8();
  }
}

// --- the ini file

TEST_F(FrameOfAChannel, ReadsAnIniValueWhateverTheCaseOfItsNames) {
  const std::wstring file = WidePath("a.ini").str();
  const auto read = [&](const wchar_t* section, const wchar_t* key) {
    QCString value(L"old");
    TextChannel::ReadIniString(file.c_str(), section, key, value);
    return value.str();
  };
  EXPECT_EQ(read(L"config", L"path"), L"old") << "no file";
  Write("a.ini",
        "path=outside\n; [config]\n[Other]\npath=other\n[CONFIG]\nPATH =  one two  \n"
        "path=second\nquoted=\"  q  \"\nempty=\n[config]\nlate=x\n");
  EXPECT_EQ(read(L"config", L"path"), L"one two");
  EXPECT_EQ(read(L"Config", L"Quoted"), L"  q  ");
  EXPECT_EQ(read(L"config", L"empty"), L"");
  EXPECT_EQ(read(L"config", L"none"), L"old");
  EXPECT_EQ(read(L"none", L"path"), L"old");
  EXPECT_EQ(read(L"other", L"path"), L"other");
}

TEST_F(FrameOfAChannel, CutsAnIniValueAt1023Characters) {
  for (const std::size_t length : {1022u, 1023u, 1024u, 5000u}) {
    std::wstring value(length, L'\u00FC');
    const std::wstring file = WidePath("b.ini").str();
    EXPECT_TRUE(TextChannel::WriteIniString(file.c_str(), L"config", L"title", value.c_str()));
    QCString read;
    TextChannel::ReadIniString(file.c_str(), L"config", L"title", read);
    value.resize(std::min<std::size_t>(length, 1023));
    EXPECT_EQ(read.str(), value) << length;
  }
}

TEST_F(FrameOfAChannel, WritesAnIniValueThroughAWriteProtectionAndLeavesTheRest) {
  const std::wstring file = WidePath("c.ini").str();
  const std::string kept = "; mine\n\n[other]\nkey = 1\n[Config]\nforeign=2\n";
  Write("c.ini", kept);
  ASSERT_EQ(chmod(Path("c.ini").c_str(), 0444), 0);
  EXPECT_TRUE(TextChannel::WriteIniString(file.c_str(), L"config", L"path", L"/a b"));
  QCString value;
  TextChannel::ReadIniString(file.c_str(), L"config", L"path", value);
  EXPECT_EQ(value, L"/a b");
  const std::string text = FileText("c.ini");
  for (const char* part : {"; mine\n", "[other]\nkey = 1\n", "[Config]\n", "foreign=2\n"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part;
  }
  struct stat after {};
  ASSERT_EQ(stat(Path("c.ini").c_str(), &after), 0);
  EXPECT_NE(after.st_mode & S_IWUSR, 0u) << "no longer protected";
}

}  // namespace
