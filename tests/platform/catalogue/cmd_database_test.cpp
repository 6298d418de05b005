// Enumeration, white lists, host words, and re-reading of a changed file.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/param_codec.h"
#include "tests/platform/catalogue/catalogue_fixture.h"

namespace {

using catalogue::Scalar;
using kivtest::ModelMaker;
using kivtest::WidePath;

constexpr std::uint32_t kAll = 3;
constexpr std::uint32_t kChannel = 256;

ModelMaker SampleModel() {
  ModelMaker maker;
  maker.Structure("value").Scalar("x", Scalar::kU8).End();
  maker.Structure("dbk_str_type_stru").Scalar("text", Scalar::kChar, 8).End();
  maker.Command(0x30, "third", 0, 0);
  maker.Command(0x10, "first", -1, 1);
  maker.Command(0x20, "tick", -1, -1, 0);
  maker.Command(0x10, "first_again", -1, 1);
  maker.Command(0x40, "hidden", 0).listed = false;
  maker.Command(0x50, "alone", 0).combined = catalogue::Combined::kNone;
  catalogue::Command& picky = maker.Command(0x60, "picky", 0);
  picky.combined = catalogue::Combined::kListed;
  picky.combinedTexts = {"1", "{2}", "\xC3\xA4"};
  maker.Model().hostWords = {"dir", "Cls", "\xC3\xA4"};
  return maker;
}

class CmdDatabase : public testing::Test {
 protected:
  void SetUp() override {
    path_ = folder_.File("sample.kcat");
    kivtest::WriteBytes(path_, SampleModel().Bytes());
  }

  std::vector<std::wstring> Names(CCmdDatabase& database, std::uint32_t scope,
                                  std::uint32_t channel) {
    QCList<CmdInfo> list;
    EXPECT_EQ(database.EnumCommands(list, scope, channel, 0, 0), 0u);
    std::vector<std::wstring> names;
    for (const CmdInfo& info : list) names.emplace_back(info.GetName());
    return names;
  }

