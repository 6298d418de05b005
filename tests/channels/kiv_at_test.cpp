// AT lines on their way to the device, and its answers.
#include "channels/kiv_at.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/fakes/channel_bench.h"

namespace {

using kivtest::ByteList;
using kivtest::RequestPacket;
using kivtest::ServicePost;
using PostList = std::vector<ServicePost>;

constexpr std::uint32_t kRequest = 0x500D;
constexpr std::uint32_t kAnswer = 0xA011;

ServicePost AtPost(const std::string& text, std::uint32_t delay = 0, std::uint32_t id = kRequest) {
  return {1, id, RequestPacket(text), 0, delay};
}

class At : public kivtest::ChannelBench {
 protected:
  At() {
    version_query::NoteDevice(248, 0);
    at_.Init(kivtest::RecordingServices());
  }
  std::int32_t Run(const std::wstring& word) { return at_.HandleCommand(word.c_str(), L""); }
  std::int32_t Answer(std::uint32_t id, const std::string& text) {
    return at_.HandleResponse(id, nullptr, reinterpret_cast<const std::uint8_t*>(text.data()),
                              static_cast<std::uint32_t>(text.size()));
  }

  SvcKivClass::KivAt at_;
};

TEST_F(At, SendsALineAsTypedWithItsLengthInFront) {
  EXPECT_EQ(Run(L"AT+CGMI"), 0);
  const ByteList packet = {9, 0, 0, 0, 'A', 'T', '+', 'C', 'G', 'M', 'I', '\r', '\n'};
  EXPECT_EQ(Posts(), (PostList{{1, kRequest, packet, 0, 0}}));
  EXPECT_EQ(Pauses(), 1u);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(At, SendsALineWithADelayInLowerCase) {
  EXPECT_EQ(Run(L"AT+CGMI -d 200"), 0);
  EXPECT_EQ(Posts(), (PostList{AtPost("at+cgmi\r\n", 200)}));
}

TEST_F(At, ReadsAndCutsTheDelayByTheLowerCasedLine) {
  const struct {
    const wchar_t* word;
    ServicePost post;
  } rows[] = {
      {L"AT+CGMI -D 200", AtPost("at+cgmi\r\n", 200)},
      {L"AT+X-d 5", AtPost("at+x-d 5\r\n", 5)},
      {L"AT+X-d 5 -d 6", AtPost("at+x-d 5\r\n", 5)},
      {L"AT+X -d 0", AtPost("AT+X -d 0\r\n", 0)},
      {L"AT+X -d none", AtPost("AT+X -d none\r\n", 0)},
      {L"  AT+X  ", AtPost("AT+X\r\n", 0)},
      {L"AT+N\u00c9\u0416 -d 3", AtPost("at+n\xc3\xa9?\r\n", 3)},
      {L"AT+N\u00c9\u0416", AtPost("AT+N\xc3\x89\xd0\x96\r\n", 0)},
  };
  for (const auto& row : rows) {
    Services().posts.clear();
    EXPECT_EQ(Run(row.word), 0);
    EXPECT_EQ(Posts(), (PostList{row.post})) << QCString(row.word).ToUtf8();
  }
}

TEST_F(At, TakesLinesWithAtPlusOrAtCaretAnywhereAndTheBareWord) {
  const std::pair<const wchar_t*, std::int32_t> rows[] = {
      {L"at", 0},   {L"AT", 0},   {L"aT", 0},   {L"At^x", 0},    {L"show at+x", 0}, {L"what^is", 0},
      {L"atx", 50}, {L"at ", 50}, {L"at;", 50}, {L"ati", 50},    {L"ata -d 5", 50}, {L"sh ls", 50},
      {L"", 50},    {L"a", 50},   {L"ta", 50},  {L"at -d 5", 0}, {L"a t+", 50},
  };
  for (const auto& [word, answer] : rows) {
    EXPECT_EQ(Run(word), answer) << QCString(word).ToUtf8();
  }
}

TEST_F(At, TakesANullWordForAnEmptyOne) { EXPECT_EQ(at_.HandleCommand(nullptr, nullptr), 50); }

TEST_F(At, LooksAtTheWordOnly) {
  EXPECT_EQ(at_.HandleCommand(L"AT+CSQ", L"-d 5 and more"), 0);
  EXPECT_EQ(Posts(), (PostList{AtPost("AT+CSQ\r\n")}));
}

TEST_F(At, UsesTheIdsOfTheVariant) {
  const struct {
    std::int64_t variant;
    std::uint32_t request, answer;
  } rows[] = {{0, 0x500D, 0xA011},
              {246, 0x500D, 0xA011},
              {248, 0x500D, 0xA011},
              {249, 0x705, 0x4005},
              {250, 0x500D, 0xA011}};
  for (const auto& row : rows) {
    version_query::NoteDevice(row.variant, 0);
    Services().posts.clear();
    Run(L"AT");
    EXPECT_EQ(Posts(), (PostList{AtPost("AT\r\n", 0, row.request)})) << row.variant;
    EXPECT_EQ(Answer(row.request, "echo"), 0);
    EXPECT_EQ(Answer(row.answer, "OK"), 0);
    EXPECT_EQ(Answer(row.answer == 0x4005 ? 0xA011 : 0x4005, "other"), 50);
  }
  EXPECT_EQ(Texts(), std::vector<std::wstring>(std::size(rows), L"OK"));
}

TEST_F(At, SendsALongCommandInPiecesOf400CharactersWithAPauseAfterEach) {
  const std::string command = "AT+" + std::string(997, 'x');
  EXPECT_EQ(Run(L"AT+" + std::wstring(997, L'x')), 0);
  const std::string whole = command + "\r\n";
  EXPECT_EQ(Posts(), (PostList{AtPost(whole.substr(0, 400)), AtPost(whole.substr(400, 400)),
                               AtPost(whole.substr(800))}));
  EXPECT_EQ(Posts().back().bytes.size(), 206u);
  EXPECT_EQ(Pauses(), 3u);
}

TEST_F(At, CutsBetweenCharacters400And401WhereverTheLineEnds) {
  for (const std::size_t length : {397u, 398u, 399u, 400u, 798u, 799u}) {
    Services().posts.clear();
    EXPECT_EQ(Run(L"AT+" + std::wstring(length - 3, L'x')), 0);
    const std::size_t sent = length + 2;
    ASSERT_EQ(Posts().size(), (sent + 399) / 400) << length;
    EXPECT_EQ(Posts().back().bytes.size(), 4 + (sent - 1) % 400 + 1) << length;
  }
}

TEST_F(At, CountsTheBytesOfAChunkNotItsCharacters) {
  EXPECT_EQ(Run(L"AT+" + std::wstring(400, L'\u20ac')), 0);
  std::string euros;
  for (int i = 0; i < 397; ++i) euros += "\xe2\x82\xac";
  EXPECT_EQ(Posts(),
            (PostList{AtPost("AT+" + euros), AtPost("\xe2\x82\xac\xe2\x82\xac\xe2\x82\xac\r\n")}));
}

TEST_F(At, PassesTheDelayOnWithEachChunk) {
  EXPECT_EQ(Run(L"at+" + std::wstring(500, L'x') + L" -d 4294967295"), 0);
  ASSERT_EQ(Posts().size(), 2u);
  EXPECT_EQ(Posts()[0].delay, 4294967295u);
  EXPECT_EQ(Posts()[1].delay, 4294967295u);
}

TEST_F(At, SaysThatNoDeviceIsConnectedInTheOutputFileAlone) {
  at_.SetOutputFile(WidePath("out.txt"));
  Services().connected = 0;
  EXPECT_EQ(Run(L"AT"), 0);
  EXPECT_TRUE(Posts().empty());
  EXPECT_TRUE(Messages().empty());
  EXPECT_EQ(Pauses(), 0u);
  EXPECT_EQ(FileText("out.txt"), "atAT*** Failed to execute AT Command. No UE is connected.\n\n");
}

TEST_F(At, AsksWhetherADeviceIsConnectedForItsOwnLinesOnly) {
  Services().connected = 0;
  EXPECT_EQ(Run(L"nix"), 50);
}

TEST_F(At, EchoesEveryLineIntoTheOutputFileWhoeverTakesIt) {
  at_.SetOutputFile(WidePath("out.txt"));
  Run(L"NIX");
  Run(L"AT+A -d 5");
  EXPECT_EQ(FileText("out.txt"), "nixNIXat+aat+a");
}

TEST_F(At, GoesOnAfterARefusedChunkAndNotesItsText) {
  at_.SetOutputFile(WidePath("out.txt"));
  Services().refused = {0, 2};
  EXPECT_EQ(Run(L"AT+" + std::wstring(997, L'%')), 0);
  EXPECT_EQ(Posts().size(), 3u);
  EXPECT_EQ(Pauses(), 3u);
  const std::string percents(997, '%');
  EXPECT_EQ(FileText("out.txt"),
            "at+" + percents + "AT+" + percents +  //
                "***error: failed to send: AT+" + percents.substr(0, 397) +
                "\n***error: failed to send: " + percents.substr(0, 200) + "\r\n\n");
  EXPECT_TRUE(Messages().empty());
}

TEST_F(At, CountsAMissingSendEntryAsARefusal) {
  SvcKivClass::ChannelServiceTable table = kivtest::RecordingServices();
  table.postDiagData = nullptr;
  at_.Init(table);
  at_.SetOutputFile(WidePath("out.txt"));
  EXPECT_EQ(Run(L"AT"), 0);
  EXPECT_EQ(FileText("out.txt"), "atAT***error: failed to send: AT\r\n\n");
  EXPECT_EQ(Pauses(), 1u);
}

TEST_F(At, ReleasesThePacketAfterThePause) {
  fake::RecordPool(true);
  Services().onPost = [] { fake::Note("post"); };
  Run(L"AT");
  fake::RecordPool(false);
  // The packet with a zero byte behind the text; the converted text is gone before the post.
  EXPECT_EQ(fake::Calls(), (std::vector<std::string>{"PoolMalloc(9)", "PoolMalloc(5)", "PoolFree()",
                                                     "post", "Sleep(100)", "PoolFree()"}));
}

TEST_F(At, ShowsAnAnswerAsKind2) {
  EXPECT_EQ(Answer(kAnswer, "+CSQ: 20,99\r\n\r\nOK\r\n"), 0);
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].kind, 2);
  EXPECT_EQ(messages[0].bytes, "+CSQ: 20,99\r\n\r\nOK\r\n");
}

