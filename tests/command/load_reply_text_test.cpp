// A load from its first confirmation to its end: what moves it, what ends it, and what is said.
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/load_bench.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ChunkBody;
using kivtest::kLoadCmdId;
using kivtest::LoadBench;
using kivtest::LoadContent;
using Lines = std::vector<std::wstring>;
using PostList = std::vector<Post>;

const std::wstring kShown = L"\n.stored = 1 \n";
const std::wstring kChanged =
    L"*** The load has ended. The file was changed or removed meanwhile.\n";

// `count` chunks, the last one of 100 bytes.
std::string Chunks(std::size_t count) { return LoadContent((count - 1) * 2048 + 100); }

PostList ChunkPosts(const std::string& content, const std::vector<std::size_t>& indices) {
  PostList posts;
  for (const std::size_t index : indices) {
    posts.push_back({PostKind::kCmd, kLoadCmdId, ChunkBody(content, index),
                     static_cast<std::uint16_t>(posts.size() + 1), 0, 0});
  }
  return posts;
}

// A load that has nothing to send any more, and a next line that begins anew.
void ExpectEnded(LoadBench& bench, const std::string& name) {
  EXPECT_FALSE(bench.IsHeld(name));
  EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
  const std::size_t posts = fake::Posts().size();
  bench.ConfirmNewest();
  EXPECT_EQ(fake::Posts().size(), posts);
  EXPECT_EQ(bench.LoadNew("next.bin", "next"), L"");
  ASSERT_EQ(fake::Posts().size(), posts + 1);
  EXPECT_EQ(fake::Posts().back().body, ChunkBody("next", 0));
}

TEST(LoadReplyText, SendsNothingOnTheThreadOfTheLink) {
  LoadBench bench;
  const std::string content = Chunks(2);
  bench.LoadNew("a.bin", content);
  std::thread link([] { fake::Deliver({LoadBench::Confirmation(1)}); });
  link.join();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0}));
  EXPECT_EQ(bench.Module().Messages().Texts(), Lines{kShown});
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
}

TEST(LoadReplyText, MovesByNothingButTheConfirmationOfItsNewestPost) {
  LoadBench bench;
  const std::string content = Chunks(3);
  bench.LoadNew("a.bin", content);
  fake::Packet indication = LoadBench::Confirmation(1);
  indication.isInd = true;
  fake::Packet otherCommand = LoadBench::Confirmation(1);
  otherCommand.cmdId = 0x2002;
  fake::Packet sameLowHalf = LoadBench::Confirmation(1);
  sameLowHalf.cmdId = 0x12001;
  fake::Deliver({indication, otherCommand, sameLowHalf, LoadBench::Confirmation(0),
                 LoadBench::Confirmation(2), LoadBench::Confirmation(0, 7),
                 LoadBench::Confirmation(0xFFFF)});
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0}));
  EXPECT_TRUE(bench.IsHeld("a.bin"));
  bench.Confirm(1);
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
}

fake::Packet Wrapped(std::uint32_t counter, std::uint32_t id, std::size_t sizeBytes,
                     std::uint16_t tag) {
  std::vector<std::uint8_t> body(38);
  for (int i = 0; i < 4; ++i) {
    body[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(counter >> (8 * i));
  }
  body[8] = static_cast<std::uint8_t>(id);
  body[9] = static_cast<std::uint8_t>(id >> 8);
  body[36] = 1;
  body.resize(sizeBytes);
  return {.cmdId = 0x7000, .body = body, .tag = tag};
}

TEST(LoadReplyText, LooksAtTheIdOfAWrappedConfirmation) {
  LoadBench bench;
  const std::string content = Chunks(3);
  bench.LoadNew("a.bin", content);
  // Beyond the client's counter, and another command's: neither is unwrapped to this load's id.
  fake::Deliver({Wrapped(1, kLoadCmdId, 38, 1), Wrapped(0, 0x2002, 38, 1)});
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0}));
  fake::Deliver({Wrapped(0, kLoadCmdId, 38, 1)});
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
  EXPECT_EQ(bench.Module().Messages().Texts().back(), kShown);
  fake::Deliver({Wrapped(0, kLoadCmdId, 20, 2)});  // without a body of its own
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 2}));
}

