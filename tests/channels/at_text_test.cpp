// AT lines, statement by statement: which are taken, what is sent and noted, and what is shown,
// under every variant and product.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "channels/kiv_at.h"
#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::RequestPacket;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

struct DeviceRow {
  std::int64_t variant;
  std::uint32_t request;
  std::uint32_t answer;
};
constexpr DeviceRow kDevices[] = {
    {0, 0x500D, 0xA011},   {245, 0x500D, 0xA011}, {246, 0x500D, 0xA011}, {247, 0x500D, 0xA011},
    {248, 0x500D, 0xA011}, {249, 0x705, 0x4005},  {250, 0x500D, 0xA011}, {65535, 0x500D, 0xA011},
};

class AtLine : public kivtest::ChannelBench {
 protected:
  AtLine() {
    Device(248);
    at_.Init(kivtest::RecordingServices());
    at_.SetOutputFile(WidePath("out.txt"));
  }
  static void Device(std::int64_t variant, std::int64_t product = 0) {
    version_query::NoteDevice(variant, product);
  }
  // Answer of one line; posts and output file hold this line's alone.
  std::int32_t Run(const std::wstring& word) {
    Services().posts.clear();
    at_.SaveToOutputFile(nullptr);
    return at_.HandleCommand(word.c_str(), L"");
  }
  std::string Out() const { return FileText("out.txt"); }

  SvcKivClass::KivAt at_;
};

TEST_F(AtLine, IsPostedUnderTheRequestIdOfTheVariantWhateverTheProduct) {
  for (const DeviceRow& device : kDevices) {
    for (const std::int64_t product : {0, 38}) {
      Device(device.variant, product);
      EXPECT_EQ(Run(L"AT+CGMI"), 0);
      EXPECT_EQ(Posts(), (PostList{{1, device.request, RequestPacket("AT+CGMI\r\n"), 0, 0}}))
          << device.variant;
    }
  }
  EXPECT_EQ(Posts()[0].bytes,
            (ByteList{9, 0, 0, 0, 'A', 'T', '+', 'C', 'G', 'M', 'I', '\r', '\n'}));
}

TEST_F(AtLine, IsWhatHasAtPlusOrAtCaretAnywhereOrIsAtAlone) {
  const struct {
    const wchar_t* word;
    const char* sent;  // null: declined
    std::uint32_t delay = 0;
  } rows[] = {
      {L"at", "at\r\n"},
      {L"AT", "AT\r\n"},
      {L"aT", "aT\r\n"},
      {L"At+x", "At+x\r\n"},
      {L"AT^RESET", "AT^RESET\r\n"},
      {L"show at+x", "show at+x\r\n"},
      {L"  AT+X  ", "AT+X\r\n"},
      {L"\tAT+X\t", "\tAT+X\t\r\n"},
      {L"format+x", "format+x\r\n"},
      {L"cat^", "cat^\r\n"},
      {L"at +x AT+", "at +x AT+\r\n"},
      {L"", nullptr},
      {L"a", nullptr},
      {L"ta", nullptr},
      {L"atx", nullptr},
      {L"at ", nullptr},
      {L" at", nullptr},
      {L"atd123;", nullptr},
      {L"at&f", nullptr},
      {L"at +x", nullptr},
      {L"sh ls", nullptr},
      {L"AT+CGMI -d 200", "at+cgmi\r\n", 200},
      {L"AT+X-d 5", "at+x-d 5\r\n", 5},
      {L"AT -d 5", "at\r\n", 5},
      {L"AT+X -D 5", "at+x\r\n", 5},
      {L"AT+X   -d 5", "at+x\r\n", 5},
      {L"AT+X -d 5 -d 6", "at+x\r\n", 5},
      {L"AT+A-d 5 B -d 6", "AT+A-d 5 B -d 6\r\n", 0},
      {L"AT+X -d 0", "AT+X -d 0\r\n", 0},
      {L"AT+X -d x", "AT+X -d x\r\n", 0},
      {L"AT+X -d 4294967296", "AT+X -d 4294967296\r\n", 0},
      {L"AT+X -d 4294967295", "at+x\r\n", 4294967295u},
      {L"AT+\u00DC\u20AC -d 5", "at+\xC3\xBC?\r\n", 5},
      {L"AT+\u00DC\u20AC", "AT+\xC3\x9C\xE2\x82\xAC\r\n", 0},
      {L"x -d 5 AT+y", "x -d 5 AT+y\r\n"},  // no number, so nothing is cut
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(QCString(row.word).ToUtf8());
    if (row.sent == nullptr) {
      EXPECT_EQ(Run(row.word), 50);
      EXPECT_EQ(Posts(), PostList{});
    } else {
      EXPECT_EQ(Run(row.word), 0);
      EXPECT_EQ(Posts(), (PostList{{1, 0x500D, RequestPacket(row.sent), 0, row.delay}}));
    }
  }
}

