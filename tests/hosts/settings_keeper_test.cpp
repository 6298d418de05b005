// What the console keeps of typed lines, and the save path that the module's record would cut.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "hosts/terminal/settings_keeper.h"
#include "svckiv/svc_kiv.h"
#include "tests/hosts/settings_fixture.h"
#include "tests/support/tree_paths.h"

namespace {

using kiv::SettingsKeeper;
using SvcKivSpace::CSVCKIVConfig;
using SvcKivSpace::SvcKiv;
using Lines = std::vector<std::wstring>;
using Outcome = SettingsKeeper::SetOutcome;

class SettingsKeeperTest : public SettingsFixture {
 protected:
  // A document that somebody else wrote.
  void PutDocument(const std::string& text) {
    SvcKiv::Stop();
    std::filesystem::create_directories(folder_.Path("config"));
    folder_.Write("config/kiv.xml", text);
  }
  std::string SavedText() const {
    std::ifstream file(folder_.Path("config/kiv.xml"));
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  // The starting document with another value of one attribute.
  void StartWith(const std::string& attribute, const std::string& value) {
    Restarted();
    SvcKiv::Stop();
    std::string text = SavedText();
    const std::size_t begin = text.find(attribute + "=\"") + attribute.size() + 2;
    text.replace(begin, text.find('"', begin) - begin, value);
    folder_.Write("config/kiv.xml", text);
  }

  // Sets one setting, as `:set` does; `text` is that of the attribute.
  static Outcome Set(SettingsKeeper& keeper, const wchar_t* name, const std::wstring& text) {
    const auto found = kiv::FindSettings(name);
    EXPECT_EQ(found.size(), 1u);
    const SettingsKeeper::Change change{found.front().row, text};
    return keeper.Set(*found.front().group, {&change, 1});
  }
  static std::wstring Value(const SettingsKeeper& keeper, const wchar_t* name) {
    return kiv::FindSettings(name).front().row->text(keeper.Values());
  }
  bool IsSaved(const std::string& attribute) const {
    return SavedText().find(" " + attribute) != std::string::npos;
  }
};

// Another value than the one in front; whatever it is, the row allows it.
std::wstring OtherValue(const kiv::SettingRow& row, int round) {
  switch (row.kind) {
    case kiv::SettingKind::kSwitch:
      return std::to_wstring(round % 2);
    case kiv::SettingKind::kNumber:
    case kiv::SettingKind::kColour:
    case kiv::SettingKind::kKeyCode:
      return std::to_wstring(round % 2 == 0 ? row.least : row.most);
    case kiv::SettingKind::kCharacter:
      return round % 2 == 0 ? L"<" : L"";
    case kiv::SettingKind::kKeyName:
      return round % 2 == 0 ? L"F9" : L"CTRL+SHIFT+K";
    case kiv::SettingKind::kText:
      return round % 2 == 0 ? L"a <b> & \"c\"\x1b\u202e/x.txt" : L"";
  }
  return {};
}

TEST_F(SettingsKeeperTest, EachLineOfATerminalIsInTheFileBeforeItRuns) {
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
  EXPECT_NE(SavedText().find("<CMD NAME=\"nv_read\" PARA=\"7\""), std::string::npos);
}

TEST_F(SettingsKeeperTest, ABatchIsInTheFileWhenAllIsSaved) {
  SettingsKeeper keeper(Restarted(), false);
  for (int i = 0; i < 150; ++i) EXPECT_TRUE(keeper.Keep(L"line " + std::to_wstring(i)));
  EXPECT_EQ(SavedText().find("<CMD"), std::string::npos);
  EXPECT_TRUE(keeper.SaveAll());
  const Lines lines = SettingsKeeper(Restarted(), false).Lines();
  ASSERT_EQ(lines.size(), 100u);
  EXPECT_EQ(lines.front(), L"line 50");
  EXPECT_EQ(lines.back(), L"line 149");
}

TEST_F(SettingsKeeperTest, LinesComeBackAsTheyWereTyped) {
  const Lines typed = {L"nv_read", L"echo_nested {5,{6,<\u2603>}}", L"nonsense  two blanks ",
                       L"at+cgmi", L":nothing"};
  SettingsKeeper keeper(Restarted(), true);
  for (const std::wstring& line : typed) EXPECT_TRUE(keeper.Keep(line));
  EXPECT_EQ(keeper.Lines(), typed);
  EXPECT_EQ(SettingsKeeper(Restarted(), true).Lines(), typed);
}

TEST_F(SettingsKeeperTest, KeepsNoLineThatTheNextLoadWouldTakeOut) {
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_TRUE(keeper.Keep(L""));
  EXPECT_TRUE(keeper.Keep(L"   "));
  EXPECT_TRUE(keeper.Keep(std::wstring(81, L'w')));
  EXPECT_TRUE(keeper.Keep(L"w " + std::wstring(16385, L'p')));
  EXPECT_TRUE(keeper.Keep(std::wstring(80, L'w') + L" " + std::wstring(16384, L'p')));
  EXPECT_EQ(keeper.Lines().size(), 1u);
  EXPECT_EQ(SettingsKeeper(Restarted(), true).Lines().size(), 1u);
}

TEST_F(SettingsKeeperTest, KeepsNothingForAUserWhoWantsNoHistory) {
  StartWith("HISTORY_CMD", "0");
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
  EXPECT_EQ(keeper.Lines(), Lines());
}

// Documents that a user wrote by hand, or an exported file that was put in the place of the own
// one.
TEST_F(SettingsKeeperTest, KeepsLinesWhateverTheDocumentLacks) {
  const std::string session = "<SourceData><SESSION ID=\"1\">";
  const std::string end = "</SESSION></SourceData>";
  for (const std::string& text :
       {std::string("<SourceData/>"), session + end, session + "<INSTANCE ID=\"2\"/>" + end,
        session + "<INSTANCE/>" + end, session + "<INSTANCE ID=\"1\"/>" + end,
        session + "<INSTANCE ID=\"1\"><DEFAULT/></INSTANCE>" + end,
        session + "<INSTANCE ID=\"1\"><DEFAULT><POPULAR TITLE=\"t\"/></DEFAULT></INSTANCE>" + end,
        session + "<INSTANCE ID=\"1\"><DEFAULT><KEYBOARD/></DEFAULT></INSTANCE>" + end,
        std::string("<SourceData><SESSION ID=\"2\"><INSTANCE ID=\"1\"/></SESSION></SourceData>")}) {
    for (const bool saveEachLine : {true, false}) {
      PutDocument(text);
      SettingsKeeper keeper(Restarted(), saveEachLine);
      EXPECT_TRUE(keeper.AreThere()) << text;
      EXPECT_TRUE(keeper.Keep(L"one 1"));
      EXPECT_TRUE(keeper.SaveAll());
      EXPECT_EQ(SettingsKeeper(Restarted(), true).Lines(), Lines{L"one 1"}) << text;
    }
  }
}

TEST_F(SettingsKeeperTest, GivesAnInstanceThatHasNothingTheValuesOfANewDocument) {
  PutDocument(
      "<SourceData><SESSION ID=\"1\"><INSTANCE ID=\"2\"><DEFAULT><POPULAR TITLE=\"two\"/>"
      "</DEFAULT></INSTANCE></SESSION></SourceData>");
  const SettingsKeeper keeper(Restarted(), true);
  EXPECT_EQ(keeper.Values().values.postCmdTimeoutMs, 5000u);
  const std::string text = SavedText();
  for (const char* value :
       {"<POPULAR TITLE=\"two\" />", "<INSTANCE ID=\"1\">", "TITLE=\"Kiv\"", "ENABLE_IND_CMD=\"1\"",
        "NV_LOAD_FILE_MAX_SIZE=\"16777216\"", "FONT_SIZE=\"10\"", "BACKGROUND=\"1973790\""}) {
    EXPECT_NE(text.find(value), std::string::npos) << value << text;
  }
}

// What it does not say is said on purpose: a missing one of these has a meaning of its own.
TEST_F(SettingsKeeperTest, AddsNothingThatOnlyTheUserWritesToAGroupThatIsThere) {
  PutDocument(
      "<SourceData><SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT><POPULAR TITLE=\"mine\" "
      "HISTORY_CMD=\"0\"/></DEFAULT></INSTANCE></SESSION></SourceData>");
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_TRUE(keeper.Keep(L"one 1"));
  EXPECT_EQ(keeper.Lines(), Lines());
  const std::string text = SavedText();
  EXPECT_NE(text.find("<POPULAR TITLE=\"mine\" HISTORY_CMD=\"0\""), std::string::npos) << text;
  EXPECT_NE(text.find("DISPLAY_LINE_NUMBER=\"1000\""), std::string::npos) << text;
  for (const char* attribute : {"NV_LOAD_FILE_MAX_SIZE", "ACK_SHOW_TYPE", "ACK_ARRAY_SHOW_ONELINE"})
    EXPECT_EQ(text.find(attribute), std::string::npos) << attribute;
}

TEST_F(SettingsKeeperTest, WritesNothingIntoADocumentThatLacksNothing) {
  StartWith("FONT_SIZE", "010");
  const std::string before = SavedText();
  const SettingsKeeper keeper(Restarted(), true);
  SvcKiv::Stop();
  EXPECT_EQ(SavedText(), before);
}

TEST_F(SettingsKeeperTest, SaysHowLongToWait) {
  StartWith("POSTCMD_TIMEOUT", "1234");
  EXPECT_EQ(SettingsKeeper(Restarted(), true).Values().values.postCmdTimeoutMs, 1234u);
}

TEST_F(SettingsKeeperTest, KnowsTheWholePathOfTheLog) {
  const std::wstring data = QCString::FromUtf8(folder_.Path("data")).str();
  const auto path = [this](const std::string& stored) {
    StartWith("SAVE_PATH", stored);
    const kiv::ConsoleSettings values = SettingsKeeper(Restarted(), true).Values();
    EXPECT_EQ(QCString(values.storedSavePath).ToUtf8(), stored);
    return values.logPath;
  };
  EXPECT_EQ(path(""), data + L"\\kiv.txt");
  EXPECT_NE(path("logs/today").find(L"logs/today.txt"), std::wstring::npos);
  EXPECT_EQ(path("/tmp/a.txt"), L"/tmp/a.txt");
}

TEST_F(SettingsKeeperTest, ASavePathStaysWholeHoweverOftenSettingsAreStored) {
  const std::string outside(300, 'x');
  for (const std::string& path :
       {std::string("logs/today.txt"), std::string("/tmp/a.txt"), std::string(250, 'l'), outside}) {
    StartWith("SAVE_PATH", path);
    for (int run = 0; run < 3; ++run) {
      SettingsKeeper keeper(Restarted(), true);
      EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
    }
    SvcKiv::Stop();
    EXPECT_NE(SavedText().find("SAVE_PATH=\"" + path + "\""), std::string::npos) << path;
  }
}

TEST_F(SettingsKeeperTest, ALineThatCannotBeSavedIsSavedWithTheNextOne) {
  SettingsKeeper keeper(Restarted(), true);
  std::filesystem::rename(folder_.Path("config"), folder_.Path("away"));
  folder_.Write("config", "a file where the directory should be");
  EXPECT_FALSE(keeper.Keep(L"first"));
  std::filesystem::remove(folder_.Path("config"));
  std::filesystem::rename(folder_.Path("away"), folder_.Path("config"));
  EXPECT_TRUE(keeper.Keep(L"second"));
  EXPECT_EQ(SettingsKeeper(Restarted(), true).Lines(), (Lines{L"first", L"second"}));
}

// The three that storing leaves out among them, in two rounds so that none keeps what it had.
TEST_F(SettingsKeeperTest, EverySettingThatIsSetHoldsAtOnceAndInTheNextRun) {
  for (int round = 0; round < 2; ++round) {
    {
      SettingsKeeper keeper(Restarted(), true);
      for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
        for (const kiv::SettingRow& row : group.rows) {
          const SettingsKeeper::Change change{&row, OtherValue(row, round)};
          EXPECT_EQ(keeper.Set(group, {&change, 1}), Outcome::kSaved);
          EXPECT_EQ(row.text(keeper.Values()), change.text)
              << QCString(kiv::SettingName(row)).ToUtf8();
        }
      }
    }
    const kiv::ConsoleSettings values = SettingsKeeper(Restarted(), true).Values();
    for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
      for (const kiv::SettingRow& row : group.rows) {
        EXPECT_EQ(row.text(values), OtherValue(row, round))
            << QCString(kiv::SettingName(row)).ToUtf8();
      }
    }
  }
}

