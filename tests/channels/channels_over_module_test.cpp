// The module's own channels behind a whole application object: the order of offering, what a line
// becomes, and how packets come back.
#include <gtest/gtest.h>

#include <string>

#include "platform/base/version_query.h"
#include "platform/bounded/pool.h"
#include "tests/fakes/module_bench.h"
#include "tests/fakes/platform_seam.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ModuleBench;
using Bytes = std::vector<std::uint8_t>;
using PostList = std::vector<Post>;

Bytes BytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

Bytes Request(const std::string& text) {
  Bytes packet = {static_cast<std::uint8_t>(text.size()), 0, 0, 0};
  packet.insert(packet.end(), text.begin(), text.end());
  return packet;
}
Bytes HciFrame(const std::string& text) {
  Bytes packet = {0x10, 0, static_cast<std::uint8_t>(text.size() + 9), 0, 0, 0};
  packet.insert(packet.end(), text.begin(), text.end());
  return packet;
}
Post AtPost(const std::string& text, std::uint32_t delay = 0) {
  return {.cmdId = 0x500D, .body = Request(text), .word = delay};
}
Post ShellPost(const std::string& text, std::uint32_t delay = 0) {
  return {.cmdId = 0x500E, .body = Request(text), .word = delay};
}
Post HciPost(const std::string& text) {
  return {.kind = PostKind::kSdt, .cmdId = 0x7E0C, .body = HciFrame(text)};
}
Post RawPost(const std::string& text) { return {.kind = PostKind::kRaw, .body = BytesOf(text)}; }

// Over the entries of the module itself, as a device of this variant and product.
class ChannelsOverModule : public testing::Test {
 protected:
  ChannelsOverModule() : bench_({.channels = SvcKivClass::BuiltInChannels()}) { Device(248, 0); }
  ~ChannelsOverModule() override {
    bench_.Run(L"ctsftl 0");
    version_query::NoteDevice(-1, -1);
    EXPECT_EQ(pool::LiveBlocks(), 0u);
  }

  static void Device(std::int64_t variant, std::int64_t product) {
    version_query::NoteDevice(variant, product);
  }
  // A packet under this id, as confirmation.
  static void Deliver(std::uint32_t id, const std::string& text) {
    fake::DeliverCnf(id, BytesOf(text));
  }

  ModuleBench bench_;
};

const std::wstring kUntouched = ModuleBench::kUntouched;

TEST_F(ChannelsOverModule, LinesBecomeTheirPackets) {
  const std::pair<const wchar_t*, Post> rows[] = {
      {L"AT+CGMI", AtPost("AT+CGMI\r\n")},
      {L"AT+CGMI -d 200", AtPost("at+cgmi\r\n", 200)},
      {L"  at  ", AtPost("at\r\n")},
      {L"sh ls -l", ShellPost("ls -l")},
      {L"Shell cat Big.txt -d 50", ShellPost("cat Big.txt", 50)},
      {L"show at+x", ShellPost("at+x")},
      {L"show_all 1", ShellPost("1")},
  };
  PostList expected;
  for (const auto& [line, post] : rows) {
    EXPECT_EQ(bench_.Run(line), kUntouched) << QCString(line).ToUtf8();
    expected.push_back(post);
  }
  EXPECT_EQ(fake::Posts(), expected);
}

TEST_F(ChannelsOverModule, LongLinesGoOutThoughTheControllerRejectsThem) {
  const std::wstring longWord(996, L'x');
  EXPECT_EQ(bench_.Run(L"AT+" + longWord + L"; "), kUntouched);
  EXPECT_EQ(bench_.Run(L"sh" + longWord + L" ls"), kUntouched);
  const std::vector<Post> posts = fake::Posts();
  ASSERT_EQ(posts.size(), 3u);
  EXPECT_EQ(posts[0].body.size(), 404u);
  EXPECT_EQ(posts[1].body.size(), 404u);
  EXPECT_EQ(posts[2].body.size(), 206u);
  EXPECT_EQ(Bytes(posts[2].body.end() - 3, posts[2].body.end()), (Bytes{';', '\r', '\n'}));
}