TEST_F(AtLine, IsDeclinedWhenOnlyItsCutPartHadTheMark) {
  EXPECT_EQ(Run(L"x -d 5 -d at+y"), 50) << "delay 5 leaves x alone";
  EXPECT_EQ(Out(), "xx");
  EXPECT_EQ(Posts(), PostList{});
}

TEST_F(AtLine, IsEchoedLowerCasedAndAsSentWhoeverTakesIt) {
  const struct {
    const wchar_t* word;
    const char* echo;
  } rows[] = {
      {L"AT+CGMI", "at+cgmiAT+CGMI"}, {L"AT+CGMI -d 200", "at+cgmiat+cgmi"},
      {L"Show ME", "show meShow ME"}, {L"", ""},
      {L" AT+X ", " at+x  AT+X "},
  };
  for (const auto& row : rows) {
    Run(row.word);
    EXPECT_EQ(Out(), row.echo);
  }
}

TEST_F(AtLine, WithoutADeviceIsTakenAndNotedWithBothLineEnds) {
  const std::string said = "*** Failed to execute AT Command. No UE is connected.\n\n";
  Services().connected = 0;
  EXPECT_EQ(Run(L"AT+X"), 0);
  EXPECT_EQ(Out(), "at+xAT+X" + said);
  EXPECT_EQ(Run(L"atx"), 50) << "not a line of its own";
  EXPECT_EQ(Out(), "atxatx");
  auto table = kivtest::RecordingServices();
  table.isUeConnected = nullptr;
  at_.Init(table);
  Services().connected = 1;
  EXPECT_EQ(Run(L"at"), 0);
  EXPECT_EQ(Out(), "atat" + said);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_EQ(Pauses(), 0u);
  EXPECT_TRUE(Messages().empty()) << "the view hears nothing of it";
}

TEST_F(AtLine, CountsAnyConnectedAnswerButZero) {
  for (const std::int32_t connected : {1, 2, -1}) {
    Services().connected = connected;
    EXPECT_EQ(Run(L"at"), 0);
    EXPECT_EQ(Posts().size(), 1u) << connected;
  }
}

TEST_F(AtLine, GoesOutInChunksOf400CharactersEachWithAPause) {
  const std::string thousand = "AT+" + std::string(997, 'x');
  EXPECT_EQ(Run(QCString::FromUtf8(thousand + " -d 7").str()), 0);
  const std::string sent = "at+" + std::string(997, 'x') + "\r\n";
  EXPECT_EQ(Posts(), (PostList{{1, 0x500D, RequestPacket(sent.substr(0, 400)), 0, 7},
                               {1, 0x500D, RequestPacket(sent.substr(400, 400)), 0, 7},
                               {1, 0x500D, RequestPacket(sent.substr(800)), 0, 7}}));
  EXPECT_EQ(Posts()[2].bytes.size(), 206u);
  EXPECT_EQ(Pauses(), 3u);
  // The line end may be cut in two.
  EXPECT_EQ(Run(L"AT+" + std::wstring(396, L'y')), 0);
  EXPECT_EQ(Posts(),
            (PostList{{1, 0x500D, RequestPacket("AT+" + std::string(396, 'y') + "\r"), 0, 0},
                      {1, 0x500D, RequestPacket("\n"), 0, 0}}));
}

TEST_F(AtLine, CountsBytesInTheHeadAndCharactersInTheChunk) {
  EXPECT_EQ(Run(L"AT+" + std::wstring(397, L'\u20AC')), 0);
  std::string euros;
  for (int i = 0; i < 397; ++i) euros += "\xE2\x82\xAC";
  EXPECT_EQ(Posts(), (PostList{{1, 0x500D, RequestPacket("AT+" + euros), 0, 0},
                               {1, 0x500D, RequestPacket("\r\n"), 0, 0}}));
  EXPECT_EQ(Posts()[0].bytes.size(), 4u + 3u + 3u * 397u);
}

TEST_F(AtLine, LooksTheIdUpForEveryChunk) {
  Services().onPost = [] { Device(249); };
  EXPECT_EQ(Run(L"AT+" + std::wstring(500, L'z')), 0);
  ASSERT_EQ(Posts().size(), 2u);
  EXPECT_EQ(Posts()[0].cmdId, 0x500Du);
  EXPECT_EQ(Posts()[1].cmdId, 0x705u);
}

