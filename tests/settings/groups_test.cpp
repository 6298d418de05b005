// Popular, colour, save and keyboard settings, value by value.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

std::string Popular(const std::string& attributes) { return "<POPULAR " + attributes + "/>"; }

TEST(PopularSettings, GoEachIntoItsField) {
  SettingsBench bench(FullDocument());
  bench.Load();
  const SvcKivSpace::KivSettings& s = bench.Settings();
  EXPECT_EQ(
      (std::vector<std::int32_t>{21, 22, 23, 24, 25, 26, 27, 28}),
      (std::vector<std::int32_t>{s.enableInstantIndCmd, s.showMatchWin, s.historyOn, s.favouritesOn,
                                 s.autoLoadPara, s.storeCmdPara, s.displayTimeStamp, s.hScroll}));
  EXPECT_EQ((std::vector<std::int32_t>{30, 31, 32, 33, 34, 37}),
            (std::vector<std::int32_t>{s.editMaxLineNumber, s.nvLoadFileMaxSizeBytes, s.showDevId,
                                       s.fontSize, s.dragBcfAutoRun, s.wordWrap}));
  EXPECT_STREQ(L"29 lines", s.displayLineNumber);
  EXPECT_STREQ(L"A title", s.title);
  EXPECT_STREQ(L"A font", s.fontName);
  EXPECT_EQ(L'>', s.prompt);
  EXPECT_EQ(4000000039u, s.postCmdTimeoutMs);
  EXPECT_EQ(31u, bench.Config().NvLoadFileMaxSizeBytes());
}

TEST(PopularSettings, ThatRepliesDependOnAreTheLiveSwitches) {
  SettingsBench bench(FullDocument());
  bench.Load();
  EXPECT_EQ(35, bench.Switches().oneLineArrays.load());
  EXPECT_EQ(36, bench.Switches().showType.load());
  EXPECT_EQ(38, bench.Switches().indicationsEnabled.load());
  bench.Config().SetOneLineArrays(1);
  bench.Config().SetShowType(-2);
  bench.Config().SetIndicationsEnabled(3);
  EXPECT_EQ(1, bench.Switches().oneLineArrays.load());
  EXPECT_EQ(-2, bench.Switches().showType.load());
  EXPECT_EQ(3, bench.Switches().indicationsEnabled.load());
  bench.Switches().showType = 9;
  EXPECT_EQ(9, bench.Config().ShowType());
}

TEST(PopularSettings, LeaveTheThreeReadOnlyOnesInTheFile) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Settings().nvLoadFileMaxSizeBytes = 1;
  bench.Config().SetOneLineArrays(2);
  bench.Config().SetShowType(3);
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"31", bench.OnDisk(L"POPULAR", L"NV_LOAD_FILE_MAX_SIZE"));
  EXPECT_EQ(L"35", bench.OnDisk(L"POPULAR", L"ACK_ARRAY_SHOW_ONELINE"));
  EXPECT_EQ(L"36", bench.OnDisk(L"POPULAR", L"ACK_SHOW_TYPE"));
}

TEST(PopularSettings, NeverCreateTheThreeReadOnlyOnes) {
  SettingsBench bench(Document(""));
  bench.Load();
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  for (const wchar_t* name :
       {L"NV_LOAD_FILE_MAX_SIZE", L"ACK_ARRAY_SHOW_ONELINE", L"ACK_SHOW_TYPE"}) {
    EXPECT_EQ(L"<none>", bench.OnDisk(L"POPULAR", name)) << name;
  }
}

// The two are converted from whatever text was read last: consoles rely on the numbers that come of
// it.
TEST(PopularSettings, TakeTheLastTextForTheTwoThatAreStoredUnseen) {
  struct Row {
    const char* attributes;
    std::int32_t oneLine;
    std::int32_t showType;
  };
  const Row rows[] = {
      {"TITLE=\"7x\"", 7, 7},
      {"TITLE=\"7\" DRAG_BCF_AUTO_RUN=\"1\"", 1, 1},
      {"DRAG_BCF_AUTO_RUN=\"5\" ACK_ARRAY_SHOW_ONELINE=\"6\"", 6, 6},
      {"DRAG_BCF_AUTO_RUN=\"5\" ACK_SHOW_TYPE=\"6\"", 5, 6},
      {"FONT_NAME=\"12 point\" WORD_WRAP=\"9\" ENABLE_IND_CMD=\"8\"", 12, 12},
      {"FONT_NAME=\"Mono\"", 0, 0},
      {"TITLE=\"3\" FONT_SIZE=\"\"", 0, 0},
      {"WORD_WRAP=\"4\"", 0, 0},
      {"", 0, 0},
  };
  for (const Row& row : rows) {
    SettingsBench bench(Document(Popular(row.attributes)));
    bench.Open();
    bench.Config().SetOneLineArrays(70);
    bench.Config().SetShowType(71);
    bench.Config().SetSessionAndInstance(1, 1);
    bench.Config().LoadEverything();
    EXPECT_EQ(row.oneLine, bench.Config().OneLineArrays()) << row.attributes;
    EXPECT_EQ(row.showType, bench.Config().ShowType()) << row.attributes;
  }
}

