// A settings file that is missing, broken or hostile: nothing of the user's is lost, nobody is left
// without a console, and the user is told once.
#include <gtest/gtest.h>

#include <QtCore/qnamespace.h>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"
#include "tests/support/processor_time.h"
#include "tests/support/sweep.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary

std::vector<std::string> SetAside(const SettingsBench& bench) {
  std::vector<std::string> names;
  for (const std::string& name : bench.Folder().Names()) {
    if (name.starts_with("kiv.xml.corrupt-")) names.push_back(name);
  }
  return names;
}

void ExpectTheStartingDocument(SettingsBench& bench) {
  EXPECT_EQ(L"0.0.0.0", bench.Config().SettingsInstancePath().str());
  EXPECT_EQ(16777216u, bench.Config().NvLoadFileMaxSizeBytes());
  EXPECT_EQ(16777216, bench.Settings().nvLoadFileMaxSizeBytes);
  EXPECT_EQ(5000u, bench.Settings().postCmdTimeoutMs);
  EXPECT_EQ(1, bench.Config().IndicationsEnabled());
  EXPECT_EQ(L"ENTER", bench.Keys().sendCmd.name.str());
  EXPECT_EQ(L"ESC", bench.Keys().cancel.name.str());
  EXPECT_EQ(Qt::Key_Escape, bench.Keys().cancel.value);
  EXPECT_EQ(Qt::Key_Return, bench.Keys().sendCmd.value);
  EXPECT_EQ(1, bench.Settings().autoIntellisense);
  EXPECT_NE(bench.Settings().general.text, bench.Settings().general.background);
  EXPECT_NE(bench.Settings().requestLine.text, bench.Settings().requestLine.background);
  EXPECT_NE(bench.Settings().activeLine.text, bench.Settings().activeLine.background);
  EXPECT_NE(bench.Settings().responseLine.text, bench.Settings().responseLine.background);
  EXPECT_GT(bench.Settings().fontSize, 0);
}

TEST(StartingDocument, IsThereWhenThereIsNoFile) {
  SettingsBench bench;
  bench.Load();
  ExpectTheStartingDocument(bench);
  EXPECT_EQ(std::vector<std::wstring>{}, bench.TakeNotices());
  bench.Close();
  EXPECT_EQ(L"1", bench.OnDisk(L"SourceData.SESSION", L"ID", L"0.0"));
  EXPECT_EQ(L"1", bench.OnDisk(L"SourceData.SESSION.INSTANCE", L"ID", L"0.0.0"));
  EXPECT_EQ(L"5000", bench.OnDisk(L"DEBUG_INFO", L"POSTCMD_TIMEOUT"));
  EXPECT_EQ(L"16777216", bench.OnDisk(L"POPULAR", L"NV_LOAD_FILE_MAX_SIZE"));
}

TEST(StartingDocument, NamesItsKeysAsTheirCodes) {
  SettingsBench bench;
  bench.Load();
  const SvcKivSpace::KivKeyBindings& keys = bench.Keys();
  for (const SvcKivSpace::KivKeyBinding* key :
       {&keys.repeatCmd, &keys.listHistoryCmd, &keys.listRecentCmd}) {
    const std::wstring name = key->name.str();
    EXPECT_FALSE(name.empty());
    EXPECT_EQ(name, key->name.ToUpper().str());
    EXPECT_EQ(name.starts_with(L"CTRL+"), (key->value & Qt::ControlModifier) != 0);
    const int code = key->value & ~static_cast<int>(Qt::KeyboardModifierMask);
    if (name.starts_with(L"CTRL+") && name.size() == 6) {
      EXPECT_EQ(name[5], static_cast<wchar_t>(code));
    }
    if (name.starts_with(L"F")) {
      EXPECT_EQ(Qt::Key_F1 - 1 + std::stoi(name.substr(1)), code);
    }
  }
}

TEST(BrokenDocument, IsSetAsideAndToldOnce) {
  for (const std::string& broken :
       {std::string("<SourceData><SESSION"), std::string(), std::string("text"),
        std::string("\0\0\0\0", 4), FullDocument().substr(0, 700), FullDocument() + "<more/>",
        FullDocument().replace(FullDocument().find("</KEYBOARD>"), 11, "</KEYBOARE>")}) {
    SettingsBench bench(broken);
    bench.Load();
    ExpectTheStartingDocument(bench);
    const std::vector<std::wstring> notices = bench.TakeNotices();
    ASSERT_EQ(1u, notices.size());
    EXPECT_NE(std::wstring::npos, notices[0].find(L".corrupt-")) << broken.size();
    ASSERT_EQ(1u, SetAside(bench).size());
    EXPECT_EQ(broken, bench.Folder().Read(SetAside(bench)[0]));
    EXPECT_EQ(0u, bench.Config().Save());
    bench.Load();
    EXPECT_EQ(std::vector<std::wstring>{}, bench.TakeNotices());
    EXPECT_EQ(1u, SetAside(bench).size());
    ExpectTheStartingDocument(bench);
  }
}