TEST_F(ChannelsOverModule, LinesThatNoChannelTakesAreDispatchedAsBefore) {
  EXPECT_EQ(bench_.Run(L"nix"), L"Command 'nix' is not exist\n");
  EXPECT_EQ(bench_.Run(L"ati"), L"Command 'ati' is not exist\n");
  EXPECT_EQ(bench_.Run(L""), L"");
  EXPECT_TRUE(bench_.Run(L"help").starts_with(L"help  Querying All Commands\n"));
  EXPECT_TRUE(fake::Posts().empty());
  EXPECT_NE(bench_.Run(L"set_values 7,8,9"), kUntouched);
  EXPECT_EQ(fake::Posts().size(), 1u);
}

TEST_F(ChannelsOverModule, OnVariant246EveryLineGoesToTheControllerAndNoReplyIsLeft) {
  Device(246, 0);
  for (const wchar_t* line : {L"help", L"nix", L"set_values 7,8,9", L"", L"ctscfg"}) {
    EXPECT_EQ(bench_.Run(line), kUntouched) << QCString(line).ToUtf8();
  }
  EXPECT_EQ(fake::Posts(), (PostList{HciPost("help"), HciPost("nix"), HciPost("set_values 7,8,9"),
                                     HciPost("ctscfg")}));
}

TEST_F(ChannelsOverModule, OnProduct38EveryLineGoesToTheShellRawAndNoReplyIsLeft) {
  Device(248, 38);
  for (const wchar_t* line : {L"help", L"nix", L"set_values 7,8,9", L"", L"ctscfg"}) {
    EXPECT_EQ(bench_.Run(line), kUntouched) << QCString(line).ToUtf8();
  }
  EXPECT_EQ(fake::Posts(),
            (PostList{RawPost("help\r\n"), RawPost("nix\r\n"), RawPost("set_values 7,8,9\r\n"),
                      RawPost("\r\n"), RawPost("ctscfg\r\n")}));
}

TEST_F(ChannelsOverModule, ALineThatSeveralChannelsTakeIsSentByEachInTheirOrder) {
  Device(246, 0);
  EXPECT_EQ(bench_.Run(L"AT+X"), kUntouched);
  EXPECT_EQ(bench_.Run(L"sh ls"), kUntouched);
  Device(246, 38);
  EXPECT_EQ(bench_.Run(L"AT+X"), kUntouched);
  EXPECT_EQ(fake::Posts(),
            (PostList{AtPost("AT+X\r\n"), HciPost("AT+X"), ShellPost("ls"), HciPost("sh ls"),
                      AtPost("AT+X\r\n"), RawPost("AT+X\r\n"), HciPost("AT+X")}));
}

TEST_F(ChannelsOverModule, AnUnsentLineEndsAsAnUnknownCommand) {
  for (std::uint64_t n = 1; n <= 2; ++n) {
    pool::FailNth(n);
    EXPECT_EQ(bench_.Run(L"AT+X"), L"Command 'AT+X' is not exist\n") << n;
    pool::FailNth(n);
    EXPECT_EQ(bench_.Run(L"sh ls"), L"Command 'sh' is not exist\n") << n;
  }
  pool::FailNth(0);
  EXPECT_TRUE(fake::Posts().empty());
}

TEST_F(ChannelsOverModule, NothingIsSaidWithoutADeviceAndNothingIsPosted) {
  bench_.App().SetUEConnectStatus(0);
  EXPECT_EQ(bench_.Run(L"AT+X"), kUntouched);
  EXPECT_EQ(bench_.Run(L"sh ls"), kUntouched);
  EXPECT_TRUE(fake::Posts().empty());
  EXPECT_TRUE(bench_.Messages().All().empty());
  Device(248, 38);
  EXPECT_EQ(bench_.Run(L"ls"), kUntouched);
  EXPECT_EQ(fake::Posts(), (PostList{RawPost("ls\r\n")}));
}

TEST_F(ChannelsOverModule, ARefusedPostLeavesTheLineTaken) {
  fake::SetPostStatus(9);
  EXPECT_EQ(bench_.Run(L"AT+X"), kUntouched);
  EXPECT_EQ(bench_.Run(L"sh ls"), kUntouched);
  EXPECT_EQ(fake::Posts().size(), 2u);
  EXPECT_TRUE(bench_.Messages().All().empty());
}

