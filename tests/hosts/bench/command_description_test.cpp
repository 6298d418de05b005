// Commands described: texts, and the line that types every default.
#include "hosts/bench/command_description.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "command/packet/diag_packet.h"
#include "hosts/bench/command_index.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/os/utf8.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/hex.h"
#include "tests/support/sweep.h"
#include "tests/support/tree_paths.h"

using hostbench::CommandDescription;

namespace {

// Types the description's line as the module reads it, and expects the body of the defaults.
void ExpectLineFillsDefaults(const CmdInfo& command, const QCString& catalogue) {
  CommandDescription description;
  ASSERT_EQ(hostbench::Describe(command, catalogue, description), 0u);
  if (!description.isSendable) {
    EXPECT_EQ(description.line, L"");
    return;
  }
  SvcKivClass::DiagPacket typed(command.GetId(), catalogue);
  ASSERT_EQ(typed.QueryDefaults(), 0u);
  const std::string line = os::WideToUtf8(description.line);
  ASSERT_TRUE(description.line.starts_with(description.name)) << line;
  std::wstring rest = description.line.substr(description.name.size());
  rest.erase(0, rest.find_first_not_of(L' '));
  if (description.takesText || !description.lineAllowed) {
    EXPECT_EQ(rest, L"");
    return;
  }
  EXPECT_EQ(rest.empty(), description.shape.Fields().empty()) << line;
  typed.SplitRest(QCString(rest));
  EXPECT_EQ(typed.FillParameters(), 0u) << line << typed.Reply().ToUtf8();
  EXPECT_TRUE(typed.MacPath().IsEmpty()) << line;
  ASSERT_EQ(typed.Encode(), 0u);
  EXPECT_EQ(kivtest::ToHex(typed.Body(), typed.BodyLengthBytes()),
            kivtest::ToHex(description.shape.DefaultBody()))
      << line;
}

QCString BoardPath() {
  return QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/share/kiv/board.kcat");
}

std::string Described(const wchar_t* name, const QCString& catalogue) {
  std::vector<CmdInfo> commands;
  EXPECT_EQ(hostbench::ReadCommands(catalogue, commands), 0u);
  const hostbench::CommandIndex index(std::move(commands));
  const std::uint32_t at = index.IndexOf(name);
  if (at == hostbench::CommandIndex::kNone) return "no such command";
  CommandDescription description;
  EXPECT_EQ(hostbench::Describe(index.At(at), catalogue, description), 0u);
  return os::WideToUtf8(hostbench::DescriptionText(description));
}

TEST(CommandDescription, TypesTheDefaultsOfEveryCommandThatShips) {
  std::vector<CmdInfo> commands;
  ASSERT_EQ(hostbench::ReadCommands(BoardPath(), commands), 0u);
  ASSERT_GT(commands.size(), 10u);
  for (const CmdInfo& command : commands) ExpectLineFillsDefaults(command, BoardPath());
}

TEST(CommandDescription, TypesTheDefaultsOfCommandsMadeByChance) {
  const QCString path =
      QCString::FromUtf8(std::string(kivtest::BuildDir()) + "/generated/large.kcat");
  std::vector<CmdInfo> commands;
  ASSERT_EQ(hostbench::ReadCommands(path, commands), 0u);
  CCmdDatabase open(path);  // as the module has it, so that it is not read anew each time
  ASSERT_TRUE(open.IsCmdIdInWhiteList(hostbench::CommandIdText(commands[0].GetId()).c_str()));
  const auto count = static_cast<std::size_t>(kivtest::SweepCount(5000));
  const std::size_t step = std::max<std::size_t>(1, commands.size() / count);
  for (std::size_t i = 0; i < commands.size() && !HasFailure(); i += step) {
    ExpectLineFillsDefaults(commands[i], path);
  }
}

// A catalogue with one of everything.
class DescribedCommand : public testing::Test {
 protected:
  void SetUp() override {
    using catalogue::Scalar;
    kivtest::ModelMaker maker;
    catalogue::Enumeration mode;
    mode.name = "mode";
    mode.base = Scalar::kI8;
    mode.values = {{"off", static_cast<std::uint64_t>(-1), "switched off"}, {"on", 1, ""}};
    maker.Model().enumerations.push_back(mode);
    maker.Structure("point").Scalar("x", Scalar::kI16).Scalar("y", Scalar::kU8).End();
    maker.Structure("all_req");
    catalogue::Structure& all = maker.Model().structures.back();
    all.text = "One of everything.";
    catalogue::Field field;
    field.name = "mode";
    field.kind = catalogue::FieldKind::kEnumeration;
    field.scalar = Scalar::kI8;
    field.text = "how it works";
    all.fields.push_back(field);
    maker.Nested("at", 0)
        .Scalar("name", Scalar::kChar, 4)
        .Scalar("table", Scalar::kU16, 3)
        .Nested("points", 0, 2)
        .Scalar("wide", Scalar::kI64)
        .End(std::string("\xFF\xFE\xFF\x05"
                         "ab\0\0\1\0\2\0\3\0"
                         "\7\0\1\7\0\1"
                         "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF",
                         28));
    maker.Structure("dbk_str_type").Scalar("text", Scalar::kChar, 8).End();
    maker.Command(0x1F, "everything", 1, 0);
    maker.Command(0x20, "nothing", -1, 0);
    maker.Command(0x21, "say", 2, 0);
    maker.Command(0x23, "notice", -1, -1, 0);
    maker.Command(0x22, "alone", 1, 0).combined = catalogue::Combined::kNone;
    path_ = QCString::FromUtf8(folder_.File("c.kcat"));
    kivtest::WriteBytes(folder_.File("c.kcat"), maker.Bytes());
  }