TEST(BrokenDocument, IsReplacedByTheLastGoodCopy) {
  SettingsBench bench(FullDocument());
  bench.Load();
  bench.Settings().fontSize = 77;
  bench.Config().StoreEverything(nullptr);
  EXPECT_EQ(0u, bench.Config().Save());
  bench.Settings().fontSize = 78;
  bench.Config().StoreEverything(nullptr);
  EXPECT_EQ(0u, bench.Config().Save());
  bench.Close();
  ASSERT_NE("", bench.Folder().Read("kiv.xml.bak"));
  bench.Folder().Write("kiv.xml", "broken");
  bench.Load();
  EXPECT_STREQ(L"A title", bench.Settings().title);
  EXPECT_EQ(1u, bench.TakeNotices().size());
  EXPECT_EQ("broken", bench.Folder().Read(SetAside(bench).at(0)));
}

TEST(BrokenDocument, WithABrokenCopyGivesTheStartingDocument) {
  SettingsBench bench("broken");
  bench.Folder().Write("kiv.xml.bak", "broken too");
  bench.Load();
  ExpectTheStartingDocument(bench);
  EXPECT_EQ(1u, bench.TakeNotices().size());
  EXPECT_EQ("broken", bench.Folder().Read(SetAside(bench).at(0)));
}

TEST(BrokenDocument, NeverOverwritesWhatWasSetAside) {
  SettingsBench bench;
  for (int i = 0; i < 4; ++i) {
    bench.Close();
    bench.Folder().Write("kiv.xml", "broken " + std::to_string(i));
    std::filesystem::remove(bench.Folder().File("kiv.xml.bak"));
    bench.Load();
    EXPECT_EQ(1u, bench.TakeNotices().size());
  }
  std::vector<std::string> contents;
  for (const std::string& name : SetAside(bench)) contents.push_back(bench.Folder().Read(name));
  std::sort(contents.begin(), contents.end());
  EXPECT_EQ((std::vector<std::string>{"broken 0", "broken 1", "broken 2", "broken 3"}), contents);
}

TEST(HostileDocument, IsHeldToItsLimits) {
  std::string deep, deepEnd;
  for (int i = 0; i < 100'000; ++i) {
    deep += "<A>";
    deepEnd += "</A>";
  }
  std::string entities = "<?xml version=\"1.0\"?><!DOCTYPE SourceData [<!ENTITY a \"aaaaaaaaaa\">";
  for (char ch = 'b'; ch < 'm'; ++ch) {
    entities += std::string("<!ENTITY ") + ch + " \"";
    for (int i = 0; i < 10; ++i) entities += std::string("&") + static_cast<char>(ch - 1) + ";";
    entities += "\">";
  }
  entities += "]><SourceData A=\"&l;\">&l;</SourceData>";
  const std::string documents[] = {
      Document(deep + deepEnd),
      Document("<!--" + std::string(16u << 20, 'x') + "-->"),
      entities,
      "<!DOCTYPE SourceData SYSTEM \"file:///etc/passwd\">" + RootDocument("").substr(39),
  };
  for (const std::string& document : documents) {
    SettingsBench bench(document);
    const auto start = kivtest::ProcessorTime();
    bench.Load();
    EXPECT_LT(kivtest::ProcessorTime() - start, std::chrono::seconds(2));
    ExpectTheStartingDocument(bench);
    ASSERT_EQ(1u, SetAside(bench).size());
    EXPECT_TRUE(document == bench.Folder().Read(SetAside(bench)[0]));
  }
}

TEST(HostileDocument, OfAnotherRootIsNotTaken) {
  SettingsBench bench("<Other><SESSION ID=\"1\"/></Other>");
  bench.Load();
  bench.Close();
  const std::vector<std::string> aside = SetAside(bench);
  // Set aside or kept: never overwritten by the starting document.
  const std::string kept = aside.empty() ? bench.File() : bench.Folder().Read(aside[0]);
  EXPECT_NE(std::string::npos, kept.find("<Other>"));
}