TEST_F(At, ShowsAnEmptyAnswerAsANullPayload) {
  EXPECT_EQ(Answer(kAnswer, ""), 0);
  EXPECT_EQ(at_.HandleResponse(kAnswer, nullptr, nullptr, 0), 0);
  const auto messages = Messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_TRUE(messages[0].isNull);
  EXPECT_TRUE(messages[1].isNull);
}

TEST_F(At, HandsTheBytesOfAnAnswerOnUnchanged) {
  std::string bytes;
  for (int i = 0; i < 4000; ++i) bytes += static_cast<char>(i % 255 + 1);
  EXPECT_EQ(Answer(kAnswer, bytes), 0);
  EXPECT_EQ(Messages().at(0).bytes, bytes);
}

TEST_F(At, EndsAnAnswerAtItsFirstZeroByte) {
  EXPECT_EQ(Answer(kAnswer, std::string("OK\0more", 7)), 0);
  EXPECT_EQ(Messages().at(0).bytes, "OK");
}

TEST_F(At, SwallowsTheEchoOfItsRequest) {
  EXPECT_EQ(Answer(kRequest, "AT"), 0);
  EXPECT_TRUE(Messages().empty());
}

TEST_F(At, RefusesAnAnswerWithoutABody) {
  EXPECT_EQ(at_.HandleResponse(kAnswer, nullptr, nullptr, 4), -1);
  EXPECT_TRUE(Messages().empty());
}

}  // namespace