  kivtest::TempFolder folder_;
  QCString path_;
};

TEST_F(DescribedCommand, HasARowForEachFieldAndTheLineThatTypesIt) {
  EXPECT_EQ(Described(L"everything", path_),
            "everything (0x1f), group\n"
            "  text of everything\n"
            "all_req: One of everything.\n"
            "  mode         mode     -1 (off)  -128 to 127  how it works\n"
            "               -1 off: switched off\n"
            "               1 on\n"
            "  at.x         i16      -2        -32768 to 32767\n"
            "  at.y         u8       5         0 to 255\n"
            "  name         char[4]  \"ab\"      0 to 255\n"
            "  table        u16[3]   1, 2, 3   0 to 65535\n"
            "  points[0].x  i16      7         -32768 to 32767\n"
            "  points[0].y  u8       1         0 to 255\n"
            "  points[1].x  i16      7         -32768 to 32767\n"
            "  points[1].y  u8       1         0 to 255\n"
            "  wide         i64      -1        0 to 4294967295\n"
            "everything {-1,{-2,5},[97,98,0,0],[1,2,3],{{7,1},{7,1}},}\n");
}

TEST_F(DescribedCommand, SaysWhatTakesNoFields) {
  EXPECT_EQ(Described(L"nothing", path_),
            "nothing (0x20), group\n  text of nothing\n  takes no parameters\n");
  EXPECT_EQ(Described(L"say", path_),
            "say (0x21), group\n  text of say\n  takes its text as it is typed\n");
  EXPECT_EQ(Described(L"notice", path_),
            "notice (0x23), group\n  text of notice\n  is not sent: it comes as an indication\n");
}

TEST_F(DescribedCommand, TypesNoParametersWhereTheCatalogueWantsNone) {
  const std::string text = Described(L"alone", path_);
  EXPECT_TRUE(text.ends_with("not to be sent with parameters; without them:\nalone\n")) << text;
}

TEST_F(DescribedCommand, TypesDefaultsThatNoTypedNumberReachesByLeavingThemOut) {
  std::vector<CmdInfo> commands;
  ASSERT_EQ(hostbench::ReadCommands(path_, commands), 0u);
  for (const CmdInfo& command : commands) ExpectLineFillsDefaults(command, path_);
}

TEST_F(DescribedCommand, AnswersTheStatusOfACommandThatIsNotThere) {
  CommandDescription description;
  const CmdInfo stranger = CmdInfo::Make(0x77, L"stranger", L"", L"", 0, 0);
  EXPECT_EQ(hostbench::Describe(stranger, path_, description), 521u);
}

TEST(CommandDescription, KeepsEachTextOfTheCatalogueInItsRow) {
  kivtest::TempFolder folder;
  kivtest::ModelMaker maker;
  catalogue::Enumeration mode;
  mode.name = "mode";
  mode.base = catalogue::Scalar::kI8;
  mode.values = {{"off", 0, "a\nb"}};
  maker.Model().enumerations.push_back(mode);
  maker.Structure("posing");
  catalogue::Field field;
  field.name = "mode";
  field.kind = catalogue::FieldKind::kEnumeration;
  field.scalar = catalogue::Scalar::kI8;
  field.text = "c\n  x  u8  0  0 to 1\td";
  maker.Model().structures.back().text = "e\nf";
  maker.Model().structures.back().fields.push_back(field);
  maker.End(std::string(1, '\0'));
  catalogue::Command& command = maker.Command(0x1F, "poser", 0, 0);
  command.text = "g\nh";
  command.group = "i\tj";
  kivtest::WriteBytes(folder.File("c.kcat"), maker.Bytes());
  EXPECT_EQ(Described(L"poser", QCString::FromUtf8(folder.File("c.kcat"))),
            "poser (0x1f), i\\x09j\n"
            "  g\\x0ah\n"
            "posing: e\\x0af\n"
            "  mode  mode  0 (off)  -128 to 127  c\\x0a  x  u8  0  0 to 1\\x09d\n"
            "        0 off: a\\x0ab\n"
            "poser {0}\n");
}

TEST(CommandDescription, SaysThatALineIsTooLong) {
  kivtest::TempFolder folder;
  kivtest::ModelMaker maker;
  maker.Structure("long_req").Scalar("table", catalogue::Scalar::kU8, 9000).End();
  maker.Command(1, "long", 0, 0);
  kivtest::WriteBytes(folder.File("c.kcat"), maker.Bytes());
  const QCString path = QCString::FromUtf8(folder.File("c.kcat"));
  const std::string text = Described(L"long", path);
  EXPECT_TRUE(text.ends_with(
      "too many defaults for one line; without parameters it sends the same:\nlong\n"))
      << text;
  std::vector<CmdInfo> commands;
  ASSERT_EQ(hostbench::ReadCommands(path, commands), 0u);
  ExpectLineFillsDefaults(commands[0], path);
}

}  // namespace
