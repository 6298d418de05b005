// What a load line says and posts at once: path, opening, sizes, first chunk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"
#include "tests/fakes/load_bench.h"
#include "tests/fakes/written_texts.h"

namespace {

using fake::Post;
using fake::PostKind;
using kivtest::ChunkBody;
using kivtest::kLoadCmdId;
using kivtest::LoadBench;
using kivtest::LoadContent;
using kivtest::ModuleBench;
using Lines = std::vector<std::wstring>;
using PostList = std::vector<Post>;

const std::wstring kNoPath = L"Enter a file path.\n";
const std::wstring kNoFile = L"Enter a valid file path.\n";
const std::wstring kNotOpened = L"Failed to open file. Check the file.\n";
const std::wstring kTooLarge =
    L"The file size exceeds the maximum value. Select another file to load.\n";
const std::wstring kNotConnected = L"*** Failed to execute diag command. No UE is connected.\n";
const std::wstring kInterpretLog =
    L"01 CmdCtrl::GetDiagCmdResponse() - err=-1, InterpretLoadFlashCmdParam Error!\n";
const std::wstring kSizeLog =
    L"01 CmdCtrl::InterpretLoadFlashCmdParam() - err=0, Get File Size Error!\n";
const std::wstring kSeekLog =
    L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, SetFilePointer Error!\n";
const std::wstring kReadLog = L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=0, ReadFile Error!\n";
const std::wstring kDispatchLog =
    L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, DispatchLoadFlashCmd Error!\n";

Post ChunkPost(const std::string& content, std::size_t index, std::uint16_t tag) {
  return {PostKind::kCmd, kLoadCmdId, ChunkBody(content, index), tag, 0, 0};
}

// A file of holes; only its size matters.
void WriteHoles(const LoadBench& bench, const std::string& name, std::uintmax_t sizeBytes) {
  bench.Files().Write(name, "");
  std::filesystem::resize_file(bench.Files().File(name), sizeBytes);
}

// Line, reply and log lines of a line that opened nothing.
void ExpectRefused(LoadBench& bench, const std::wstring& line, const std::wstring& reply,
                   const Lines& logLines) {
  SCOPED_TRACE(std::string(line.begin(), line.end()));
  const std::size_t before = bench.Module().Log().Lines().size();
  const std::size_t posts = fake::Posts().size();
  EXPECT_EQ(bench.Module().Run(line), reply);
  const Lines all = bench.Module().Log().Lines();
  EXPECT_EQ(Lines(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()), logLines);
  EXPECT_EQ(fake::Posts().size(), posts);
  EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
}

TEST(LoadLineText, RefusesAFileThatSomebodyElseHasLocked) {
  LoadBench bench;
  bench.Files().Write("used.bin", "in use");
  const int other = open(bench.Files().File("used.bin").c_str(), O_RDONLY);
  for (const int kind : {LOCK_EX, LOCK_SH}) {
    ASSERT_EQ(flock(other, kind), 0);
    ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("used.bin"), kNotOpened,
                  {kInterpretLog});
  }
  ASSERT_EQ(flock(other, LOCK_UN), 0);
  EXPECT_EQ(bench.Load("used.bin"), L"");
  EXPECT_EQ(fake::Posts(), PostList{ChunkPost("in use", 0, 1)});
  EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0) << "a load shares its file with nobody";
  bench.ConfirmNewest();
  EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
  close(other);
}

TEST(LoadLineText, SaysNothingAndPostsChunkZeroOfTheFirstFileEver) {
  LoadBench bench;
  const std::string content = LoadContent(5000);
  EXPECT_EQ(bench.LoadNew("a.bin", content), L"");
  EXPECT_EQ(fake::Posts(), PostList{ChunkPost(content, 0, 1)});
  EXPECT_EQ(bench.Module().Log().Lines(), Lines{});
  EXPECT_TRUE(bench.Module().Messages().All().empty());
  EXPECT_TRUE(bench.IsHeld("a.bin"));
  EXPECT_EQ(bench.Controller().GetLoad().Index(), 0);
  EXPECT_EQ(bench.Controller().GetLoad().Count(), 3);
  EXPECT_EQ(bench.Controller().GetLoad().SizeBytes(), 5000u);
}

TEST(LoadLineText, IsTracedAndOfferedToNoChannel) {
  LoadBench bench(LoadBench::Catalogued({.channels = fake::FourChannels()}));
  kivtest::TraceEar ear;
  bench.LoadNew("a.bin", "abc");
  const Lines traces = ear.Lines();
  EXPECT_EQ(
      std::count(traces.begin(), traces.end(), L"[CmdCtrl::GetDiagCmdResponse]is load flash cmd"),
      1);
  EXPECT_TRUE(fake::FakeChannel<0>::State().lines.empty());
  EXPECT_TRUE(fake::FakeChannel<3>::State().lines.empty());
}