TEST_F(ChannelsOverModule, AnswersComeUnderTheirKinds) {
  Deliver(0xA011, "OK");
  Deliver(0xA012, "files");
  Deliver(0x7E0C, "04 0e");
  Deliver(0xA010, "tested");
  Deliver(0x500C, "");
  Deliver(0x500D, "echo");
  Deliver(0x500E, "echo");
  const auto messages = bench_.Messages().All();
  const std::pair<int, const wchar_t*> expected[] = {{2, L"OK"},
                                                     {4, L"files"},
                                                     {4, L"04 0e"},
                                                     {3, L"tested\n"},
                                                     {3, L"\nSent to UE successfully\n"}};
  ASSERT_EQ(messages.size(), std::size(expected));
  for (std::size_t i = 0; i < messages.size(); ++i) {
    EXPECT_EQ(messages[i].kind, expected[i].first);
    EXPECT_EQ(messages[i].text, expected[i].second);
  }
}

TEST_F(ChannelsOverModule, AnIndicationOfAChannelIsShownEvenWhereIndicationsAreOff) {
  EXPECT_FALSE(bench_.App().GetIsEnableInstantInd());
  fake::DeliverInd(0xA011, BytesOf("RING"));
  EXPECT_EQ(bench_.Messages().Texts(), std::vector<std::wstring>{L"RING"});
}

TEST_F(ChannelsOverModule, AnAnswerWithoutMemoryIsShownAsAnyOtherPacket) {
  pool::FailNth(1);
  Deliver(0xA011, "OK");
  pool::FailNth(0);
  const auto messages = bench_.Messages().All();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].kind, 1);
}

TEST_F(ChannelsOverModule, TheFilterHidesEverythingButTheTestsOwnPackets) {
  EXPECT_EQ(bench_.Run(L"ctsftl 1"), kUntouched);
  const std::size_t before = bench_.Messages().All().size();
  bench_.Run(L"set_values 7,8,9");
  fake::DeliverCnf(0x1001, {7, 8, 0, 9, 0, 0, 0});
  Deliver(0xA011, "OK");
  Deliver(0xA012, "files");
  Deliver(0x7E0C, "04 0e");
  Deliver(0xA010, "tested");
  auto texts = bench_.Messages().Texts();
  texts.erase(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(before));
  EXPECT_EQ(texts, std::vector<std::wstring>{L"tested\n"});
  bench_.Run(L"ctsftl 0");
  Deliver(0xA011, "OK");
  EXPECT_EQ(bench_.Messages().Texts().back(), L"OK");
}

TEST_F(ChannelsOverModule, TheFilterOutlivesTheController) {
  bench_.Run(L"ctsftl 1");
  bench_.App().ReloadDb();
  Deliver(0xA011, "OK");
  EXPECT_EQ(bench_.Messages().Texts(), std::vector<std::wstring>{L"Filter out other messages.\n"});
}

TEST_F(ChannelsOverModule, WorkOnAfterTheCatalogueWasReloaded) {
  bench_.App().ReloadDb();
  EXPECT_EQ(bench_.Run(L"AT"), kUntouched);
  EXPECT_EQ(fake::Posts(), (PostList{AtPost("AT\r\n")}));
}

TEST_F(ChannelsOverModule, AViewMayRunALineWhileAChannelAnswers) {
  int depth = 0;
  const QMetaObject::Connection view =
      QObject::connect(bench_.App().GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage,
                       [&](SvcKivSpace::SvcKivMsgType, void*) {
                         if (depth++ > 0) return;
                         EXPECT_EQ(bench_.Run(L"sh ls"), kUntouched);
                         EXPECT_EQ(bench_.Run(L"nix"), L"Command 'nix' is not exist\n");
                       });
  EXPECT_EQ(bench_.Run(L"ctsftl"), kUntouched);
  QObject::disconnect(view);
  EXPECT_EQ(fake::Posts(), (PostList{ShellPost("ls")}));
}

TEST_F(ChannelsOverModule, AFloodOfAnswersWhileLinesRunLeavesNothingBehind) {
  std::atomic<bool> done{false};
  std::thread link([&] {
    while (!done.load()) {
      for (const std::uint32_t id : {0xA010u, 0xA011u, 0xA012u, 0x7E0Cu, 0x1234u}) {
        Deliver(id, "text");
      }
    }
  });
  for (int i = 0; i < 50; ++i) {
    bench_.Run(L"AT+X");
    bench_.Run(L"ctsftl 1");
    bench_.Run(L"ctsftl 0");
    bench_.Run((L"ctscfg " + bench_.Setup().WidePath() + L" t" + std::to_wstring(i % 3)).c_str());
    if (i % 10 == 0) bench_.App().ReloadDb();
  }
  done = true;
  link.join();
}

}  // namespace