TEST(LoadReplyText, ConfirmationsMoveALoadThatAChannelHides) {
  LoadBench bench(LoadBench::Catalogued({.channels = fake::FourChannels()}));
  fake::FakeChannel<1>::State().responseAnswer = 0;
  const std::string content = Chunks(3);
  bench.LoadNew("a.bin", content);
  bench.ConfirmAll();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 2}));
  const std::pair<std::uint32_t, std::vector<std::uint8_t>> offered = {kLoadCmdId, {1, 0}};
  EXPECT_EQ(fake::FakeChannel<0>::State().packets, std::vector(3, offered));
  EXPECT_EQ(fake::FakeChannel<1>::State().packets, std::vector(3, offered));
  EXPECT_TRUE(fake::FakeChannel<2>::State().packets.empty());
  EXPECT_TRUE(bench.Module().Messages().All().empty());
  EXPECT_FALSE(bench.IsHeld("a.bin"));
}

TEST(LoadReplyText, ConfirmationsMoveALoadThatCannotBeShown) {
  LoadBench bench;
  const std::string content = Chunks(2);
  bench.LoadNew("a.bin", content);
  pool::FailFrom(1);
  EXPECT_EQ(fake::Deliver({LoadBench::Confirmation(1)}), -1);
  pool::FailNth(0);
  EXPECT_TRUE(bench.Module().Messages().All().empty());
  LoadBench::RunQueued();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
}

TEST(LoadReplyText, AnyOtherResultEndsTheLoadAndIsOnlyShown) {
  for (const std::uint32_t result : {1u, 3207u, 0x10000u, 0xFFFFFFFFu}) {
    LoadBench bench;
    bench.LoadNew("a.bin", Chunks(3));
    bench.ConfirmNewest();
    bench.ConfirmNewest(result);
    EXPECT_EQ(fake::Posts().size(), 2u);
    EXPECT_EQ(bench.Module().Messages().Texts(), Lines(2, kShown));
    EXPECT_EQ(bench.Module().Log().Lines(), Lines{});
    ExpectEnded(bench, "a.bin");
  }
}

TEST(LoadReplyText, ARepeatedLineSendsTheCurrentChunkAgainAndSkipsNone) {
  LoadBench bench;
  const std::string content = Chunks(3);
  bench.LoadNew("a.bin", content);
  bench.Confirm(1);
  EXPECT_EQ(bench.Load("a.bin"), L"");
  EXPECT_EQ(bench.Load("a.bin"), L"");
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 1, 1}));
  bench.Confirm(2);  // late, of an older post
  bench.Confirm(3, 5);
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 1, 1}));
  bench.Confirm(4);
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 1, 1, 2}));
  EXPECT_EQ(bench.Load("a.bin"), L"");  // the last confirmation was lost
  bench.Confirm(6);
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1, 1, 1, 2, 2}));
  ExpectEnded(bench, "a.bin");
}

TEST(LoadReplyText, AnotherPathIsOnlyCheckedWhileALoadIsOpen) {
  LoadBench bench;
  const std::string content = Chunks(2);
  bench.LoadNew("a.bin", content);
  bench.SetMaximum(L"1");
  EXPECT_EQ(bench.LoadNew("b.bin", "another"), L"");
  std::filesystem::create_directory(bench.Files().File("folder"));
  EXPECT_EQ(bench.Load("folder"), L"");
  EXPECT_FALSE(bench.IsHeld("b.bin"));
  EXPECT_EQ(bench.Load("missing"), L"Enter a valid file path.\n");
  EXPECT_EQ(bench.Module().Run(L"ldnv"), L"Enter a file path.\n");
  EXPECT_EQ(bench.Module().Log().Lines(),
            Lines(2,
                  L"01 CmdCtrl::GetDiagCmdResponse() - err=-1, InterpretLoadFlashCmdParam "
                  L"Error!\n"));
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 0, 0}));
  bench.ConfirmAll();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 0, 0, 1}));
  bench.SetMaximum(L"100");
  ExpectEnded(bench, "a.bin");
}

TEST(LoadReplyText, TypedCommandsDoNotDisturbALoad) {
  LoadBench bench;
  const std::string content = Chunks(2);
  bench.LoadNew("a.bin", content);
  bench.Module().Run(L"put 5 -r 00:11:22:33:44:55");
  bench.Module().Run(L"help");
  bench.Module().Run(L"nonsense");
  bench.Confirm(1);
  ASSERT_EQ(fake::Posts().size(), 3u);
  EXPECT_EQ(fake::Posts()[2], (Post{PostKind::kCmd, kLoadCmdId, ChunkBody(content, 1), 3, 0, 0}));
}