TEST(LoadLineText, TakesItsWholeRestAsThePathWithBlanksAndOptions) {
  for (const char* name :
       {"with blank", "a -d 5", "b -r 00:11:22:33:44:55", "c -rf 1", "{1,2}", "$(B<x)", "at@@"}) {
    LoadBench bench;
    SCOPED_TRACE(name);
    bench.Files().Write(name, name);
    EXPECT_EQ(bench.Module().Run(L"ldnv   " + bench.Files().WideFile(name) + L"  "), L"");
    EXPECT_EQ(fake::Posts(), PostList{ChunkPost(name, 0, 1)});
  }
}

TEST(LoadLineText, IsNotRoutedByTheLineBefore) {
  for (const wchar_t* line : {L"put 7 -d 5", L"put 7 -r 00:11:22:33:44:55", L"put 7 -rf 1"}) {
    LoadBench bench;
    bench.Module().Run(line);
    fake::ForgetPosts();
    const std::uint16_t used = bench.Controller().GetSequenceNumber();
    EXPECT_EQ(bench.LoadNew("a.bin", "abc"), L"");
    EXPECT_EQ(fake::Posts(), PostList{ChunkPost("abc", 0, static_cast<std::uint16_t>(used + 1))});
  }
}

TEST(LoadLineText, RefusesEveryNonEmptyFileWithoutAMaximum) {
  LoadBench bench;
  bench.Files().Write("one.bin", "1");
  for (const wchar_t* maximum : {L"0", L"-1", L"-2147483648", L""}) {
    bench.SetMaximum(maximum);
    ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("one.bin"), kTooLarge,
                  {kSizeLog, kInterpretLog});
  }
}

TEST(LoadLineText, TakesSizesWithAllTheirBits) {
  LoadBench bench;
  bench.SetMaximum(L"2147483647");
  for (const std::uintmax_t sizeBytes : {1ull << 31, 1ull << 32, (1ull << 32) + 2048}) {
    WriteHoles(bench, "large.bin", sizeBytes);
    ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("large.bin"), kTooLarge,
                  {kSizeLog, kInterpretLog});
    EXPECT_FALSE(bench.IsHeld("large.bin"));
  }
}

TEST(LoadLineText, WithoutADeviceIsToldOnlyOnceTheFileIsOpen) {
  LoadBench bench(LoadBench::Catalogued({.connected = false}));
  ExpectRefused(bench, L"ldnv", kNoPath, {kInterpretLog});
  ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("missing"), kNoFile, {kInterpretLog});
  bench.Files().Write("empty.bin", "");
  ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("empty.bin"), L"", {kReadLog});
  bench.Files().Write("a.bin", "abc");
  ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("a.bin"), kNotConnected, {kDispatchLog});
  EXPECT_FALSE(bench.IsHeld("a.bin"));
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
  bench.App().SetUEConnectStatus(1);
  EXPECT_EQ(bench.Load("a.bin"), L"");
  EXPECT_EQ(fake::Posts(), PostList{ChunkPost("abc", 0, 1)});
}

// A catalogue whose load command has the given fields, and `more` behind them.
QCString CatalogueWith(const kivtest::TempDir& directory, const std::string& fields,
                       const std::string& more = "") {
  return QCString::FromUtf8(kivtest::CompiledCatalogue(
      directory.path(),
      R"({"format":1,"name":"own","text":"Own.","layout":"packed","types":[)"
      R"({"name":"req","fields":[)" +
          fields +
          R"(]}],"commands":[{"id":"0xabcd","name":"ldnv","request":"req","confirmation":"req")" +
          more + "}]}"));
}

TEST(LoadLineText, FillsTheFirstThreeNodesWhateverTheirWidths) {
  const kivtest::TempDir own;
  LoadBench bench(
      ModuleBench::Options{.catalogue = CatalogueWith(
                               own, R"({"name":"index","type":"u32"},{"name":"count","type":"u8"},)"
                                    R"({"name":"data","type":"u8","count":2050},)"
                                    R"({"name":"more","type":"u8"})")});
  const std::string content = LoadContent(2049);
  EXPECT_EQ(bench.LoadNew("a.bin", content), L"");
  fake::Deliver({{.cmdId = 0xabcd, .tag = 1}});
  LoadBench::RunQueued();
  std::vector<std::uint8_t> first = {0, 0, 0, 0, 2};
  first.insert(first.end(), content.begin(), content.begin() + 2048);
  first.resize(5 + 2050 + 1);
  std::vector<std::uint8_t> second = {1, 0, 0, 0, 2, static_cast<std::uint8_t>(content[2048])};
  second.resize(first.size());
  EXPECT_EQ(fake::Posts(), (PostList{{PostKind::kCmd, 0xabcd, first, 1, 0, 0},
                                     {PostKind::kCmd, 0xabcd, second, 2, 0, 0}}));
}

