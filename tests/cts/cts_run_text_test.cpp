// "cts" and "ctsftl", and what the device sends for them, statement by statement: whole texts,
// whole packets, and the order of the checks.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/cts/cts_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::kLogHead;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

constexpr char kUsage[] =
    "usage         : cts <config name> <index>\n"
    "example       : cts cts_DW_MDM_NM_GetAddr 0 #tfunction entry: cts_DW_MDM_NM_GetAddr_0; "
    "config file: cts_DW_MDM_NM_GetAddr.pcfgn\n";

// Name in 64 bytes, 8 zeros, the length of the parameters, the parameters.
ServicePost Packet(std::string name, const std::string& parameters, std::uint32_t delay = 0) {
  name.resize(72, '\0');
  for (int shift = 0; shift < 32; shift += 8) {
    name += static_cast<char>(parameters.size() >> shift & 0xFF);
  }
  return {1, 0x500C, kivtest::BytesOf(name + parameters), 0, delay};
}

class TestRun : public kivtest::CtsBench {
 protected:
  TestRun() { Configure(); }

  void Add(const std::string& name, const std::string& index, const std::string& parameters) {
    Write("cases/" + name + ".pcfg", "not looked at");
    Write("cases/pbin/" + name + ".pcfg.rt." + index, parameters);
  }
  std::string ConfigFile(const std::string& name) const {
    return CasesUtf8() + "\\" + name + ".pcfg";
  }
  std::string Compiled(const std::string& name, const std::string& index) const {
    return CasesUtf8() + "\\pbin\\" + name + ".pcfg.rt." + index;
  }
  std::string Sent(const std::string& name, std::size_t bytes) const {
    return "send to UE... \ntest entry name       : " + name +
           "\ntest parameter length : " + std::to_string(bytes) +
           "B\nconfig file           : " + ConfigFile(name) + "\n";
  }
  std::vector<std::string> News() {
    std::vector<std::string> news;
    const std::vector<kivtest::Message> all = Messages();
    for (; seen_ < all.size(); ++seen_) {
      EXPECT_EQ(all[seen_].kind, 3);
      news.push_back(all[seen_].isNull ? "<null>" : QCString(all[seen_].text.c_str()).ToUtf8());
    }
    return news;
  }
  using Told = std::vector<std::string>;

 private:
  std::size_t seen_ = 0;
};

TEST_F(TestRun, SendsOnePacketAndSaysWhat) {
  const std::string parameters(100, '\xA5');
  Add("cts_DW_MDM_NM_GetAddr", "0", parameters);
  EXPECT_EQ(Run(L"cts", L"cts_DW_MDM_NM_GetAddr 0"), 0);
  EXPECT_EQ(Posts(), PostList{Packet("cts_DW_MDM_NM_GetAddr", parameters)});
  EXPECT_EQ(Posts()[0].bytes.size(), 176u);
  const std::string sent = Sent("cts_DW_MDM_NM_GetAddr", 176);
  EXPECT_EQ(News(), Told{sent});
  EXPECT_EQ(Log(), std::string(kLogHead) + "cts cts_DW_MDM_NM_GetAddr 0 \n" + sent + sent);
  EXPECT_EQ(Pauses(), 0u) << "a test packet is not followed by a pause";
}

TEST_F(TestRun, SendsUnderTheSameIdWhateverVariantAndProduct) {
  Add("n", "0", "p");
  for (const std::int64_t variant : {0, 246, 248, 249}) {
    for (const std::int64_t product : {0, 38}) {
      version_query::NoteDevice(variant, product);
      Services().posts.clear();
      EXPECT_EQ(Run(L"CTS", L"n 0"), 0);
      EXPECT_EQ(Posts(), PostList{Packet("n", "p")});
      News();
      EXPECT_EQ(Answer(0x500C, ""), 0);
      EXPECT_EQ(Answer(0xA010, "t"), 0);
      EXPECT_EQ(News(), (Told{"\nSent to UE successfully\n", "t\n"}));
    }
  }
}

