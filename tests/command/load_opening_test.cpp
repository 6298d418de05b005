// What a load line answers when it does not send a chunk, and what it leaves in the log.
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/os/files.h"
#include "tests/fakes/load_bench.h"
#include "tests/fakes/written_texts.h"
#include "tests/support/unprivileged.h"

namespace {

using kivtest::LoadBench;
using kivtest::LoadContent;
using Lines = std::vector<std::wstring>;

const std::wstring kEnterPath = L"Enter a file path.\n";
const std::wstring kEnterValidPath = L"Enter a valid file path.\n";
const std::wstring kNotOpened = L"Failed to open file. Check the file.\n";
const std::wstring kTooLarge =
    L"The file size exceeds the maximum value. Select another file to load.\n";
const std::wstring kOpeningFailed =
    L"01 CmdCtrl::GetDiagCmdResponse() - err=-1, InterpretLoadFlashCmdParam Error!\n";
const std::wstring kSizeFailed =
    L"01 CmdCtrl::InterpretLoadFlashCmdParam() - err=0, Get File Size Error!\n";
const std::wstring kReadFailed = L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=0, ReadFile Error!\n";

// Nothing was posted and nothing is open.
void ExpectNothingSent(LoadBench& bench) {
  EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
  EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
  EXPECT_EQ(bench.Module().Messages().Texts(), Lines());
}

TEST(LoadOpening, AsksForAPath) {
  for (const wchar_t* line : {L"ldnv", L"LDNV", L" ldnv  "}) {
    LoadBench bench;
    EXPECT_EQ(bench.Module().Run(line), kEnterPath);
    EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kOpeningFailed}));
    ExpectNothingSent(bench);
  }
}

TEST(LoadOpening, AsksForAPathThatExists) {
  LoadBench bench;
  bench.Files().Write("file", "x");
  std::filesystem::create_symlink(bench.Files().File("nowhere"), bench.Files().File("dangling"));
  for (const std::wstring& path :
       {bench.Files().WideFile("missing"), bench.Files().WideFile("file/below"),
        bench.Files().WideFile("file extra"), bench.Files().WideFile("dangling"),
        std::wstring(16380, L'x'), std::wstring(16400, L'x')}) {
    EXPECT_EQ(bench.Module().Run(L"ldnv " + path), kEnterValidPath);
  }
  EXPECT_EQ(bench.Module().Log().Lines().back(), kOpeningFailed);
  ExpectNothingSent(bench);
}

TEST(LoadOpening, TakesBlanksWithinAPath) {
  LoadBench bench;
  EXPECT_EQ(bench.LoadNew("a name -d 5 -r x", "content"), L"");
  EXPECT_EQ(fake::Posts().size(), 1u);
  EXPECT_EQ(fake::Posts().back().word, 0u);
}

TEST(LoadOpening, RefusesWhatIsNoRegularFileWithoutWaiting) {
  LoadBench bench;
  ASSERT_EQ(mkfifo(bench.Files().File("pipe").c_str(), 0600), 0);
  for (const std::wstring& path :
       {bench.Files().WideFile("pipe"), bench.Files().WidePath(), std::wstring(L"/dev/zero")}) {
    EXPECT_EQ(bench.Module().Run(L"ldnv " + path), kNotOpened);
  }
  EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kOpeningFailed, kOpeningFailed, kOpeningFailed}));
  ExpectNothingSent(bench);
}

TEST(LoadOpening, RefusesAFileThatTheUserMayNotRead) {
  LoadBench bench;
  bench.Files().Write("secret", "x");
  std::filesystem::permissions(bench.Files().path(), std::filesystem::perms(0755));
  std::filesystem::permissions(bench.Files().File("secret"), std::filesystem::perms::none);
  EXPECT_TRUE(kivtest::HoldsUnprivileged([&] {
    return bench.Load("secret") == kNotOpened && fake::Posts().empty() &&
           !bench.Controller().GetLoad().IsOpen();
  }));
}