TEST(LoadLineText, IsRefusedWhereTheCatalogueAllowsNoParameters) {
  const kivtest::TempDir own;
  const QCString catalogue =
      CatalogueWith(own, R"({"name":"index","type":"u16"})", R"(,"combined":"none")");
  LoadBench bench(ModuleBench::Options{.catalogue = catalogue});
  bench.Files().Write("a.bin", "abc");
  ExpectRefused(bench, L"ldnv " + bench.Files().WideFile("a.bin"),
                L"Morv Combined commands not supported.",
                {L"01 CmdCtrl::GetCmd() - err=-1, Morvi Combined Cmd Not Supported!\n",
                 L"01 CmdCtrl::GetCmd() - err=-1, Morv Combined Cmd Not Supported!\n"});
  ExpectRefused(bench, L"ldnv", kNoPath, {kInterpretLog});
}

TEST(LoadLineText, TellsWhatThePostAnsweredAsATypedCommandDoes) {
  struct Row {
    std::uint32_t status;
    std::wstring reply;
    Lines log;
  };
  for (const Row& row : std::vector<Row>{
           {3207,
            L"*** Failed to execute diag command. Connect UE before using any commands.\n",
            {}},
           {23, L"*** Failed to execute diag command. Check MAC path.\n", {}},
           {7,
            L"*** Failed to execute diag command, ret=7\n",
            {L"01 CmdCtrl::DispatchMyCommand() - err=7, Connection Error. Invalid UE ID!\n"}}}) {
    LoadBench bench;
    fake::SetPostStatus(row.status);
    EXPECT_EQ(bench.LoadNew("a.bin", "abc"), row.reply);
    EXPECT_EQ(bench.Module().Log().Lines(), row.log);
    EXPECT_EQ(fake::Posts(), PostList{ChunkPost("abc", 0, 1)});
    EXPECT_FALSE(bench.Controller().IsPeriodRunning());
    EXPECT_FALSE(bench.App().GetIsEnableInstantInd());
    EXPECT_FALSE(bench.IsHeld("a.bin"));
    EXPECT_TRUE(bench.Module().Messages().All().empty());
    // The next line takes its own file, under the next number.
    fake::SetPostStatus(0);
    EXPECT_EQ(bench.LoadNew("other.bin", "defg"), L"");
    EXPECT_EQ(fake::Posts()[1], ChunkPost("defg", 0, 2));
  }
}

TEST(LoadLineText, WithoutPoolMemoryTellsAndHoldsNothing) {
  LoadBench bench;
  bench.Files().Write("a.bin", "abc");
  std::uint64_t failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    ASSERT_LT(n, 1000u);
    const std::uint64_t live = pool::LiveBlocks();
    pool::FailNth(n);
    const std::wstring reply = bench.Load("a.bin");
    const bool failed = pool::Failed();
    pool::FailNth(0);
    if (!failed) break;
    ++failures;
    EXPECT_EQ(pool::LiveBlocks(), live);
    EXPECT_TRUE(fake::Posts().empty());
    EXPECT_FALSE(bench.IsHeld("a.bin"));
    EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
    EXPECT_TRUE(reply ==
                    L"*** Failed to execute diag command. Build diag command packet error. "
                    L"ErrNum =500\n" ||
                reply == L"*** Failed to find cmd id=0x2001, ret=500.\n" || reply.empty());
  }
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(fake::Posts(), PostList{ChunkPost("abc", 0, 1)});
}

TEST(LoadLineText, ProcessingWithoutAnOpenLoadCannotPosition) {
  LoadBench bench;
  bench.Controller().ProcessLoadToFlashCmd(0);
  EXPECT_EQ(bench.Module().Log().Lines(), Lines{kSeekLog});
  EXPECT_TRUE(fake::Posts().empty());
  bench.LoadNew("a.bin", LoadContent(4096));
  bench.Controller().ProcessLoadToFlashCmd(2);
  EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kSeekLog, kReadLog}));
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_FALSE(bench.IsHeld("a.bin"));
}

}  // namespace