TEST(PopularSettings, StoreOnlyWhatWasRead) {
  SettingsBench bench(Document(Popular("FONT_SIZE=\"9\"")));
  bench.Open();
  bench.Config().SetSessionAndInstance(1, 1);
  FillGroups(bench);
  bench.Config().LoadEverything();
  EXPECT_EQ(9, bench.Settings().fontSize);
  EXPECT_EQ(104, bench.Settings().wordWrap);
  EXPECT_EQ(105, bench.Config().IndicationsEnabled());
  EXPECT_EQ(L'$', bench.Settings().prompt);
  EXPECT_STREQ(L"lines", bench.Settings().displayLineNumber);
  EXPECT_EQ(4294967295u, bench.Settings().postCmdTimeoutMs);
}

TEST(PopularSettings, ReadNumbersLikeADecimalConversion) {
  const std::vector<std::pair<const char*, std::int32_t>> rows = {
      {"0", 0},
      {"-1", -1},
      {"+12", 12},
      {"007", 7},
      {"200abc", 200},
      {" 5", 5},
      {"&#9;&#10;&#13; 6", 6},
      {"0x10", 0},
      {"abc", 0},
      {"", 0},
      {"-", 0},
      {"+-3", 0},
      {"1.9", 1},
      {"- 4", 0},
      {"2147483647", INT_MAX},
      {"2147483648", INT_MAX},
      {"-2147483648", INT_MIN},
      {"-2147483649", INT_MIN},
      {"99999999999999999999999999", INT_MAX},
      {"-99999999999999999999999999", INT_MIN},
      {"\xD9\xA3", 0},  // a digit of another script
  };
  for (const auto& [text, value] : rows) {
    SettingsBench bench(Document(Popular("FONT_SIZE=\"" + std::string(text) + "\"")));
    bench.Load();
    EXPECT_EQ(value, bench.Settings().fontSize) << text;
  }
}

TEST(PopularSettings, ReadNumbersBehindAnyWhiteSpace) {
  SettingsBench bench(FullDocument());
  bench.Load();
  EXPECT_EQ(0u, bench.Config().WriteAttribute(L"\t\n\v\f\r 7", L"FONT_SIZE",
                                              L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR",
                                              L"0.0.0.0.0"));
  EXPECT_EQ(0u, bench.Config().ReadPopular());
  EXPECT_EQ(7, bench.Settings().fontSize);
}

TEST(PopularSettings, ReadTheTimeoutWithoutASign) {
  const std::vector<std::pair<const char*, std::uint32_t>> rows = {
      {"5000", 5000u},
      {"4294967295", 4294967295u},
      {"4294967296", 4294967295u},
      {"2147483648", 2147483648u},
      {" 7 ", 7u},
      {"x", 0u},
      {"", 0u},
      {"-5", 0u},
  };
  for (const auto& [text, value] : rows) {
    SettingsBench bench(Document("<DEBUG_INFO POSTCMD_TIMEOUT=\"" + std::string(text) + "\"/>"));
    bench.Load();
    EXPECT_EQ(value, bench.Settings().postCmdTimeoutMs) << text;
  }
}

TEST(PopularSettings, CutTextsAtTheirFields) {
  const std::string many(1000, 'x');
  SettingsBench bench(Document(Popular("TITLE=\"" + many + "\" FONT_NAME=\"" + many +
                                       "\" DISPLAY_LINE_NUMBER=\"" + many + "\" PROMPT=\"\"")));
  bench.Load();
  EXPECT_EQ(std::wstring(256, L'x'), bench.Settings().title);
  EXPECT_EQ(std::wstring(64, L'x'), bench.Settings().fontName);
  EXPECT_EQ(std::wstring(64, L'x'), bench.Settings().displayLineNumber);
  EXPECT_EQ(L'\0', bench.Settings().prompt);
}

TEST(PopularSettings, WriteNoPromptAsAnEmptyText) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Settings().prompt = 0;
  EXPECT_EQ(0u, bench.Config().WritePopular());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"", bench.OnDisk(L"POPULAR", L"PROMPT"));
}