TEST(LoadOpening, RefusesAFileThatIsInUse) {
  LoadBench bench;
  bench.Files().Write("file", "x");
  HANDLE other = CreateFileW(bench.Files().WideFile("file").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(bench.Load("file"), kNotOpened);
  ExpectNothingSent(bench);
  CloseHandle(other);
  EXPECT_EQ(bench.Load("file"), L"");
  EXPECT_EQ(CreateFileW(bench.Files().WideFile("file").c_str(), GENERIC_READ, 0, nullptr,
                        OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
}

TEST(LoadOpening, HoldsTheMaximumOfTheSettingsToTheByte) {
  LoadBench bench;
  bench.SetMaximum(L"5000");
  EXPECT_EQ(bench.LoadNew("above", LoadContent(5001)), kTooLarge);
  EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kSizeFailed, kOpeningFailed}));
  EXPECT_FALSE(bench.IsHeld("above"));
  ExpectNothingSent(bench);
  EXPECT_EQ(bench.LoadNew("at", LoadContent(5000)), L"");
  bench.ConfirmAll();
  EXPECT_EQ(fake::Posts().size(), 3u);
}

TEST(LoadOpening, ReadsTheMaximumEachTime) {
  LoadBench bench;
  bench.Files().Write("file", LoadContent(100));
  for (const auto& [maximum, reply] : std::vector<std::pair<const wchar_t*, std::wstring>>{
           {L"99", kTooLarge}, {L"100", L""}, {L"-1", kTooLarge}, {L"x", kTooLarge}}) {
    bench.SetMaximum(maximum);
    EXPECT_EQ(bench.Load("file"), reply) << QCString(maximum).ToUtf8();
    if (reply.empty()) bench.ConfirmAll();
  }
}

TEST(LoadOpening, RefusesEveryFileButAnEmptyOneWithoutSettings) {
  kivtest::ScratchSetup setup(1, kivtest::TestCatalogue("load_commands"));
  const kivtest::TempDir files;
  files.Write("file", "x");
  files.Write("empty", "");
  kivtest::CoreApplication();
  SvcKivClass::LiveSwitches switches;
  SvcKivClass::ServiceContext context;
  context.switches = &switches;
  switches.ueConnectStatus = 1;
  CmdCtrl controller(CmdCtrlParts{.context = context, .channels = {}});
  controller.Initial();
  QCString reply;
  controller.GetDiagCmdResponse((L"ldnv " + files.WideFile("file")).c_str(), reply);
  EXPECT_EQ(reply, kTooLarge.c_str());
  controller.GetDiagCmdResponse((L"ldnv " + files.WideFile("empty")).c_str(), reply);
  EXPECT_EQ(reply, L"");
}

TEST(LoadOpening, AnswersNothingToAnEmptyFileAndLogsTheShortRead) {
  LoadBench bench;
  EXPECT_EQ(bench.LoadNew("empty", ""), L"");
  EXPECT_EQ(bench.Module().Log().Lines(), (Lines{kReadFailed}));
  EXPECT_FALSE(bench.IsHeld("empty"));
  ExpectNothingSent(bench);
  EXPECT_EQ(bench.LoadNew("file", "x"), L"");
  EXPECT_EQ(fake::Posts().size(), 1u);
}

TEST(LoadOpening, CountsUpToSixteenBitsAndNoFurther) {
  LoadBench bench;
  bench.SetMaximum(L"2147483647");
  bench.Files().Write("large", "");
  for (std::uintmax_t sizeBytes :
       {std::uintmax_t{134'215'681}, std::uintmax_t{1} << 28, (std::uintmax_t{1} << 32) + 1}) {
    std::filesystem::resize_file(bench.Files().File("large"), sizeBytes);
    EXPECT_EQ(bench.Load("large"), kTooLarge) << sizeBytes;
  }
  EXPECT_EQ(bench.Module().Log().Lines()[0], kSizeFailed);
  ExpectNothingSent(bench);
  std::filesystem::resize_file(bench.Files().File("large"), 134'215'680);
  EXPECT_EQ(bench.Load("large"), L"");
  EXPECT_EQ(bench.Controller().GetLoad().Count(), 65535);
  std::vector<std::uint8_t> first(4 + kivtest::kLoadChunkBytes);
  first[2] = first[3] = 0xFF;
  EXPECT_EQ(fake::Posts().back().body, first);
}