TEST_F(SettingsKeeperTest, ASettingThatIsSetLeavesAllOthersAsTheyWere) {
  const auto valuesBut = [](const SettingsKeeper& keeper, const kiv::SettingRow& but) {
    Lines texts;
    for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
      for (const kiv::SettingRow& row : group.rows) {
        if (&row != &but) texts.push_back(row.text(keeper.Values()));
      }
    }
    return texts;
  };
  SettingsKeeper keeper(Restarted(), true);
  for (const kiv::SettingGroup& group : kiv::SettingGroups()) {
    for (const kiv::SettingRow& row : group.rows) {
      const Lines before = valuesBut(keeper, row);
      const SettingsKeeper::Change change{&row, OtherValue(row, 0)};
      keeper.Set(group, {&change, 1});
      EXPECT_EQ(valuesBut(keeper, row), before) << QCString(kiv::SettingName(row)).ToUtf8();
    }
  }
}

// The group is read again from the document, which must have what only memory had.
TEST_F(SettingsKeeperTest, SettingLosesNothingThatNobodyWroteYet) {
  CSVCKIVConfig& config = Restarted();
  SettingsKeeper keeper(config, true);
  config.Settings().fontSize = 77;
  EXPECT_EQ(Set(keeper, L"ACK_SHOW_TYPE", L"1"), Outcome::kSaved);
  EXPECT_EQ(config.Settings().fontSize, 77);
  EXPECT_EQ(config.ShowType(), 1);
  EXPECT_TRUE(IsSaved("FONT_SIZE=\"77\""));
}