TEST_F(AtLine, NotesEachChunkThatIsRefusedAndSendsTheNext) {
  Services().refused = {0, 2};
  EXPECT_EQ(Run(L"AT+" + std::wstring(1000, L'q')), 0);
  EXPECT_EQ(Posts().size(), 3u);
  EXPECT_EQ(Pauses(), 3u) << "also behind a refused one";
  EXPECT_EQ(Out(), "at+" + std::string(1000, 'q') + "AT+" + std::string(1000, 'q') +
                       "***error: failed to send: AT+" + std::string(397, 'q') + "\n" +
                       "***error: failed to send: " + std::string(203, 'q') + "\r\n\n");
  auto table = kivtest::RecordingServices();
  table.postDiagData = nullptr;
  at_.Init(table);
  EXPECT_EQ(Run(L"AT+100%ls%1"), 0);
  EXPECT_EQ(Out(), "at+100%ls%1AT+100%ls%1***error: failed to send: AT+100%ls%1\r\n\n");
}

TEST_F(AtLine, TakesFiveBytesMoreThanTheChunkAndPausesBeforeItReleasesThem) {
  fake::ResetSeam();
  fake::RecordPool(true);
  at_.HandleCommand(L"AT+X", L"");
  fake::RecordPool(false);
  // The packet, the converted text, which goes as soon as it was copied, the pause, the packet.
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(11)", "PoolMalloc(7)",
                                                     "PoolFree()", "Sleep(100)", "PoolFree()"}));
}

TEST_F(AtLine, WithoutTheTableIsTakenAndSentNowhere) {
  SvcKivClass::KivAt fresh;
  fresh.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(fresh.HandleCommand(L"at+x", L""), 0);
  EXPECT_EQ(Out(), "at+xat+x*** Failed to execute AT Command. No UE is connected.\n\n");
  EXPECT_EQ(fresh.ParsePstReq(L"abc", 0), 0);
  EXPECT_EQ(Out(),
            "at+xat+x*** Failed to execute AT Command. No UE is connected.\n\n"
            "***error: failed to send: abc\n");
}

TEST_F(AtLine, WithNothingToSendSendsNothing) {
  EXPECT_EQ(at_.ParsePstReq(L"", 5), 0);
  EXPECT_EQ(Posts(), PostList{});
  EXPECT_EQ(Pauses(), 0u);
}

// --- answers

TEST_F(AtLine, AnswersUnderTheVariantsIdAreShownAndEchoesSwallowed) {
  const std::uint8_t body[] = {'O', 'K', '\r', '\n'};
  for (const DeviceRow& device : kDevices) {
    for (const std::int64_t product : {0, 38}) {
      Device(device.variant, product);
      const std::size_t before = Messages().size();
      const std::uint32_t ids[] = {0x500D, 0xA011, 0x705, 0x4005, 0x500E, 0xA012, 0x7E0C, 0x500C};
      for (const std::uint32_t id : ids) {
        const bool mine = id == device.request || id == device.answer;
        EXPECT_EQ(at_.HandleResponse(id, nullptr, body, 4), mine ? 0 : 50)
            << device.variant << " " << std::hex << id;
      }
      ASSERT_EQ(Messages().size(), before + 1) << device.variant;
      EXPECT_EQ(Messages()[before].kind, 2);
      EXPECT_EQ(Messages()[before].bytes, "OK\r\n");
    }
  }
}

TEST_F(AtLine, AnAnswerIsShownToItsFirstZeroByteWhateverItsBytes) {
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string with = all + std::string("\0tail", 5);
  const auto answer = [&](const std::string& text) {
    return at_.HandleResponse(0xA011, nullptr, reinterpret_cast<const std::uint8_t*>(text.data()),
                              static_cast<std::uint32_t>(text.size()));
  };
  EXPECT_EQ(answer(with), 0);
  EXPECT_EQ(answer(std::string(4000, 'a')), 0);
  EXPECT_EQ(answer(""), 0);
  EXPECT_EQ(answer(std::string("\0x", 2)), 0);
  EXPECT_EQ(at_.HandleResponse(0xA011, nullptr, nullptr, 0), 0);
  const auto shown = Messages();
  ASSERT_EQ(shown.size(), 5u);
  EXPECT_EQ(shown[0].bytes, all);
  EXPECT_EQ(shown[1].bytes, std::string(4000, 'a'));
  for (std::size_t i = 2; i < 5; ++i) EXPECT_TRUE(shown[i].isNull) << i;
}

TEST_F(AtLine, AnAnswerThatCannotBeCopiedIsNotShown) {
  EXPECT_EQ(at_.HandleResponse(0xA011, nullptr, nullptr, 3), -1);
  at_.SetFilter(1);
  EXPECT_EQ(at_.HandleResponse(0xA011, nullptr, nullptr, 3), -1) << "the filter is for others";
  EXPECT_TRUE(Messages().empty());
}

TEST_F(AtLine, WritesNothingOfAnAnswerIntoTheOutputFile) {
  const std::uint8_t body[] = {'O', 'K'};
  at_.SaveToOutputFile(nullptr);
  EXPECT_EQ(at_.HandleResponse(0xA011, nullptr, body, 2), 0);
  EXPECT_EQ(Out(), "");
}

}  // namespace