TEST(LoadReplyText, AChunkWithABadAddressIsToldToTheViewAndTheLog) {
  const std::wstring text = L"*** Failed to execute diag command. Check MAC path.\n";
  LoadBench bench;
  const std::string content = Chunks(3);
  bench.LoadNew("a.bin", content);
  fake::SetPostStatus(23);
  bench.Confirm(1);
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
  EXPECT_EQ(bench.Module().Messages().Texts(), (Lines{kShown, L"\n" + text}));
  EXPECT_EQ(bench.Module().Log().Lines(), Lines{text});
  fake::SetPostStatus(0);
  ExpectEnded(bench, "a.bin");
}

TEST(LoadReplyText, AChunkWithoutMemoryIsToldToTheView) {
  std::uint64_t failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 1000u);
    LoadBench bench;
    const std::string content = Chunks(2);
    bench.LoadNew("a.bin", content);
    fake::Deliver({LoadBench::Confirmation(1)});
    pool::FailNth(n);
    LoadBench::RunQueued();
    const bool failed = pool::Failed();
    pool::FailNth(0);
    if (!failed) {
      EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
      break;
    }
    ++failures;
    EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0}));
    EXPECT_FALSE(bench.IsHeld("a.bin"));
    EXPECT_EQ(bench.Module().Messages().Texts().size(), 2u);
    EXPECT_EQ(bench.Module().Messages().Texts().back().substr(0, 5), L"\n*** ");
    EXPECT_FALSE(bench.Module().Log().Lines().empty());
  }
  EXPECT_GT(failures, 0u);
}

// What may happen to a file of three chunks while its second one is still to be read.
struct Change {
  const char* name;
  std::function<void(const kivtest::TempDir& files)> make;
};

const Change kChanges[] = {
    {"shorter by a byte",
     [](const auto& files) { std::filesystem::resize_file(files.File("a.bin"), 4195); }},
    {"emptied", [](const auto& files) { std::filesystem::resize_file(files.File("a.bin"), 0); }},
    {"rewritten in place with as many bytes",
     [](const auto& files) { files.Write("a.bin", std::string(4196, 'x')); }},
    {"renamed",
     [](const auto& files) {
       std::filesystem::rename(files.File("a.bin"), files.File("gone.bin"));
     }},
    {"replaced by an equal file",
     [](const auto& files) {
       std::filesystem::copy_file(files.File("a.bin"), files.File("new.bin"));
       std::filesystem::last_write_time(files.File("new.bin"),
                                        std::filesystem::last_write_time(files.File("a.bin")));
       std::filesystem::rename(files.File("new.bin"), files.File("a.bin"));
     }},
    {"touched",
     [](const auto& files) {
       std::filesystem::last_write_time(
           files.File("a.bin"),
           std::filesystem::last_write_time(files.File("a.bin")) + std::chrono::seconds(1));
     }},
};

TEST(LoadReplyText, AFileThatChangedEndsTheLoadWithATextToTheView) {
  for (const Change& change : kChanges) {
    SCOPED_TRACE(change.name);
    LoadBench bench;
    const std::string content = Chunks(3);
    bench.LoadNew("a.bin", content);
    change.make(bench.Files());
    bench.Confirm(1);
    EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0}));
    EXPECT_EQ(bench.Module().Messages().Texts(), (Lines{kShown, L"\n" + kChanged}));
    EXPECT_EQ(bench.Module().Messages().All().back().kind, 1);
    EXPECT_FALSE(bench.Module().Log().Lines().empty());
    ExpectEnded(bench, "a.bin");
  }
}

TEST(LoadReplyText, ALinkThatCameBackBeforeALoadBeganDoesNotEndIt) {
  LoadBench bench;
  const std::string content = Chunks(2);
  std::thread([&] {
    bench.App().SetUEConnectStatus(0);
    bench.App().SetUEConnectStatus(1);
  }).join();
  bench.LoadNew("a.bin", content);
  LoadBench::RunQueued();
  EXPECT_TRUE(bench.Module().Messages().All().empty());
  bench.ConfirmAll();
  EXPECT_EQ(fake::Posts(), ChunkPosts(content, {0, 1}));
}

TEST(LoadReplyText, TheNextFileOfALoadThatEndedIsItsOwn) {
  LoadBench bench;
  const std::string first = Chunks(2);
  const std::string second = LoadContent(2048 + 7);
  bench.LoadNew("a.bin", first);
  bench.ConfirmAll();
  bench.LoadNew("b.bin", second);
  bench.ConfirmAll();
  PostList expected = ChunkPosts(first, {0, 1});
  for (Post post : ChunkPosts(second, {0, 1})) {
    post.tag = static_cast<std::uint16_t>(post.tag + 2);
    expected.push_back(post);
  }
  EXPECT_EQ(fake::Posts(), expected);
}

}  // namespace