TEST_F(SettingsKeeperTest, StoringALineKeepsWhatStoringLeavesOut) {
  SettingsKeeper keeper(Restarted(), true);
  Set(keeper, L"NV_LOAD_FILE_MAX_SIZE", L"4096");
  Set(keeper, L"ACK_ARRAY_SHOW_ONELINE", L"1");
  Set(keeper, L"PLUGIN.NAME", L"plug.dll");
  Set(keeper, L"HEXADECIMAL", L"1");
  EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
  const SettingsKeeper next(Restarted(), true);
  EXPECT_EQ(Value(next, L"NV_LOAD_FILE_MAX_SIZE"), L"4096");
  EXPECT_EQ(Value(next, L"ACK_ARRAY_SHOW_ONELINE"), L"1");
  EXPECT_EQ(Value(next, L"PLUGIN.NAME"), L"plug.dll");
  EXPECT_EQ(Value(next, L"HEXADECIMAL"), L"1");
}

TEST_F(SettingsKeeperTest, ASavePathThatIsSetStaysAsItWasTyped) {
  for (const std::wstring& path :
       {std::wstring(L"logs/today"), QCString::FromUtf8(folder_.Path("elsewhere/a.txt")).str(),
        std::wstring(255, L'l')}) {
    SettingsKeeper keeper(Restarted(), true);
    Set(keeper, L"SAVE_PATH", path);
    EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
    EXPECT_EQ(Value(keeper, L"SAVE_PATH"), path);
    Set(keeper, L"AUTO_SAVE", L"0");
    EXPECT_EQ(Value(SettingsKeeper(Restarted(), true), L"SAVE_PATH"), path);
  }
}