TEST_F(TestRun, TakesNameAndIndexAsTyped) {
  const struct {
    const wchar_t* rest;
    const char* name;
    const char* index;
    std::uint32_t delay;
  } rows[] = {
      {L"n 0", "n", "0", 0},
      {L"  n   12  ", "n", "12", 0},
      {L"n abc", "n", "abc", 0},
      {L"n 0 1", "n", "0 1", 0},
      {L"N -1", "N", "-1", 0},
      {L"n 0 -d 300", "n", "0", 300},
      {L"n 0  -d 300", "n", "0", 300},
      {L"n 0 -d 0", "n", "0 -d 0", 0},
      {L"n 0-d 7", "n", "0-d 7", 7},
      {L"%2%1 %3", "%2%1", "%3", 0},
      {L"\u00FC\u20AC 0", "\xC3\xBC\xE2\x82\xAC", "0", 0},
  };
  for (const auto& row : rows) {
    Add(row.name, row.index, row.index);
    Services().posts.clear();
    News();
    EXPECT_EQ(Run(L"cts", row.rest), 0);
    EXPECT_EQ(Posts(), PostList{Packet(row.name, row.index, row.delay)});
    EXPECT_EQ(News(), Told{Sent(row.name, 76 + std::string(row.index).size())});
  }
}

TEST_F(TestRun, CutsTheNameInThePacketAt63Bytes) {
  const std::string name(70, 'n');
  Add(name, "0", "");
  EXPECT_EQ(Run(L"cts", QCString::FromUtf8(name + " 0").str()), 0);
  EXPECT_EQ(Posts(), PostList{Packet(std::string(63, 'n'), "")});
  EXPECT_EQ(Posts()[0].bytes.size(), 76u) << "an empty file has parameters of length 0";
  EXPECT_EQ(Posts()[0].bytes[63], 0);
  EXPECT_EQ(News(), Told{Sent(name, 76)}) << "whole in the text";
  for (const std::size_t length : {62u, 63u, 64u}) {
    const std::string other(length, 'm');
    Add(other, "0", "x");
    Services().posts.clear();
    Run(L"cts", QCString::FromUtf8(other + " 0").str());
    EXPECT_EQ(Posts(), PostList{Packet(other.substr(0, 63), "x")});
  }
}

TEST_F(TestRun, SendsEveryByteOfALargeFile) {
  std::string parameters;
  for (int i = 0; i < 300000; ++i) parameters += static_cast<char>(i * 7 + i / 256);
  Add("big", "0", parameters);
  EXPECT_EQ(Run(L"cts", L"big 0"), 0);
  EXPECT_EQ(Posts(), PostList{Packet("big", parameters)});
  EXPECT_EQ(News(), Told{Sent("big", 300076)});
}

TEST_F(TestRun, TellsTheFirstThingThatIsMissing) {
  const std::string noInput = std::string("***error: no input parameter.\n") + kUsage;
  const std::string noIndex = std::string("***error: no input index parameter.\n") + kUsage;
  const std::string noDevice = "*** Failed to execute cts command. No UE is connected.\n";
  const std::string noPath =
      "***error: failed to find config path. Use ctscfg <path> to set cts config path.\n";
  // Everything is missing at first; each step supplies what the message named.
  SvcKivClass::KivCts fresh;
  fresh.Init(kivtest::RecordingServices());
  const auto run = [&](const wchar_t* rest) {
    EXPECT_EQ(fresh.HandleCommand(L"cts", rest), 0);
    EXPECT_EQ(Posts(), PostList{});
    return News();
  };
  Services().connected = 0;
  EXPECT_EQ(run(L""), Told{noInput});
  EXPECT_EQ(run(L"   "), Told{noInput});
  EXPECT_EQ(run(nullptr), Told{noInput});
  EXPECT_EQ(run(L" -d 5"), Told{noInput});
  EXPECT_EQ(run(L"n"), Told{noDevice});
  Services().connected = 1;
  EXPECT_EQ(run(L"n"), Told{noPath});
  fresh.SetConfigPath(Cases().c_str(), L"");
  EXPECT_EQ(run(L"n"), Told{noIndex});
  EXPECT_EQ(run(L"n  "), Told{noIndex});
  EXPECT_EQ(run(L"n 0"),
            Told{"***error: failed to find parameter config file: " + ConfigFile("n") + "\n"});
  Write("cases/n.pcfg", "");
  EXPECT_EQ(run(L"n 0"),
            Told{"***error: failed to run parameter config file. Compile it by Kestrax. config "
                 "file: " +
                 ConfigFile("n") + ", rts file:" + Compiled("n", "0") + "\n"});
  std::filesystem::create_directory(Path("cases/pbin/n.pcfg.rt.0"));
  EXPECT_EQ(run(L"n 0"), Told{"***error: failed to read file: " + Compiled("n", "0") + "\n"});
  std::filesystem::remove_all(Path("cases"));
  EXPECT_EQ(run(L"n 0"), Told{noPath}) << "asked of the disk each time";
}

