// DecodeReply and RenderReply over a real catalogue: which text a received body becomes.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/base/bench_setup.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/cmd_database.h"
#include "tests/link/render/rendered_rows.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/tree_paths.h"

using namespace kivtest;
using SvcKivClass::DecodeReply;
using SvcKivClass::RenderReply;
using SvcKivClass::ReplyDescriptor;

namespace {

constexpr std::uint32_t kPlain = 4097;
constexpr std::uint32_t kNothing = 4098;
constexpr std::uint32_t kWords = 4099;
constexpr std::uint32_t kNested = 4100;
constexpr std::uint32_t kMute = 4101;
constexpr std::uint32_t kBare = 4102;
constexpr std::uint32_t kHigh = 43981;
constexpr std::uint32_t kUnknown = 0xBEEF;

// id 5, offset -2, name "board", list 1 and 258.
constexpr char kPlainBody[] =
    "05"
    "feff"
    "626f617264000000"
    "0100"
    "0201";

class FakeTexts : public SvcKivClass::ResultCodeTexts {
 public:
  QCString GetResultCodeText(std::uint32_t resultCode) const override {
    return QCString::FromUtf8("<code " + std::to_string(resultCode) + ">");
  }
};

// A body with the room that it has and no more, so that a sanitizer sees what reads beyond it.
class Body {
 public:
  explicit Body(std::string_view hex) : bytes_(FromHex(hex)) {
    bytes_.shrink_to_fit();
    if (bytes_.empty()) bytes_.reserve(1);  // so that an empty one has an address too
  }
  ReplyDescriptor Reply(std::uint32_t cmdId, bool isInd = false,
                        std::uint32_t resultCode = 0) const {
    ReplyDescriptor reply;
    reply.cmdId = cmdId;
    reply.body = bytes_.data();
    reply.bodyLengthBytes = static_cast<std::uint32_t>(bytes_.size());
    reply.resultCode = resultCode;
    reply.isInd = isInd ? 1 : 0;
    return reply;
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

std::string Rendered(std::uint32_t cmdId, std::string_view hex, const RenderFlags& flags = {},
                     bool isInd = false, std::uint32_t resultCode = 0) {
  const Body body(hex);
  QCString text = L"what stood here before";
  RenderReply(FakeTexts(), text, body.Reply(cmdId, isInd, resultCode), cmdId, flags);
  return text.ToUtf8();
}

struct Decoded {
  std::uint32_t status;
  std::vector<std::string> lines;
  bool resultCodeOnly;
};

Decoded DecodeBody(std::uint32_t cmdId, std::string_view hex, bool isInd = false) {
  const Body body(hex);
  QCList<QCString> lines;
  Decoded decoded = {77, {}, false};
  decoded.status = DecodeReply(cmdId, body.Reply(cmdId, isInd), {}, lines, decoded.resultCodeOnly);
  for (const QCString& line : lines) decoded.lines.push_back(line.ToUtf8());
  return decoded;
}

void UseCatalogue(const std::string& path) {
  bench::Setup setup;
  setup.catalogue = QCString::FromUtf8(path);
  bench::SetSetup(setup);
}

// The process works with a catalogue compiled from replies.json.
class DecodedReply : public testing::Test {
 protected:
  void SetUp() override {
    const std::string catalogue = folder_.Path("replies.kcat");
    const std::string command = std::string("'") + BuildDir() + "/bin/kivcat' build '" +
                                SourceDir() + "/tests/link/render/replies.json' -o '" + catalogue +
                                "'";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    UseCatalogue(catalogue);
    CCmdDatabase database;
    QCList<CmdInfo> commands;
    ASSERT_EQ(database.EnumCommands(commands, 3, 256, 0, 0), 0u);
    ASSERT_EQ(commands.GetCount(), 7u);
  }
  ScratchFolder folder_;
};

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(DecodedReply, BodyBecomesAlignedLines) {
  EXPECT_EQ(Rendered(kPlain, kPlainBody),
            ".id     = 5 \n.offset = -2 \n.name   = board \nlist[0] = 1 \nlist[1] = 258 \n");
}

TEST_F(DecodedReply, DisplayFlagsReachTheText) {
  EXPECT_EQ(Rendered(kPlain, kPlainBody, {true, true, false}),
            ".id     = 0x05 \n.offset = 0x0000 \n.name   = board \n.list   = 0x0001,0x0102 \n");
  EXPECT_EQ(Rendered(kPlain, kPlainBody, {false, true, true}),
            ".id     = 5  \n.offset = -2  \n.name   = board  \n.list   = 1,258  u16\n");
}

TEST_F(DecodedReply, NestedStructuresAndTheirArraysAreShown) {
  EXPECT_EQ(Rendered(kNested,
                     "01000000"
                     "ffffffff"
                     "02000000"
                     "03000000"
                     "04000000"
                     "05000000"
                     "0600000000000000"),
            ".origin     =  \n"
            "..x         = 1 \n"
            "..y         = -1 \n"
            "..points[0] =  \n"
            "...x        = 2 \n"
            "...y        = 3 \n"
            "..points[1] =  \n"
            "...x        = 4 \n"
            "...y        = 5 \n"
            ".wide       = 6 \n");
}

TEST_F(DecodedReply, IndicationsHaveTheirOwnStructure) {
  EXPECT_EQ(Rendered(kPlain, "07000000", {}, true), ".event = 7 \n");
  EXPECT_EQ(Rendered(kPlain, "07000000", {}, false), "<code 0> [ack(0x1001)]");
}

TEST_F(DecodedReply, AnyNonZeroIndicationFlagMeansIndication) {
  const Body body("07000000");
  ReplyDescriptor reply = body.Reply(kPlain);
  reply.isInd = 0x80000000;
  QCString text;
  RenderReply(FakeTexts(), text, reply, kPlain, {});
  EXPECT_EQ(text.ToUtf8(), ".event = 7 \n");
}

TEST_F(DecodedReply, NullStructureInAnyCaseShowsTheResultCodeOnly) {
  EXPECT_EQ(Rendered(kNothing, "01", {}, false, 9), "<code 9>");
  const Decoded decoded = DecodeBody(kNothing, "01");
  EXPECT_EQ(decoded.status, 0u);
  EXPECT_EQ(decoded.lines, Lines{});
  EXPECT_TRUE(decoded.resultCodeOnly);
}

TEST_F(DecodedReply, StructureWithoutFieldsShowsTheResultCodeOnly) {
  EXPECT_EQ(Rendered(kBare, "", {}, false, 9), "<code 9>");
  EXPECT_EQ(Rendered(kBare, "", {}, false, 0), "<code 0>");
}

TEST_F(DecodedReply, StringResultIsItsTextAlone) {
  EXPECT_EQ(Rendered(kWords, "68656c6c6f00000000000000000000ff"), "hello  ");
  EXPECT_EQ(DecodeBody(kWords, "68656c6c6f00000000000000000000ff").lines, Lines{"hello  "});
}

TEST_F(DecodedReply, StringResultWithoutTextIsEmpty) {
  EXPECT_EQ(Rendered(kWords, "00000000000000000000000000000000", {}, false, 9), "");
}

TEST_F(DecodedReply, BodyThatDoesNotFitShowsTheAcknowledgement) {
  EXPECT_EQ(Rendered(kPlain, "05", {}, false, 3), "<code 3> [ack(0x1001)]");
  EXPECT_EQ(Rendered(kPlain, std::string(kPlainBody) + "00", {}, false, 4),
            "<code 4> [ack(0x1001)]");
  EXPECT_EQ(Rendered(kHigh, "01", {}, false, 5), "<code 5> [ack(0xABCD)]");
}

TEST_F(DecodedReply, UnknownCommandShowsTheAcknowledgement) {
  EXPECT_EQ(Rendered(kUnknown, "01", {}, false, 8), "<code 8> [ack(0xBEEF)]");
  const Decoded decoded = DecodeBody(kUnknown, "01");
  EXPECT_NE(decoded.status, 0u);
  EXPECT_EQ(decoded.lines, Lines{});
  EXPECT_FALSE(decoded.resultCodeOnly);
}

TEST_F(DecodedReply, AcknowledgementNamesTheCommandThatWasHandedIn) {
  const Body body("01");
  QCString text;
  RenderReply(FakeTexts(), text, body.Reply(kUnknown), 0xFFFFFFFF, {});
  EXPECT_EQ(text.ToUtf8(), "<code 0> [ack(0xFFFFFFFF)]");
  RenderReply(FakeTexts(), text, body.Reply(0xFFFFFFFF), 0xA, {});
  EXPECT_EQ(text.ToUtf8(), "<code 0> [ack(0xA)]");
}

TEST_F(DecodedReply, CommandWithoutSuchAStructureIsNotSupported) {
  EXPECT_EQ(Rendered(kMute, "01000000", {}, false, 6), "Not supported!");
  EXPECT_EQ(Rendered(kNested, "01000000", {}, true, 6), "Not supported!");
  const Decoded decoded = DecodeBody(kMute, "01000000");
  EXPECT_EQ(decoded.status, 0u);
  EXPECT_EQ(decoded.lines, Lines{"Not supported!"});
  EXPECT_FALSE(decoded.resultCodeOnly);
}

TEST_F(DecodedReply, EveryFailedAllocationSaysSoAndNothingLeaks) {
  const std::uint64_t before = pool::LiveBlocks();
  bool failed = true;
  int failures = 0;
  for (std::uint64_t n = 1; failed; ++n) {
    ASSERT_LT(n, 1000u);
    pool::FailNth(n);
    const Decoded decoded = DecodeBody(kPlain, kPlainBody);
    failed = pool::Failed();
    pool::FailNth(0);
    EXPECT_EQ(decoded.status, 0u);
    EXPECT_FALSE(decoded.resultCodeOnly);
    if (failed) {
      ++failures;
      EXPECT_EQ(decoded.lines, Lines{"Not enough memory!"}) << n;
    } else {
      EXPECT_EQ(decoded.lines.size(), 5u);
    }
    EXPECT_EQ(pool::LiveBlocks(), before);
  }
  RecordProperty("failures", failures);
}

// In a process of its own: a catalogue that was opened once goes on being used.
TEST(ReplyWithoutCatalogue, MissingCatalogueFileSaysSo) {
  const auto rendered = [] {
    UseCatalogue("/nonexistent/none.kcat");
    CCmdDatabase database;
    QCList<CmdInfo> commands;
    std::string outcome = std::to_string(database.EnumCommands(commands, 3, 256, 0, 0));
    const Decoded decoded = DecodeBody(kPlain, kPlainBody);
    outcome += " " + std::to_string(decoded.status) + (decoded.resultCodeOnly ? " only " : " ");
    for (const std::string& line : decoded.lines) outcome += "(" + line + ")";
    outcome += " " + Rendered(kPlain, kPlainBody, {}, false, 7) + ".";
    std::fputs(outcome.c_str(), stderr);
    std::exit(0);
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(rendered(), testing::ExitedWithCode(0),
              "^51 0 .No ZEBM data library file found!. No ZEBM data library file found!.$");
}

TEST_F(DecodedReply, HandledStatusesAreTranslated) {
  class MarkingTranslator : public QTranslator {
   public:
    QString translate(const char*, const char* sourceText, const char*, int) const override {
      return QLatin1Char('[') + QString::fromUtf8(sourceText) + QLatin1Char(']');
    }
    bool isEmpty() const override { return false; }
  };
  int argc = 1;
  char name[] = "test";
  char* argv[] = {name, nullptr};
  QCoreApplication application(argc, argv);
  MarkingTranslator translator;
  QCoreApplication::installTranslator(&translator);
  EXPECT_EQ(Rendered(kMute, "01000000"), "[Not supported!]");
  EXPECT_EQ(Rendered(kPlain, "07000000", {}, true), ".event = 7 \n");
  QCoreApplication::removeTranslator(&translator);
}