TEST(NvLoadFileMaxSize, IsReadFromTheDocumentEachTime) {
  SettingsBench bench(FullDocument());
  bench.Load();
  const std::vector<std::pair<const wchar_t*, std::uint32_t>> rows = {
      {L"16777216", 16777216u}, {L"-1", 0u}, {L"0", 0u}, {L"5 bytes", 5u}, {L"x", 0u}};
  for (const auto& [text, sizeBytes] : rows) {
    bench.Config().WriteAttribute(text, L"NV_LOAD_FILE_MAX_SIZE",
                                  L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR", L"0.0.0.0.0");
    bench.Tape().Take();
    EXPECT_EQ(sizeBytes, bench.Config().NvLoadFileMaxSizeBytes()) << sizeBytes;
    EXPECT_EQ(Calls{ReadOf({"POPULAR", "NV_LOAD_FILE_MAX_SIZE"})}, bench.Tape().Take());
  }
  EXPECT_EQ(31, bench.Settings().nvLoadFileMaxSizeBytes);
}

TEST(NvLoadFileMaxSize, IsZeroWhenTheDocumentDoesNotSay) {
  SettingsBench bench(Document(""));
  bench.Load();
  EXPECT_EQ(0u, bench.Config().NvLoadFileMaxSizeBytes());
}

TEST(ColourSettings, GoEachIntoItsField) {
  SettingsBench bench(FullDocument());
  bench.Load();
  const SvcKivSpace::KivSettings& s = bench.Settings();
  EXPECT_EQ((std::vector<std::int32_t>{11, 12, 13, 14, 15, 16, 17, 18, 19}),
            (std::vector<std::int32_t>{s.general.text, s.general.background, s.requestLine.text,
                                       s.requestLine.background, s.activeLine.text,
                                       s.activeLine.background, s.responseLine.text,
                                       s.responseLine.background, s.hiliteText}));
}

// Files of older consoles have no BACKGROUND there.
TEST(ColourSettings, NeverGiveTheHighlightedLineABackground) {
  for (const std::string& document : {Document(""), FullDocument()}) {
    SettingsBench bench(document);
    bench.Load();
    bench.Config().WriteColours();
    EXPECT_EQ(0u, bench.Config().Save());
    EXPECT_EQ(L"<none>", bench.OnDisk(L"COLOR.HILITE_LINE", L"BACKGROUND"));
    EXPECT_NE(L"<none>", bench.OnDisk(L"COLOR.HILITE_LINE", L"TEXT"));
    EXPECT_NE(L"<none>", bench.OnDisk(L"COLOR.RESPONSE_LINE", L"BACKGROUND"));
  }
}

TEST(ColourSettings, BeyondThirtyOneBitsStandNegativeAndComeBack) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Settings().general.text = static_cast<std::int32_t>(0xFF102030u);
  EXPECT_EQ(0u, bench.Config().WriteColours());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"-15720400", bench.OnDisk(L"COLOR.GENERAL", L"TEXT"));
  bench.Settings().general.text = 0;
  EXPECT_EQ(0u, bench.Config().ReadColours());
  EXPECT_EQ(static_cast<std::int32_t>(0xFF102030u), bench.Settings().general.text);
}

TEST(KeyboardSettings, GoEachIntoItsField) {
  SettingsBench bench(FullDocument());
  bench.Load();
  const SvcKivSpace::KivKeyBindings& keys = bench.Keys();
  EXPECT_EQ((std::vector<std::int32_t>{61, 62, 63, 64, 65}),
            (std::vector<std::int32_t>{keys.repeatCmd.value, keys.sendCmd.value,
                                       keys.listHistoryCmd.value, keys.listRecentCmd.value,
                                       keys.cancel.value}));
  EXPECT_EQ((std::vector<std::wstring>{L"F3", L"ENTER", L"F4", L"F5", L"ESC"}),
            (std::vector<std::wstring>{keys.repeatCmd.name.str(), keys.sendCmd.name.str(),
                                       keys.listHistoryCmd.name.str(),
                                       keys.listRecentCmd.name.str(), keys.cancel.name.str()}));
  const SvcKivSpace::KivSettings& s = bench.Settings();
  EXPECT_EQ((std::vector<std::int32_t>{51, 52, 53, 54}),
            (std::vector<std::int32_t>{s.specKey, s.ctrlC, s.esc, s.ctrlZ}));
}

TEST(KeyboardSettings, AreWrittenWhereTheGroupIsMissing) {
  SettingsBench bench(Document(""));
  bench.Load();
  FillGroups(bench);
  EXPECT_EQ(0u, bench.Config().WriteKeyboard());
  EXPECT_EQ(0u, bench.Config().Save());
  for (const auto& [place, value] : kKeyboard) {
    const std::string element = place.element;
    const std::string attribute = place.attribute;
    const std::string text = value;
    EXPECT_EQ(std::wstring(text.begin(), text.end()),
              bench.OnDisk(std::wstring(element.begin(), element.end()),
                           std::wstring(attribute.begin(), attribute.end())));
  }
}