TEST_F(TestRun, CountsAMissingConnectionEntryAsNoDevice) {
  auto table = kivtest::RecordingServices();
  table.isUeConnected = nullptr;
  cts_.Init(table);
  EXPECT_EQ(Run(L"cts", L"n 0"), 0);
  EXPECT_EQ(News(), Told{"*** Failed to execute cts command. No UE is connected.\n"});
}

TEST_F(TestRun, TellsOfARefusedOrImpossiblePostAsOfAFileThatCannotBeRead) {
  Add("n%1", "0", "p");
  const Told readFailed{"***error: failed to read file: " + Compiled("n%1", "0") + "\n"};
  Services().refused = {0};
  EXPECT_EQ(Run(L"cts", L"n%1 0"), 0);
  EXPECT_EQ(News(), readFailed);
  EXPECT_EQ(Posts().size(), 1u);
  auto table = kivtest::RecordingServices();
  table.postDiagData = nullptr;
  cts_.Init(table);
  EXPECT_EQ(Run(L"cts", L"n%1 0"), 0);
  EXPECT_EQ(News(), readFailed);
}

TEST_F(TestRun, TellsThatThereIsNoMemoryForThePacket) {
  Add("n", "0", "p");
  pool::FailNth(1);
  EXPECT_EQ(Run(L"cts", L"n 0"), 0);
  pool::FailNth(0);
  EXPECT_EQ(News(), Told{"***error: no more memory\n"});
  EXPECT_EQ(Posts(), PostList{});
  fake::ResetSeam();
  fake::RecordPool(true);
  Run(L"cts", L"n 0");
  fake::RecordPool(false);
  EXPECT_EQ(fake::Calls().at(0), "PoolMalloc(77)");
}

TEST_F(TestRun, AnswersZeroAndKeepsNothingAtEveryAllocationThatFails) {
  Add("n", "0", "p");
  for (std::uint64_t n = 1;; ++n) {
    Services().posts.clear();
    pool::FailNth(n);
    EXPECT_EQ(Run(L"cts", L"n 0"), 0) << n;
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(pool::LiveBlocks(), 0u) << n;
    const Told news = News();
    ASSERT_EQ(news.size(), 1u) << n << ": one answer, whatever failed";
    if (!failed) {
      EXPECT_EQ(news, Told{Sent("n", 77)});
      EXPECT_GT(n, 2u);
      break;
    }
    // Without an answer's own memory the packet may be on its way; never half of one.
    if (Posts().empty()) {
      EXPECT_EQ(news[0].rfind("***error", 0), 0u) << news[0];
    } else {
      EXPECT_EQ(Posts(), PostList{Packet("n", "p")});
    }
  }
}

// --- ctsftl

