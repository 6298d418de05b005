// An instance that is not in the document: nothing of it is found, and nothing that is stored for
// it lands anywhere else.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "settings/svc_kiv_config_impl.h"
#include "tests/fakes/module_bench.h"

namespace {

class NoInstance : public testing::Test {
 protected:
  std::string FileText() const {
    std::ifstream file(setup_.Path("kiv.xml"));
    return std::string(std::istreambuf_iterator<char>(file), {});
  }

  kivtest::ScratchSetup setup_;
  SvcKivClass::LiveSwitches switches_;
  SvcKivSpace::SvcKivMessage sender_;
};

TEST_F(NoInstance, AStoreChangesNothingInTheDocument) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.Save(), 0u);
  const std::string before = FileText();
  ASSERT_NE(before, "");
  EXPECT_EQ(config.SetSessionAndInstance(1, 7), 0u);
  EXPECT_EQ(config.LoadEverything(), 3005u);
  EXPECT_EQ(config.SettingsPrefix(), L"");
  SvcKivSpace::KivCommandRecord typed;
  typed.name = L"lost";
  config.Lists().supportedInds.AddTail({1, L"ind"});
  testing::internal::CaptureStderr();
  EXPECT_EQ(config.StoreEverything(&typed), 0u);
  EXPECT_NE(testing::internal::GetCapturedStderr().find(
                "Create SHORTCUTKEY_CMD Failed.\nCreate SUPPORT_IND Failed.\n"),
            std::string::npos);
  EXPECT_EQ(config.Save(), 0u);
  EXPECT_EQ(FileText(), before);
}

TEST_F(NoInstance, BeforeASessionIsSelectedNothingIsFound) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  EXPECT_EQ(config.NextInstanceId(), 1u);
  EXPECT_EQ(config.LoadEverything(), 3005u);
  EXPECT_EQ(config.NvLoadFileMaxSizeBytes(), 0u);
  EXPECT_EQ(config.Settings().autoIntellisense, 1);
  EXPECT_EQ(config.Settings().fontSize, 0);
}

TEST_F(NoInstance, AnAttributeBeyondTheNextPositionAddsNothing) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 1), 0u);
  ASSERT_EQ(config.Save(), 0u);
  const std::string before = FileText();
  EXPECT_EQ(
      config.WriteAttribute(L"x", L"NAME", L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD.CMD",
                            L"0.0.0.0.0.5"),
      3004u);
  EXPECT_EQ(config.Save(), 0u);
  EXPECT_EQ(FileText(), before);
}

struct RefusedWrite {
  const wchar_t* attribute;
  const wchar_t* element;
  const wchar_t* path;
  std::uint32_t answer;
};

// Neither the node nor the ancestors that it would have needed.
TEST_F(NoInstance, AnAttributeThatIsRefusedLeavesNothingBehind) {
  constexpr RefusedWrite kWrites[] = {
      {L"A", L"SourceData.SESSION.INSTANCE.DEFAULT.X.Y.CMD", L"0.0.0.0.0.0.5", 3004},
      {L"A", L"SourceData.SESSION.INSTANCE.DEFAULT.X.Y.CMD", L"0.0.0.0.0.1.0", 3004},
      {L"A", L"SourceData.SESSION.INSTANCE.DEFAULT.X.Y.CMD", L"0.0.1.0.3.0.0", 3004},
      {L"A", L"SourceData.SESSION.INSTANCE.DEFAULT.X.a b.CMD", L"0.0.1", 3004},
      {L"A", L"SourceData.SESSION.INSTANCE.DEFAULT.X.Y.<", L"0.0.1", 3004},
      {L"a b", L"SourceData.SESSION.INSTANCE.DEFAULT.X.Y.CMD", L"0.0.1", 3005},
      {L"", L"SourceData.SESSION.INSTANCE.DEFAULT.X", L"0.0.0.0.0", 3005},
      {L"a b", L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0.0.0.0.0", 3005},
  };
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 1), 0u);
  ASSERT_EQ(config.Save(), 0u);
  const std::string before = FileText();
  for (const RefusedWrite& write : kWrites) {
    EXPECT_EQ(config.WriteAttribute(L"x", write.attribute, write.element, write.path),
              write.answer);
    EXPECT_EQ(config.Save(), 0u);
    EXPECT_EQ(FileText(), before) << QCString(write.element).ToUtf8();
  }
}

