// What ends a load before its last chunk: which text the user gets and where, what the log says,
// and that the file is closed.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/load_bench.h"

namespace {

using kivtest::LoadBench;
using kivtest::LoadContent;
using Lines = std::vector<std::wstring>;

constexpr int kChunks = 4;
const std::string kContent = LoadContent(3 * 2048 + 7);
const std::wstring kShown = L"\n.stored = 1 \n";  // of each confirmation
const std::wstring kChanged =
    L"*** The load has ended. The file was changed or removed meanwhile.\n";
const std::wstring kLinkLost = L"*** The load has ended. The link to the device was lost.\n";
const std::wstring kNoUe = L"*** Failed to execute diag command. No UE is connected.\n";
const std::wstring kSeekLine =
    L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, SetFilePointer Error!\n";
const std::wstring kDispatchLine =
    L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, DispatchLoadFlashCmd Error!\n";

std::wstring ReadLine(int error) {
  return L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=" + std::to_wstring(error) +
         L", ReadFile Error!\n";
}

// A way to fail: what is done before the chunk, what the user is told and what is logged.
struct Way {
  const char* name;
  std::function<void(LoadBench&)> spoil;
  std::wstring text;      // empty: no reply, and the view gets the log line
  Lines log;              // beside the text, which is logged when no line asked for the chunk
  bool isPosted = false;  // the failing post is recorded
};

const Way kWays[] = {
    {"seek", [](LoadBench&) { fake::FailStep("SetFilePointer", 5); }, L"", {kSeekLine}},
    {"read", [](LoadBench&) { fake::FailStep("ReadFile", 1117); }, L"", {ReadLine(1117)}},
    {"no device",
     [](LoadBench& bench) { bench.App().GetSwitches().ueConnectStatus = 0; },
     kNoUe,
     {kDispatchLine}},
    {"no link",
     [](LoadBench&) { fake::SetDeviceThere(false); },
     L"*** Failed to execute diag command. Connect UE before using any commands.\n",
     {},
     true},
    {"post",
     [](LoadBench&) { fake::SetPostStatus(77); },
     L"*** Failed to execute diag command, ret=77\n",
     {L"01 CmdCtrl::DispatchMyCommand() - err=77, Connection Error. Invalid UE ID!\n"},
     true},
};

TEST(LoadFailure, OfTheFirstChunkStandsInTheReply) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    LoadBench bench;
    way.spoil(bench);
    EXPECT_EQ(bench.LoadNew("file", kContent), way.text);
    EXPECT_EQ(bench.Module().Log().Lines(), way.log);
    EXPECT_EQ(bench.Module().Messages().Texts(), Lines());
    EXPECT_EQ(fake::Posts().size(), way.isPosted ? 1u : 0u);
    EXPECT_FALSE(bench.IsHeld("file"));
  }
}

TEST(LoadFailure, OfALaterChunkGoesToTheViewAndTheLog) {
  for (const Way& way : kWays) {
    for (int chunk = 1; chunk < kChunks; ++chunk) {
      SCOPED_TRACE(std::string(way.name) + " " + std::to_string(chunk));
      LoadBench bench;
      bench.LoadNew("file", kContent);
      for (int i = 1; i < chunk; ++i) bench.ConfirmNewest();
      way.spoil(bench);
      bench.ConfirmNewest();
      Lines shown(static_cast<std::size_t>(chunk), kShown);
      shown.push_back(L"\n" + (way.text.empty() ? way.log.back() : way.text));
      EXPECT_EQ(bench.Module().Messages().Texts(), shown);
      EXPECT_EQ(bench.Module().Messages().All().back().kind, SvcKivSpace::kReply);
      Lines log = way.log;
      if (!way.text.empty()) log.push_back(way.text);
      EXPECT_EQ(bench.Module().Log().Lines(), log);
      EXPECT_FALSE(bench.IsHeld("file"));
      const std::size_t posts = fake::Posts().size();
      EXPECT_EQ(posts, static_cast<std::size_t>(way.isPosted ? chunk + 1 : chunk));
      bench.ConfirmNewest();
      EXPECT_EQ(fake::Posts().size(), posts);
    }
  }
}

TEST(LoadFailure, IsFollowedByALoadThatStartsAnew) {
  for (const Way& way : kWays) {
    SCOPED_TRACE(way.name);
    LoadBench bench;
    bench.LoadNew("file", kContent);
    bench.ConfirmNewest();
    way.spoil(bench);
    bench.ConfirmNewest();
    fake::FailStep("SetFilePointer", 0);
    fake::FailStep("ReadFile", 0);
    fake::SetPostStatus(0);
    fake::SetDeviceThere(true);
    bench.App().SetUEConnectStatus(1);
    fake::ForgetPosts();
    EXPECT_EQ(bench.LoadNew("other", LoadContent(5000)), L"");
    bench.ConfirmAll();
    EXPECT_EQ(fake::Posts().size(), 3u);
  }
}

TEST(LoadFailure, OfAChunkThatIsSentAgainStandsInTheReply) {
  LoadBench bench;
  bench.LoadNew("file", kContent);
  bench.ConfirmNewest();
  fake::SetPostStatus(77);
  EXPECT_EQ(bench.Load("file"), L"*** Failed to execute diag command, ret=77\n");
  EXPECT_FALSE(bench.IsHeld("file"));
  EXPECT_EQ(bench.Module().Messages().Texts(), (Lines{kShown}));
}