  kivtest::TempFolder folder_;
  std::string path_;
};

TEST_F(CmdDatabase, CommandsComeByIdAndEqualIdsAsTheSourceHasThem) {
  CCmdDatabase database(WidePath(path_));
  EXPECT_EQ(Names(database, kAll, kChannel),
            (std::vector<std::wstring>{L"first", L"first_again", L"tick", L"third", L"hidden",
                                       L"alone", L"picky"}));
}

TEST_F(CmdDatabase, ScopeMaskSelectsSendableCommandsAndIndications) {
  CCmdDatabase database(WidePath(path_));
  EXPECT_EQ(Names(database, 2, kChannel), (std::vector<std::wstring>{L"tick"}));
  EXPECT_EQ(Names(database, 1, kChannel).size(), 6u);
  EXPECT_EQ(Names(database, 0, kChannel), (std::vector<std::wstring>{}));
  EXPECT_EQ(Names(database, kAll, 0), (std::vector<std::wstring>{}));
}

TEST_F(CmdDatabase, InfoCarriesIdTextsAndKinds) {
  CCmdDatabase database(WidePath(path_));
  QCList<CmdInfo> list;
  ASSERT_EQ(database.EnumCommands(list, kAll, kChannel, 0, 0), 0u);
  EXPECT_EQ(list[0].GetId(), 0x10u);
  EXPECT_TRUE(list[0].GetDescription() == L"text of first");
  EXPECT_TRUE(list[0].GetGroup() == L"group");
  EXPECT_EQ(list[0].GetCnfKind(), 2u);
  EXPECT_EQ(list[0].GetIndKind(), 0u);
  EXPECT_EQ(list[2].GetCnfKind(), 0u);
  EXPECT_EQ(list[2].GetIndKind(), 1u);
  EXPECT_EQ(list[3].GetCnfKind(), 1u);
  EXPECT_TRUE(list[6].GetDescription() == L"text of picky");
}

TEST_F(CmdDatabase, EnumerationIsAppendedAndOutlivesTheDatabase) {
  QCList<CmdInfo> list;
  list.AddTail(CmdInfo::Make(7, L"help", L"caption", L"g", 1, 2));
  {
    CCmdDatabase database(WidePath(path_));
    ASSERT_EQ(database.EnumCommands(list, kAll, kChannel, 0, 0), 0u);
  }
  ASSERT_EQ(list.GetCount(), 8u);
  EXPECT_STREQ(list[0].GetName(), L"help");
  EXPECT_EQ(list[0].GetId(), 7u);
  EXPECT_TRUE(list[0].GetDescription() == L"caption");
  EXPECT_TRUE(list[0].GetGroup() == L"g");
  EXPECT_EQ(list[0].GetCnfKind(), 1u);
  EXPECT_EQ(list[0].GetIndKind(), 2u);
  EXPECT_STREQ(list[7].GetName(), L"picky");
}

TEST(CmdInfo, EmptyOneHasEmptyTexts) {
  const CmdInfo info;
  EXPECT_STREQ(info.GetName(), L"");
  EXPECT_EQ(info.GetId(), 0u);
  EXPECT_TRUE(info.GetDescription().IsEmpty());
  EXPECT_TRUE(info.GetGroup().IsEmpty());
}

TEST_F(CmdDatabase, FailedEnumerationAppendsNothing) {
  QCList<CmdInfo> list;
  list.AddTail(CmdInfo());
  CCmdDatabase missing(WidePath(folder_.File("missing.kcat")));
  EXPECT_EQ(missing.EnumCommands(list, kAll, kChannel, 0, 0), 51u);
  EXPECT_EQ(list.GetCount(), 1u);
  CCmdDatabase folder(WidePath(folder_.File("")));
  EXPECT_EQ(folder.EnumCommands(list, kAll, kChannel, 0, 0), 53u);
  kivtest::WriteBytes(folder_.File("empty.kcat"), "");
  CCmdDatabase empty(WidePath(folder_.File("empty.kcat")));
  EXPECT_EQ(empty.EnumCommands(list, kAll, kChannel, 0, 0), result::kCatalogueDamaged);
  EXPECT_EQ(list.GetCount(), 1u);
}

TEST_F(CmdDatabase, WhiteListKnowsListedIdsOnly) {
  CCmdDatabase database(WidePath(path_));
  for (const wchar_t* id : {L"0x10", L"0x20", L"0x30", L"0x50", L"0X60", L"0x00000010"}) {
    EXPECT_TRUE(database.IsCmdIdInWhiteList(id)) << id;
  }
  for (const wchar_t* id : {L"0x40", L"0x11", L"0x0", L"0xffffffff", L"10", L"0x", L"", L"0x1g",
                            L"0x000000010", L"x10"}) {
    EXPECT_FALSE(database.IsCmdIdInWhiteList(id)) << id;
  }
  EXPECT_FALSE(database.IsCmdIdInWhiteList(nullptr));
}

TEST_F(CmdDatabase, CombinedTextsAreAskedForExactlyAndEmptyOnesAlwaysPass) {
  CCmdDatabase database(WidePath(path_));
  struct Row {
    const wchar_t* id;
    const wchar_t* rest;
    bool allowed;
  };
  const Row rows[] = {
      {L"0x10", L"", true},     {L"0x10", L"anything", true}, {L"0x50", L"", true},
      {L"0x50", L"1", false},   {L"0x60", L"", true},         {L"0x60", L"1", true},
      {L"0x60", L"{2}", true},  {L"0x60", L"\u00e4", true},   {L"0x60", L"2", false},
      {L"0x60", L"1 ", false},  {L"0x99", L"", true},         {L"0x99", L"1", false},
      {L"0x60", nullptr, true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(database.IsCmdIdCombinedInWhiteList(row.id, row.rest), row.allowed)
        << row.id << " " << (row.rest != nullptr ? row.rest : L"(null)");
  }
}

TEST_F(CmdDatabase, HostWordsAreMatchedExactly) {
  CCmdDatabase database(WidePath(path_));
  for (const wchar_t* word : {L"dir", L"Cls", L"\u00e4"}) {
    EXPECT_NE(database.VerifyDosCommand(word), 0) << word;
  }
  for (const wchar_t* word : {L"", L"DIR", L"di", L"dir ", L"cls"}) {
    EXPECT_EQ(database.VerifyDosCommand(word), 0) << word;
  }
  EXPECT_EQ(database.VerifyDosCommand(nullptr), 0);
}

TEST_F(CmdDatabase, NewObjectReadsTheFileAnewWhenItChanged) {
  CCmdDatabase before(WidePath(path_));
  EXPECT_EQ(Names(before, kAll, kChannel).size(), 7u);
  ModelMaker maker = SampleModel();
  maker.Command(0x70, "new_one", 0);
  // Replaced as one, as a compiler does it.
  kivtest::WriteBytes(folder_.File("next"), maker.Bytes());
  std::filesystem::rename(folder_.File("next"), path_);
  EXPECT_EQ(Names(before, kAll, kChannel).size(), 7u);
  CCmdDatabase after(WidePath(path_));
  EXPECT_EQ(Names(after, kAll, kChannel).size(), 8u);
  CParamNode root;
  EXPECT_EQ(CParamCodec(WidePath(path_).c_str()).QueryDefaultParam(0x70, CmdIdType::Any, root), 0u);
}

TEST_F(CmdDatabase, UnchangedFileIsNotReadAgain) {
  CCmdDatabase first(WidePath(path_));
  CCmdDatabase second(WidePath(path_));
  QCList<CmdInfo> a;
  QCList<CmdInfo> b;
  ASSERT_EQ(first.EnumCommands(a, kAll, kChannel, 0, 0), 0u);
  ASSERT_EQ(second.EnumCommands(b, kAll, kChannel, 0, 0), 0u);
  EXPECT_EQ(a[0].GetName(), b[0].GetName());  // the very same characters
}

TEST_F(CmdDatabase, PathsWithCharactersOfUrisAreOpened) {
  for (const char* name : {"a b?c#d%41.kcat", "\xC3\xA4.kcat", "a&mode=rw.kcat"}) {
    kivtest::WriteBytes(folder_.File(name), SampleModel().Bytes());
    CCmdDatabase database(WidePath(folder_.File(name)));
    EXPECT_EQ(Names(database, kAll, kChannel).size(), 7u) << name;
    CCmdDatabase doubled(WidePath("/" + folder_.File(name)));
    EXPECT_EQ(Names(doubled, kAll, kChannel).size(), 7u) << name;
  }
}

// A console lists and looks up every command of a large catalogue. The ceiling catches only what
// grows with the square of the count.
TEST_F(CmdDatabase, LargeCatalogueIsEnumeratedInItsOrder) {
  ModelMaker maker;
  constexpr std::uint32_t kCount = 100000;
  for (std::uint32_t i = 0; i < kCount; ++i) {
    const std::uint32_t id = (i * 7919u) % kCount;  // a permutation
    maker.Command(id, "command_" + std::to_string(id));
  }
  kivtest::WriteBytes(path_, maker.Bytes());
  const auto start = std::chrono::steady_clock::now();
  CCmdDatabase database(WidePath(path_));
  QCList<CmdInfo> list;
  ASSERT_EQ(database.EnumCommands(list, kAll, kChannel, 0, 0), 0u);
  ASSERT_EQ(list.GetCount(), kCount);
  wchar_t idText[16];
  for (std::uint32_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(list[i].GetId(), i);
    std::swprintf(idText, 16, L"0x%x", i);
    ASSERT_TRUE(database.IsCmdIdInWhiteList(idText));
  }
  EXPECT_STREQ(list[4711].GetName(), L"command_4711");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