TEST_F(NoInstance, TheNextIdIsAFreeOneWhenTheLargestIsTaken) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 0), 0u);
  ASSERT_EQ(config.WriteAttribute(L"4294967295", L"ID", L"SourceData.SESSION.INSTANCE", L"0.0.1"),
            0u);
  EXPECT_EQ(config.NextInstanceId(), 2u);  // 1 is the starting document's
}

TEST_F(NoInstance, AHostMakesOneByWritingItsIdAndOneOfItsValues) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 0), 0u);
  EXPECT_EQ(config.NextInstanceId(), 2u);
  EXPECT_EQ(config.WriteAttribute(L"2", L"ID", L"SourceData.SESSION.INSTANCE", L"0.0.1"), 0u);
  EXPECT_EQ(config.WriteAttribute(L"14", L"FONT_SIZE",
                                  L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0.0.1.0.0"),
            0u);
  EXPECT_EQ(config.NextInstanceId(), 3u);
  EXPECT_EQ(config.SetSessionAndInstance(1, 2), 0u);
  EXPECT_EQ(config.LoadEverything(), 0u);
  EXPECT_EQ(config.SettingsInstancePath(), L"0.0.1.0");
  EXPECT_EQ(config.Settings().fontSize, 14);
  SvcKivSpace::KivCommandRecord typed;
  typed.name = L"kept";
  EXPECT_EQ(config.StoreEverything(&typed), 0u);
  EXPECT_EQ(config.LoadEverything(), 0u);
  ASSERT_EQ(config.Lists().history.GetCount(), 1u);
  EXPECT_EQ(config.Lists().history[0].name, L"kept");
}

// The first store of an instance that has nothing but its ID.
TEST_F(NoInstance, AHostMakesOneByItsIdAloneAndLosesNothing) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 0), 0u);
  ASSERT_EQ(config.WriteAttribute(L"2", L"ID", L"SourceData.SESSION.INSTANCE", L"0.0.1"), 0u);
  ASSERT_EQ(config.SetSessionAndInstance(1, 2), 0u);
  ASSERT_EQ(config.LoadEverything(), 0u);
  SvcKivSpace::KivCommandRecord typed;
  typed.name = L"kept";
  config.Lists().favourites.AddTail(typed);
  EXPECT_EQ(config.StoreEverything(&typed), 0u);
  EXPECT_EQ(config.Save(), 0u);
  EXPECT_EQ(config.LoadEverything(), 0u);
  ASSERT_EQ(config.Lists().history.GetCount(), 1u);
  EXPECT_EQ(config.Lists().history[0].name, L"kept");
  ASSERT_EQ(config.Lists().favourites.GetCount(), 1u);
  EXPECT_EQ(config.Lists().favourites[0].name, L"kept");
}

TEST_F(NoInstance, AnEmptyHistoryOfANewOneIsAnEmptyElement) {
  SvcKivClass::SvcKivConfigImpl config({switches_, sender_, {}});
  ASSERT_EQ(config.SetSessionAndInstance(1, 0), 0u);
  ASSERT_EQ(config.WriteAttribute(L"2", L"ID", L"SourceData.SESSION.INSTANCE", L"0.0.1"), 0u);
  ASSERT_EQ(config.SetSessionAndInstance(1, 2), 0u);
  ASSERT_EQ(config.LoadEverything(), 0u);
  EXPECT_EQ(config.WriteHistory(), 0u);
  EXPECT_EQ(config.Save(), 0u);
  EXPECT_NE(FileText().find("<INSTANCE ID=\"2\">\n      <DEFAULT>\n        <HISTORY_CMD />"),
            std::string::npos)
      << FileText();
}

}  // namespace