// A document of about 20 kB.
std::string LargeDocument() {
  std::string history;
  for (int i = 0; i < 100; ++i) {
    history +=
        Cmd("command" + std::to_string(i), std::string(100, static_cast<char>('a' + i % 26)));
  }
  std::string document = FullDocument();
  // A damaged path would be made, wherever it leads.
  const std::string path = " SAVE_PATH=\"/dev/null/y.txt\"";
  document.erase(document.find(path), path.size());
  const std::string empty = Cmd("h0", "a") + Cmd("h1", "b");
  document.replace(document.find(empty), empty.size(), history);
  while (document.size() < 20'000) {
    const std::size_t at = document.find("</FAVORATE_CMD>");
    document.insert(at, Cmd("favourite", "&lt;&amp;&#10;" + std::string(200, 'q')));
  }
  return document;
}

// What holds of every start, whatever the file was: it is quick, and either the file was taken (a
// save and a new load change nothing of what was read) or its bytes stand aside and the user was
// told.
void ExpectNothingLost(SettingsBench& bench, const std::string& document, bool mustBeBroken) {
  bench.Close();
  for (const std::string& name : bench.Folder().Names()) {
    std::filesystem::remove_all(bench.Folder().File(name));
  }
  bench.Folder().Write("kiv.xml", document);
  const auto start = kivtest::ProcessorTime();
  bench.Load();
  ASSERT_LT(kivtest::ProcessorTime() - start, std::chrono::seconds(2));
  const std::vector<std::string> aside = SetAside(bench);
  const std::size_t notices = bench.TakeNotices().size();
  if (!aside.empty()) {
    ASSERT_EQ(1u, aside.size());
    ASSERT_TRUE(document == bench.Folder().Read(aside[0]));
    ASSERT_EQ(1u, notices);
    ASSERT_EQ(L"0.0.0.0", bench.Config().SettingsInstancePath().str());
    return;
  }
  ASSERT_FALSE(mustBeBroken);
  ASSERT_EQ(0u, notices);
  const std::wstring title = bench.Settings().title;
  const std::size_t favourites = bench.Lists().favourites.GetCount();
  const std::wstring path = bench.Config().SettingsInstancePath().str();
  bench.Close();
  bench.Load();
  ASSERT_TRUE(SetAside(bench).empty());
  ASSERT_EQ(title, bench.Settings().title);
  ASSERT_EQ(favourites, bench.Lists().favourites.GetCount());
  ASSERT_EQ(path, bench.Config().SettingsInstancePath().str());
}

TEST(BrokenDocument, LosesNothingAtEveryTruncation) {
  const std::string document = LargeDocument();
  ASSERT_GE(document.size(), 20'000u);
  ASSERT_LT(document.size(), 22'000u);
  SettingsBench bench;
  bench.Tape().isOn = false;
  const std::size_t end = document.rfind('>');
  const auto step = static_cast<std::size_t>(SweepCount(10) == 1 ? 10 : 1);
  std::mt19937 random(1);
  for (std::size_t i = 0; i <= end; i += step) {
    const std::size_t lengthBytes = std::min(end, i + random() % step);
    ExpectNothingLost(bench, document.substr(0, lengthBytes), true);
    if (HasFatalFailure()) FAIL() << lengthBytes;
  }
}

std::string Mutated(std::string document, std::mt19937& random) {
  for (std::uint32_t changes = 1 + random() % 4; changes > 0 && !document.empty(); --changes) {
    const std::size_t at = random() % document.size();
    const std::size_t lengthBytes = std::min<std::size_t>(document.size() - at, random() % 60);
    switch (random() % 6) {
      case 0:
        document[at] = static_cast<char>(random());
        break;
      case 1:
        document[at] = "<>&\"'/=! ?\0"[random() % 11];
        break;
      case 2:
        document.erase(at, lengthBytes);
        break;
      case 3:
        document.insert(at, document.substr(random() % document.size(), lengthBytes));
        break;
      case 4:
        document[at] = static_cast<char>(document[at] ^ (1 << (random() % 8)));
        break;
      default:
        document.insert(at, lengthBytes, static_cast<char>(random()));
    }
  }
  return document;
}

TEST(BrokenDocument, LosesNothingAtAnyMutation) {
  const std::string document = LargeDocument();
  SettingsBench bench;
  bench.Tape().isOn = false;
  std::mt19937 random(2);
  testing::internal::CaptureStderr();
  for (std::int64_t i = 0; i < SweepCount(10'000); ++i) {
    ExpectNothingLost(bench, Mutated(document, random), false);
    if (HasFatalFailure()) FAIL() << i;
  }
  testing::internal::GetCapturedStderr();
}

}  // namespace