TEST(LoadFailure, LeavesTheReplyOfTheLastLineAlone) {
  LoadBench bench;
  bench.LoadNew("file", kContent);
  bench.Module().Run(L"nonsense");
  fake::SetPostStatus(77);
  bench.ConfirmNewest();
  bench.Confirm(1);
  EXPECT_EQ(bench.Controller().GetResponse(), L"Command 'nonsense' is not exist\n");
}

// What somebody does to the file meanwhile.
struct Change {
  const char* name;
  std::function<void(const kivtest::TempDir&)> make;
  Lines log = {L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, File Changed!\n"};
};

void Overwrite(const kivtest::TempDir& files, std::streamoff at) {
  std::fstream file(files.File("file"), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(at).put('!');
}

const Change kChanges[] = {
    {"a byte that was sent", [](const kivtest::TempDir& files) { Overwrite(files, 0); }},
    {"a byte to come", [](const kivtest::TempDir& files) { Overwrite(files, 6150); }},
    {"longer",
     [](const kivtest::TempDir& files) {
       std::filesystem::resize_file(files.File("file"), kContent.size() + 1);
     }},
    {"shorter",
     [](const kivtest::TempDir& files) { std::filesystem::resize_file(files.File("file"), 100); },
     {ReadLine(0)}},
    {"removed", [](const kivtest::TempDir& files) { std::filesystem::remove(files.File("file")); }},
    {"replaced",
     [](const kivtest::TempDir& files) {
       files.Write("other", kContent);
       std::filesystem::rename(files.File("other"), files.File("file"));
     }},
};

TEST(LoadFailure, OfAFileThatChangesIsToldAtTheNextChunk) {
  for (const Change& change : kChanges) {
    for (int chunk = 1; chunk < kChunks; ++chunk) {
      SCOPED_TRACE(std::string(change.name) + " " + std::to_string(chunk));
      LoadBench bench;
      bench.LoadNew("file", kContent);
      for (int i = 1; i < chunk; ++i) bench.ConfirmNewest();
      change.make(bench.Files());
      bench.ConfirmNewest();
      EXPECT_EQ(fake::Posts().size(), static_cast<std::size_t>(chunk));
      Lines shown(static_cast<std::size_t>(chunk), kShown);
      shown.push_back(L"\n" + kChanged);
      EXPECT_EQ(bench.Module().Messages().Texts(), shown);
      Lines log = change.log;
      log.push_back(kChanged);
      EXPECT_EQ(bench.Module().Log().Lines(), log);
      EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
    }
  }
}

TEST(LoadFailure, OfAFileThatChangesIsToldInTheReplyOfALine) {
  LoadBench bench;
  bench.LoadNew("file", kContent);
  Overwrite(bench.Files(), 5);
  EXPECT_EQ(bench.Load("file"), kChanged);
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(bench.Load("file"), L"");
  bench.ConfirmAll();
  EXPECT_EQ(fake::Posts().size(), 1u + kChunks);
}

TEST(LoadFailure, OfTheLinkIsToldAtOnce) {
  LoadBench bench;
  bench.LoadNew("file", kContent);
  bench.ConfirmNewest();
  bench.App().SetUEConnectStatus(0);
  EXPECT_EQ(bench.Module().Messages().Texts(), (Lines{kShown, L"\n" + kLinkLost}));
  EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kLinkLost}));
  EXPECT_FALSE(bench.IsHeld("file"));
  bench.App().SetUEConnectStatus(0);
  bench.App().SetUEConnectStatus(1);
  bench.ConfirmNewest();
  EXPECT_EQ(fake::Posts().size(), 2u);
  EXPECT_EQ(bench.Load("file"), L"");
  EXPECT_EQ(fake::Posts().back().body, fake::Posts().front().body);
}

TEST(LoadFailure, OfTheLinkMayBeToldOnAnotherThread) {
  LoadBench bench;
  bench.LoadNew("file", kContent);
  std::thread([&] { bench.App().SetUEConnectStatus(0); }).join();
  EXPECT_TRUE(bench.IsHeld("file"));
  LoadBench::RunQueued();
  EXPECT_FALSE(bench.IsHeld("file"));
  EXPECT_EQ(bench.Module().Messages().Texts(), (Lines{L"\n" + kLinkLost}));
}

TEST(LoadFailure, OfTheLinkIsNotToldWithoutALoad) {
  LoadBench bench;
  bench.App().SetUEConnectStatus(0);
  bench.App().Stop();
  bench.App().SetUEConnectStatus(0);
  EXPECT_EQ(bench.Module().Messages().Texts(), Lines());
  EXPECT_EQ(bench.Module().Log().Lines(), Lines());
}

// Every allocation of a whole load from the pool, once each: the load ends with a text, or goes on.
TEST(LoadFailure, OfEachPoolAllocationEndsTheLoadOrLeavesItWhole) {
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    ASSERT_LT(n, 1000u);
    LoadBench bench;
    bench.Files().Write("file", kContent);
    pool::FailNth(n);
    const std::wstring reply = bench.Load("file");
    if (reply.empty()) bench.ConfirmAll();
    const bool failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_FALSE(bench.IsHeld("file"));
    const Lines log = bench.Module().Log().Lines();
    if (fake::Posts().size() < kChunks) {
      EXPECT_TRUE(!reply.empty() || !log.empty());
      const Lines shown = bench.Module().Messages().Texts();
      EXPECT_TRUE(!reply.empty() || shown.back().find(L"500") != std::wstring::npos);
      bench.Load("file");
      bench.ConfirmAll();
    }
    EXPECT_EQ(fake::Posts().back().body[0], kChunks - 1);
    EXPECT_FALSE(bench.IsHeld("file"));
    if (!failed) break;
  }
}

}  // namespace