TEST_F(TestRun, FilterIsOffForTheOneCharacterZeroAndOnForEverythingElse) {
  const char on[] = "Filter out other messages.\n";
  const char off[] = "Do not filter out other messages.\n";
  const struct {
    const wchar_t* rest;
    std::uint32_t flag;
  } rows[] = {
      {L"", 0},       {L"1", 1},     {L"", 1},   {L"0", 0},    {L"on", 1}, {L"0", 0},
      {L"off", 1},    {L"0", 0},     {L"00", 1}, {L"0", 0},    {L" 0", 1}, {L"0 -d 5", 0},
      {L"0 -d 0", 1}, {L" -d 5", 1}, {L"0", 0},  {L"-d 5", 1}, {L"0", 0},
  };
  EXPECT_EQ(cts_.GetFilter(), 0u);
  for (const auto& row : rows) {
    EXPECT_EQ(Run(L"ctsFTL", row.rest), 0);
    EXPECT_EQ(cts_.GetFilter(), row.flag) << QCString(row.rest).ToUtf8();
    EXPECT_EQ(News(), Told{row.flag != 0 ? on : off});
  }
  EXPECT_EQ(Posts(), PostList{});
}

TEST_F(TestRun, FilterNeedsNeitherDeviceNorConfiguration) {
  SvcKivClass::KivCts fresh;
  EXPECT_EQ(fresh.HandleCommand(L"ctsftl", L"1"), 0);
  EXPECT_EQ(News(), Told{"Filter out other messages.\n"});
  EXPECT_EQ(fresh.GetFilter(), 1u);
}

TEST_F(TestRun, OtherWordsAreNotTaken) {
  for (const wchar_t* word : {L"", L"ct", L"ctss", L"ctscfg1", L"ctsftl0", L" cts", L"at", L"sh"}) {
    EXPECT_EQ(Run(word, L"n 0"), 50) << QCString(word).ToUtf8();
  }
  EXPECT_EQ(News(), Told{});
  EXPECT_EQ(Posts(), PostList{});
}

// --- what the device sends

TEST_F(TestRun, ShowsTheDevicesTextsAsWideTextsWithALineFeed) {
  const struct {
    std::string bytes;
    const char* shown;
  } rows[] = {
      {"plain", "plain\n"},
      {"two\nlines\n", "two\nlines\n\n"},
      {"", "\n"},
      {std::string("cut\0tail", 8), "cut\n"},
      {"\xC3\xBC%1%ls", "\xC3\xBC%1%ls\n"},
      {"\xFF", "\xEF\xBF\xBD\n"},
  };
  std::string log = kLogHead;
  for (const auto& row : rows) {
    EXPECT_EQ(Answer(0xA010, row.bytes), 0);
    EXPECT_EQ(News(), Told{row.shown});
    log += row.shown;
  }
  EXPECT_EQ(Answer(0x500C, "whatever it holds"), 0);
  EXPECT_EQ(cts_.HandleResponse(0x500C, nullptr, nullptr, 7), 0);
  EXPECT_EQ(News(), (Told{"\nSent to UE successfully\n", "\nSent to UE successfully\n"}));
  EXPECT_EQ(Log(), log + "\nSent to UE successfully\n\nSent to UE successfully\n");
}

TEST_F(TestRun, ShowsNothingOfATextThatCannotBeCopied) {
  EXPECT_EQ(cts_.HandleResponse(0xA010, nullptr, nullptr, 4), 0);
  EXPECT_EQ(News(), Told{});
  EXPECT_EQ(Log(), kLogHead);
}

TEST_F(TestRun, FilterSwallowsEveryOtherPacket) {
  for (const std::uint32_t flag : {0u, 1u, 5u}) {
    cts_.SetFilter(flag);
    for (const std::uint32_t id : {0xA011u, 0x500Du, 0x4005u, 0x7E0Cu, 0x7000u, 0u}) {
      EXPECT_EQ(Answer(id, "x"), flag != 0 ? 0 : 50);
    }
    EXPECT_EQ(News(), Told{});
    EXPECT_EQ(Answer(0xA010, "mine"), 0);
    EXPECT_EQ(News(), Told{"mine\n"});
  }
}

}  // namespace