TEST_F(SettingsKeeperTest, LinesAreKeptWithoutParametersForAUserWhoWantsNone) {
  SettingsKeeper keeper(Restarted(), true);
  Set(keeper, L"STORECMDPARA", L"0");
  EXPECT_TRUE(keeper.Keep(L"nv_read 7"));
  Set(keeper, L"HISTORY_CMD", L"0");
  EXPECT_TRUE(keeper.Keep(L"nv_read 8"));
  EXPECT_EQ(keeper.Lines(), Lines{L"nv_read"});
}

TEST_F(SettingsKeeperTest, IndicationsAreShownForTheTimeThatIsSet) {
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_EQ(keeper.InstantIndMs(), 10000);
  Set(keeper, L"INSTANT_IND_TIME", L"250");
  EXPECT_EQ(keeper.InstantIndMs(), 250);
  Set(keeper, L"ENABLE_INSTANT_IND_CMD", L"0");
  EXPECT_EQ(keeper.InstantIndMs(), 0);
}

TEST_F(SettingsKeeperTest, WhatCannotBeSavedHoldsAndIsSavedLater) {
  SettingsKeeper keeper(Restarted(), true);
  std::filesystem::rename(folder_.Path("config"), folder_.Path("away"));
  folder_.Write("config", "a file where the directory should be");
  EXPECT_EQ(Set(keeper, L"TITLE", L"mine"), Outcome::kNotSaved);
  EXPECT_EQ(Value(keeper, L"TITLE"), L"mine");
  std::filesystem::remove(folder_.Path("config"));
  std::filesystem::rename(folder_.Path("away"), folder_.Path("config"));
  EXPECT_TRUE(keeper.SaveAll());
  EXPECT_EQ(Value(SettingsKeeper(Restarted(), true), L"TITLE"), L"mine");
}

TEST_F(SettingsKeeperTest, WithoutADocumentNothingIsSet) {
  Restarted();
  SvcKiv::Stop();
  const std::string file = folder_.Path("config/kiv.xml");
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  SettingsKeeper keeper(Restarted(), true);
  EXPECT_FALSE(keeper.Values().areThere);
  EXPECT_EQ(Set(keeper, L"TITLE", L"mine"), Outcome::kNoSettings);
}

}  // namespace