TEST(LoadOpening, OfALargeFileGoesOnToItsLastChunk) {
  LoadBench bench;
  bench.SetMaximum(L"134215680");
  bench.Files().Write("large", "");
  std::filesystem::resize_file(bench.Files().File("large"), 134'215'680);
  bench.Load("large");
  for (int index = 1; index < 65535; ++index) {
    const std::uint16_t tag = bench.Controller().GetSequenceNumber();
    if (index % 1000 == 0) fake::ForgetPosts();
    bench.Confirm(tag);
  }
  ASSERT_TRUE(bench.Controller().GetLoad().IsOpen());
  std::vector<std::uint8_t> last(4 + kivtest::kLoadChunkBytes);
  last[0] = 0xFE;
  last[1] = last[2] = last[3] = 0xFF;
  EXPECT_EQ(fake::Posts().back().body, last);
  // 65535 is never used as a number: the 65535th post carries 0.
  EXPECT_EQ(fake::Posts().back().tag, 0);
  bench.ConfirmNewest();
  EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
}

TEST(LoadOpening, SaysThatTheFileIsTooLargeWhenItsSizeIsNotKnown) {
  LoadBench bench;
  fake::FailStep("GetFileSize", 5);
  EXPECT_EQ(bench.LoadNew("file", "x"), kTooLarge);
  EXPECT_EQ(bench.Module().Log().Lines(),
            (Lines{L"01 CmdCtrl::InterpretLoadFlashCmdParam() - err=5, Get File Size Error!\n",
                   kOpeningFailed}));
  EXPECT_FALSE(bench.IsHeld("file"));
  ExpectNothingSent(bench);
}

TEST(LoadOpening, IsWrittenIntoTheTraces) {
  LoadBench bench;
  kivtest::TraceEar traces;
  bench.Module().Run(L"LdNv");
  EXPECT_EQ(traces.Lines(), (Lines{L"[CmdCtrl::GetDiagCmdResponse]is load flash cmd"}));
}

TEST(LoadOpening, NeedsTheCommandOfTheCatalogue) {
  kivtest::ModuleBench bench;  // its catalogue has no such command
  const kivtest::TempDir files;
  files.Write("file", "x");
  EXPECT_EQ(bench.Run(L"ldnv " + files.WideFile("file")),
            L"*** Failed to find cmd id=0x0, ret=521.\n");
  EXPECT_EQ(
      bench.Log().Lines(),
      (Lines{L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, DispatchLoadFlashCmd Error!\n"}));
  EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
  EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
}

// A request that has no room for a chunk: nothing is posted, and the log says so.
TEST(LoadOpening, NeedsFieldsThatHoldAChunk) {
  const kivtest::TempDir files;
  files.Write("file", LoadContent(2048));
  const std::string typesHead =
      R"({"format": 1, "name": "own", "layout": "packed", "types": [{"name": "chunk", "fields": [)";
  const std::string commands =
      R"(]}], "commands": [{"id": "0x2001", "name": "ldnv", "request": "chunk"}]})";
  const std::string number = R"({"name": "number", "type": "u16"})";
  for (const std::string& fields : {number, number + "," + R"({"name": "count", "type": "u16"})",
                                    number + "," + R"({"name": "count", "type": "u16"},)" +
                                        R"({"name": "data", "type": "u8", "count": 2047})"}) {
    const std::string catalogue =
        kivtest::CompiledCatalogue(files.path(), typesHead + fields + commands);
    ASSERT_NE(catalogue, "");
    kivtest::ModuleBench bench({.catalogue = QCString::FromUtf8(catalogue)});
    EXPECT_EQ(bench.Run(L"ldnv " + files.WideFile("file")), L"");
    EXPECT_EQ(
        bench.Log().Lines(),
        (Lines{L"01 CmdCtrl::ProcessLoadToFlashCmd() - err=-1, DispatchLoadFlashCmd Error!\n"}));
    EXPECT_EQ(fake::Posts(), std::vector<fake::Post>());
    EXPECT_FALSE(bench.Controller().GetLoad().IsOpen());
    EXPECT_EQ(bench.Controller().GetSequenceNumber(), 0);
  }
}

TEST(LoadOpening, FindsTheCommandWhateverTheCaseOfTheWord) {
  LoadBench bench;
  bench.Files().Write("file", "x");
  EXPECT_EQ(bench.Module().Run(L"LDNV " + bench.Files().WideFile("file")), L"");
  EXPECT_EQ(fake::Posts().back().cmdId, kivtest::kLoadCmdId);
}

}  // namespace