// What SAVE_PATH says in the file, and what is held of it.
struct SavePath {
  std::string stored;
  std::wstring held;
  std::string made;  // the directory that is there afterwards, below the data directory
};

TEST(SaveSettings, HoldAsManyCharactersOfThePathAsTheFileHas) {
  SettingsBench bench;
  const std::wstring data = bench.DataPath();
  const std::string dataBytes = bench.Folder().File("data");
  const std::vector<SavePath> rows = {
      // Five characters of the absolute form.
      {"a.txt", data.substr(0, 5), ""},
      {"logs/m", data.substr(0, 6), "logs"},
      {"logs\\deep\\m.txt", data.substr(0, 15), "logs/deep"},
      {dataBytes + "/abs/file.txt", data + L"/abs/file.txt", "abs"},
      // ".txt" is added, then cut off again.
      {dataBytes + "/abs2/file", data + L"/abs2/file", "abs2"},
      {dataBytes + "/abs3/file.TXT", data + L"/abs3/file.TXT", "abs3"},
      {"", L"", ""},
  };
  for (const SavePath& row : rows) {
    std::filesystem::remove_all(dataBytes);
    bench.Close();
    bench.Folder().Write("kiv.xml", Document("<SAVE SAVE_PATH=\"" + row.stored + "\"/>"));
    bench.Load();
    EXPECT_EQ(row.held, bench.Settings().savePath) << row.stored;
    EXPECT_TRUE(std::filesystem::is_directory(dataBytes + "/" + row.made)) << row.stored;
    EXPECT_FALSE(std::filesystem::exists(dataBytes + "/kiv.txt"));
  }
}

TEST(SaveSettings, LeaveThePathWhenTheFileHasNone) {
  SettingsBench bench(Document("<SAVE AUTO_SAVE=\"1\"/>"));
  bench.Open();
  SetText(bench.Settings().savePath, L"/before");
  bench.Config().SetSessionAndInstance(1, 1);
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  EXPECT_STREQ(L"/before", bench.Settings().savePath);
  EXPECT_FALSE(std::filesystem::exists(bench.Folder().File("data")));
}

TEST(SaveSettings, CutThePathAtItsBuffer) {
  for (const std::size_t lengthChars : {254u, 255u, 256u, 300u}) {
    SettingsBench bench;
    const std::string path = bench.Folder().File("data") + "/" + std::string(150, 'p');
    const std::string stored = path + std::string(lengthChars - path.size(), 'q');
    bench.Folder().Write("kiv.xml", Document("<SAVE SAVE_PATH=\"" + stored + "\"/>"));
    bench.Load();
    const std::wstring wide(stored.begin(), stored.end());
    EXPECT_EQ(wide.substr(0, 255), bench.Settings().savePath);
  }
}

TEST(SaveSettings, WriteThePathBelowTheApplicationDirectory) {
  SettingsBench bench(FullDocument());
  bench.Load();
  const std::vector<std::pair<std::wstring, std::wstring>> rows = {
      {bench.DataPath() + L"/logs/mine.txt", L"logs/mine.txt"},
      {L"/elsewhere/mine.txt", L"/elsewhere/mine.txt"},
      {L"", L""},
  };
  for (const auto& [held, stored] : rows) {
    SetText(bench.Settings().savePath, held);
    EXPECT_EQ(0u, bench.Config().WriteSave());
    EXPECT_EQ(0u, bench.Config().Save());
    EXPECT_EQ(stored, bench.OnDisk(L"SAVE", L"SAVE_PATH"));
  }
}

TEST(SaveSettings, MakeThePlugInPathAbsoluteAndNeverWriteIt) {
  const std::vector<std::pair<std::string, std::wstring>> rows = {
      {"<PLUGIN NAME=\"plug.so\"/>", L"/plug.so"},
      {"<PLUGIN NAME=\"\"/>", L""},
      {"", L""},
  };
  for (const auto& [element, held] : rows) {
    SettingsBench bench(Document(element));
    bench.Load();
    EXPECT_EQ(held.empty() ? L"" : bench.DataPath() + held, bench.Settings().pluginPath.str());
    bench.Settings().pluginPath = QCString(L"/other");
    EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
    EXPECT_EQ(0u, bench.Config().Save());
    EXPECT_EQ(std::string::npos, bench.File().find("/other"));
  }
  SettingsBench bench(Document("<PLUGIN NAME=\"/opt/plug.so\"/>"));
  bench.Load();
  EXPECT_EQ(L"/opt/plug.so", bench.Settings().pluginPath.str());
}

}  // namespace
