// Import: what comes over, where it goes, and what each broken file answers.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using Notices = std::vector<std::wstring>;
using Names = std::vector<std::wstring>;

std::string Key(const std::string& tag, const std::string& name, const std::string& value) {
  return "<" + tag + " NAME=\"" + name + "\" VALUE=\"" + value + "\"/>";
}

struct OtherKeys {
  std::string repeat = "F6";
  std::string send = "ENTER";
  std::string history = "F7";
  std::string recent = "F8";
  std::string cancel = "ESC";
};

std::string Keyboard(const OtherKeys& keys = {}) {
  return "<KEYBOARD SPEC_KEY=\"1\">" + Key("REPEAT_CMD", keys.repeat, "501") +
         Key("SEND_CMD", keys.send, "502") + Key("LIST_HISTORY_CMD", keys.history, "503") +
         Key("LIST_RECENT_CMD", keys.recent, "504") + Key("CANCEL", keys.cancel, "505") +
         "</KEYBOARD>";
}

std::string Commands(const std::string& container, int count) {
  std::string all = "<" + container + ">";
  for (int i = 0; i < count; ++i) {
    all += Cmd("other" + std::to_string(i), "%(%" + std::to_string(i) + "\\n");
  }
  return all + "</" + container + ">";
}

// A settings object on FullDocument() and another file beside it.
class ImportBench {
 public:
  explicit ImportBench(const std::string& otherGroups, const std::string& own = FullDocument())
      : bench_(own) {
    bench_.Folder().Write("other.xml", Document(otherGroups));
    bench_.Load();
  }
  std::uint32_t Import(bool keyboard, bool favourites, bool shortcuts) {
    return bench_.Config().Import(bench_.Folder().WideFile("other.xml").c_str(), keyboard,
                                  favourites, shortcuts);
  }
  SettingsBench* operator->() { return &bench_; }
  SettingsBench& operator*() { return bench_; }

 private:
  SettingsBench bench_;
};

std::vector<std::string> OwnChanges(SettingsBench& bench) {
  std::vector<std::string> changes;
  for (const std::string& call : bench.Tape().Take()) {
    const bool isChange = call.starts_with("write") || call.starts_with("add") ||
                          call.starts_with("delete") || call.starts_with("save");
    // Whether a container is made with its ancestors or without is the same for the document.
    if (isChange) changes.push_back(call.substr(0, call.find(" with ancestors")));
    EXPECT_FALSE(call.starts_with("other: write") || call.starts_with("other: add") ||
                 call.starts_with("other: delete") || call.starts_with("other: save"))
        << call;
  }
  return changes;
}

std::vector<std::string> OtherLooks(SettingsBench& bench) {
  std::vector<std::string> looks;
  for (const std::string& call : bench.Tape().Take()) {
    if (call.starts_with("other: ")) looks.push_back(call.substr(7));
  }
  return looks;
}

TEST(Import, CopiesTheKeysInTheirOrder) {
  ImportBench bench(Keyboard());
  EXPECT_EQ(0u, bench.Import(true, false, false));
  EXPECT_EQ((Calls{WriteOf({"KEYBOARD.REPEAT_CMD", "NAME"}, "F6"),
                   WriteOf({"KEYBOARD.REPEAT_CMD", "VALUE"}, "501"),
                   WriteOf({"KEYBOARD.LIST_HISTORY_CMD", "NAME"}, "F7"),
                   WriteOf({"KEYBOARD.LIST_HISTORY_CMD", "VALUE"}, "503"),
                   WriteOf({"KEYBOARD.LIST_RECENT_CMD", "NAME"}, "F8"),
                   WriteOf({"KEYBOARD.LIST_RECENT_CMD", "VALUE"}, "504"),
                   WriteOf({"KEYBOARD.SEND_CMD", "NAME"}, "ENTER"),
                   WriteOf({"KEYBOARD.SEND_CMD", "VALUE"}, "502"),
                   WriteOf({"KEYBOARD.CANCEL", "NAME"}, "ESC"),
                   WriteOf({"KEYBOARD.CANCEL", "VALUE"}, "505")}),
            OwnChanges(*bench));
  EXPECT_EQ(Notices{}, bench->TakeNotices());
  EXPECT_EQ(FullDocument(), bench->File());  // the host saves
}

TEST(Import, LooksFirstForTheSettingsAndThenForTheGroup) {
  ImportBench bench(Keyboard());
  EXPECT_EQ(0u, bench.Import(true, false, false));
  const Calls looks = OtherLooks(*bench);
  const Calls expected = {"find ID=1 of SourceData.SESSION from 0",
                          "find ID=1 of SourceData.SESSION.INSTANCE from 0.0.0",
                          "node SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
                          "node ~KEYBOARD 0.0.0.0.0",
                          ReadOf({"KEYBOARD.REPEAT_CMD", "NAME"}),
                          ReadOf({"KEYBOARD.LIST_HISTORY_CMD", "NAME"}),
                          ReadOf({"KEYBOARD.LIST_RECENT_CMD", "NAME"})};
  ASSERT_GE(looks.size(), expected.size());
  EXPECT_EQ(expected, Calls(looks.begin(), looks.begin() + 7));
}

TEST(Import, AppendsFavouritesBehindTheOwn) {
  ImportBench bench(Commands("FAVORATE_CMD", 2));
  EXPECT_EQ(0u, bench.Import(false, true, false));
  EXPECT_EQ((Calls{"add CMD under ~FAVORATE_CMD 0.0.0.0.0",
                   "write NAME=other0 of ~FAVORATE_CMD.CMD 0.0.0.0.0.1",
                   "write PARA=%(%0\\n of ~FAVORATE_CMD.CMD 0.0.0.0.0.1",
                   "add CMD under ~FAVORATE_CMD 0.0.0.0.0",
                   "write NAME=other1 of ~FAVORATE_CMD.CMD 0.0.0.0.0.2",
                   "write PARA=%(%1\\n of ~FAVORATE_CMD.CMD 0.0.0.0.0.2"}),
            OwnChanges(*bench));
  // The same once more: none is skipped.
  EXPECT_EQ(0u, bench.Import(false, true, false));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(5u, bench->CountOnDisk(L"FAVORATE_CMD", L"CMD"));
}

TEST(Import, MakesTheFavouritesWhenTheOwnAreMissing) {
  ImportBench bench(Commands("FAVORATE_CMD", 1), Document(""));
  EXPECT_EQ(0u, bench.Import(false, true, false));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(L"other0", bench->OnDisk(L"FAVORATE_CMD.CMD", L"NAME"));
}

TEST(Import, TakesTheFirstTenShortcuts) {
  ImportBench bench(Commands("SHORTCUTKEY_CMD", 12));
  EXPECT_EQ(0u, bench.Import(false, false, true));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(10u, bench->CountOnDisk(L"SHORTCUTKEY_CMD", L"CMD"));
  EXPECT_EQ(L"other9", bench->OnDisk(L"SHORTCUTKEY_CMD.CMD", L"NAME", L"0.0.0.0.0.9"));
  EXPECT_EQ(L"%(%9\\n", bench->OnDisk(L"SHORTCUTKEY_CMD.CMD", L"PARA", L"0.0.0.0.0.9"));
}

TEST(Import, EmptiesTheShortcutsBeforehand) {
  ImportBench bench(Commands("SHORTCUTKEY_CMD", 1));
  EXPECT_EQ(0u, bench.Import(false, false, true));
  EXPECT_EQ((Calls{"delete ~SHORTCUTKEY_CMD 0.0.0.0.0",
                   "add SHORTCUTKEY_CMD under SourceData.SESSION.INSTANCE.DEFAULT 0.0.0.0",
                   "add CMD under ~SHORTCUTKEY_CMD 0.0.0.0.0",
                   "write NAME=other0 of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.0",
                   "write PARA=%(%0\\n of ~SHORTCUTKEY_CMD.CMD 0.0.0.0.0.0"}),
            OwnChanges(*bench));
}

TEST(Import, BringsMemoryAlongInTheFirstInstance) {
  ImportBench bench(Keyboard() + Commands("FAVORATE_CMD", 2) + Commands("SHORTCUTKEY_CMD", 2));
  EXPECT_EQ(0u, bench.Import(true, true, true));
  EXPECT_EQ(L"F6", bench->Keys().repeatCmd.name.str());
  EXPECT_EQ(501, bench->Keys().repeatCmd.value);
  EXPECT_EQ(L"F8", bench->Keys().listRecentCmd.name.str());
  EXPECT_EQ(505, bench->Keys().cancel.value);
  ASSERT_EQ(3u, bench->Lists().favourites.GetCount());
  EXPECT_EQ(L"<1\n", bench->Lists().favourites[2].parameters.str());
  EXPECT_EQ(L"other1", bench->Lists().shortcuts[1].name.str());
  EXPECT_EQ(L"", bench->Lists().shortcuts[2].name.str());
  // So the next store keeps what was imported.
  EXPECT_EQ(0u, bench->Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(L"F6", bench->OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME"));
  EXPECT_EQ(L"%(%1\\n", bench->OnDisk(L"FAVORATE_CMD.CMD", L"PARA", L"0.0.0.0.0.2"));
  EXPECT_EQ(L"other1", bench->OnDisk(L"SHORTCUTKEY_CMD.CMD", L"NAME", L"0.0.0.0.0.1"));
}

// It always goes into the first instance of the session, whichever is current.
TEST(Import, GoesIntoTheFirstInstance) {
  const std::string instance = "\"><DEFAULT>" + FullGroups() + "</DEFAULT></INSTANCE>";
  SettingsBench bench(RootDocument("<SESSION ID=\"3\"/><SESSION ID=\"1\"><INSTANCE ID=\"1" +
                                   instance + "<INSTANCE ID=\"2" + instance + "</SESSION>"));
  bench.Folder().Write(
      "other.xml", RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"9\"/><INSTANCE ID=\"2"
                                "\"><DEFAULT>" +
                                Keyboard() + Commands("SHORTCUTKEY_CMD", 1) +
                                Commands("FAVORATE_CMD", 1) + "</DEFAULT></INSTANCE></SESSION>"));
  bench.Load(1, 2);
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(L"F3", bench.Keys().repeatCmd.name.str());
  EXPECT_EQ(1u, bench.Lists().favourites.GetCount());
  EXPECT_EQ(L"s2", bench.Lists().shortcuts[2].name.str());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"F6", bench.OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME", L"0.1.0.0.0.0"));
  EXPECT_EQ(L"F3", bench.OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME", L"0.1.1.0.0.0"));
  EXPECT_EQ(1u, bench.CountOnDisk(L"SHORTCUTKEY_CMD", L"CMD", L"0.1.0.0.0"));
  EXPECT_EQ(3u, bench.CountOnDisk(L"SHORTCUTKEY_CMD", L"CMD", L"0.1.1.0.0"));
  EXPECT_EQ(2u, bench.CountOnDisk(L"FAVORATE_CMD", L"CMD", L"0.1.0.0.0"));
  EXPECT_EQ(1u, bench.CountOnDisk(L"FAVORATE_CMD", L"CMD", L"0.1.1.0.0"));
}

TEST(Import, RefusesKeysOfTheSameName) {
  struct Row {
    OtherKeys keys;
    bool conflicts;
  };
  const Row rows[] = {
      {{.repeat = "F7"}, true},
      {{.repeat = "F8"}, true},
      {{.history = "F8"}, true},
      {{.repeat = " \t\xC2\xA0"
                  "F7&#10;"},
       true},  // trimmed of every white space
      {{.repeat = "f7"}, false},
      {{.repeat = ""}, false},
      {{.repeat = "", .history = ""}, true},
      {{.repeat = "  ", .recent = ""}, true},
      {{.repeat = "ENTER"}, false},
  };
  for (const Row& row : rows) {
    ImportBench bench(Keyboard(row.keys) + Commands("FAVORATE_CMD", 1));
    EXPECT_EQ(row.conflicts ? 10007u : 0u, bench.Import(true, true, false)) << row.keys.repeat;
    EXPECT_EQ(row.conflicts ? Notices{L"Shortcut key command conflict."} : Notices{},
              bench->TakeNotices());
    EXPECT_EQ(row.conflicts, OwnChanges(*bench).empty()) << row.keys.repeat;
    if (row.conflicts) {
      EXPECT_EQ(L"F3", bench->Keys().repeatCmd.name.str());
    }
  }
}

TEST(Import, CountsMissingNamesAsEqual) {
  ImportBench bench("<KEYBOARD><LIST_RECENT_CMD NAME=\"F1\" VALUE=\"1\"/></KEYBOARD>");
  EXPECT_EQ(10007u, bench.Import(true, false, false));
  EXPECT_EQ(Notices{L"Shortcut key command conflict."}, bench->TakeNotices());
  EXPECT_EQ(Calls{}, OwnChanges(*bench));
}

TEST(Import, NeverRebindsEnterAndEsc) {
  for (const OtherKeys& keys :
       {OtherKeys{.send = "F1"}, OtherKeys{.cancel = "F1"}, OtherKeys{.send = "Enter"},
        OtherKeys{.send = " ENTER"}, OtherKeys{.cancel = "ESC "}, OtherKeys{.cancel = ""}}) {
    ImportBench bench(Keyboard(keys) + Commands("FAVORATE_CMD", 1));
    EXPECT_EQ(10007u, bench.Import(true, true, false));
    EXPECT_EQ(Notices{L"Invalid import shortcut key"}, bench->TakeNotices());
    EXPECT_EQ(0u, bench->Config().Save());
    EXPECT_EQ(L"F6", bench->OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME"));
    EXPECT_EQ(L"504", bench->OnDisk(L"KEYBOARD.LIST_RECENT_CMD", L"VALUE"));
    EXPECT_EQ(L"62", bench->OnDisk(L"KEYBOARD.SEND_CMD", L"VALUE"));
    EXPECT_EQ(L"65", bench->OnDisk(L"KEYBOARD.CANCEL", L"VALUE"));
    EXPECT_EQ(1u, bench->CountOnDisk(L"FAVORATE_CMD", L"CMD"));
    EXPECT_EQ(L"F6", bench->Keys().repeatCmd.name.str());
    EXPECT_EQ(62, bench->Keys().sendCmd.value);
  }
}

TEST(Import, CopiesNamesUntrimmed) {
  ImportBench bench(Keyboard({.repeat = " F6 "}));
  EXPECT_EQ(0u, bench.Import(true, false, false));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(L" F6 ", bench->OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME"));
  EXPECT_EQ(L" F6 ", bench->Keys().repeatCmd.name.str());
}

TEST(Import, SaysWhichGroupTheFileLacks) {
  struct Row {
    bool keyboard, favourites, shortcuts;
    std::string groups;
    const wchar_t* notice;
  };
  const Row rows[] = {
      {true, false, false, Commands("FAVORATE_CMD", 1), L"No shortcut key info in the file."},
      {false, true, false, Keyboard(), L"No favorite command info in the file."},
      {false, false, true, Keyboard(), L"No shortcut key command info in the file."},
      {true, true, true, Keyboard(), L"No favorite command info in the file."},
      {true, true, true, Keyboard() + Commands("FAVORATE_CMD", 1),
       L"No shortcut key command info in the file."},
  };
  for (const Row& row : rows) {
    ImportBench bench(row.groups);
    EXPECT_EQ(3004u, bench.Import(row.keyboard, row.favourites, row.shortcuts));
    EXPECT_EQ(Notices{row.notice}, bench->TakeNotices());
  }
}

TEST(Import, KeepsWhatEarlierGroupsBrought) {
  ImportBench bench(Keyboard() + Commands("FAVORATE_CMD", 1));
  EXPECT_EQ(3004u, bench.Import(true, true, true));
  EXPECT_EQ(0u, bench->Config().Save());
  EXPECT_EQ(L"F6", bench->OnDisk(L"KEYBOARD.REPEAT_CMD", L"NAME"));
  EXPECT_EQ(2u, bench->CountOnDisk(L"FAVORATE_CMD", L"CMD"));
  EXPECT_EQ(3u, bench->CountOnDisk(L"SHORTCUTKEY_CMD", L"CMD"));
}

TEST(Import, OfNothingLooksNevertheless) {
  ImportBench bench("");
  EXPECT_EQ(0u, bench.Import(false, false, false));
  EXPECT_EQ(Calls{}, OwnChanges(*bench));
}

TEST(Import, NeedsTheSameSessionAndInstanceInTheFile) {
  const std::vector<std::pair<std::string, std::uint32_t>> rows = {
      {RootDocument(""), 3005u},
      {RootDocument("<SESSION ID=\"2\"/>"), 3005u},
      {RootDocument("<SESSION ID=\"1\"/>"), 3005u},
      {RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"2\"/></SESSION>"), 3005u},
      {RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"/></SESSION>"), 3004u},
      {"", 3005u},
      {"no document", 3005u},
      {"<Other/>", 3005u},
      {FullDocument(), 0u},
  };
  for (const auto& [document, code] : rows) {
    ImportBench bench("");
    bench->Folder().Write("other.xml", document);
    EXPECT_EQ(code, bench.Import(true, true, true)) << document;
    EXPECT_EQ(document, bench->Folder().Read("other.xml"));
    EXPECT_EQ(code == 0, !OwnChanges(*bench).empty());
    for (const std::string& name : bench->Folder().Names()) {
      EXPECT_FALSE(name.starts_with("other.xml.")) << name;
    }
  }
}

// Without it nobody would ever find what was imported.
TEST(Import, IntoASessionWithoutAnInstanceMakesTheCurrentOne) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"/>"));
  bench.Folder().Write("other.xml", FullDocument());
  bench.Load();
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"1", bench.OnDisk(L"SourceData.SESSION.INSTANCE", L"ID", L"0.0.0"));
  EXPECT_EQ(1u, bench.CountOnDisk(L"SourceData.SESSION", L"INSTANCE", L"0.0"));
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  ASSERT_EQ(1u, bench.Lists().favourites.GetCount());
  EXPECT_EQ(L"f0", bench.Lists().favourites[0].name.str());
  EXPECT_EQ(L"F3", bench.Keys().repeatCmd.name.str());
}

// A console that goes on after the import stores into the instance that the import made.
TEST(Import, IntoASessionWithoutAnInstanceIsGoneOnWith) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"/>"));
  bench.Folder().Write("other.xml", FullDocument());
  bench.Load();
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(L"0.0.0.0", bench.Config().SettingsInstancePath().str());
  SvcKivSpace::KivCommandRecord typed;
  typed.name = L"typed";
  EXPECT_EQ(0u, bench.Config().StoreEverything(&typed));
  EXPECT_EQ(0u, bench.Config().Save());
  bench.Load();
  ASSERT_EQ(1u, bench.Lists().history.GetCount());
  EXPECT_EQ(L"typed", bench.Lists().history[0].name.str());
  ASSERT_EQ(1u, bench.Lists().favourites.GetCount());
  EXPECT_EQ(L"f0", bench.Lists().favourites[0].name.str());
  EXPECT_EQ(L"F3", bench.Keys().repeatCmd.name.str());
}

// What it had is not lost with the next store either.
TEST(Import, IntoAnInstanceWithoutAnIdReadsWhatThatHas) {
  SettingsBench bench(
      RootDocument("<SESSION ID=\"1\"><INSTANCE><DEFAULT><POPULAR TITLE=\"own\"/><FAVORATE_CMD>" +
                   Cmd("own", "") + "</FAVORATE_CMD></DEFAULT></INSTANCE></SESSION>"));
  bench.Folder().Write("other.xml", FullDocument());
  bench.Load();
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  bench.Load();
  EXPECT_EQ(L"own", std::wstring(bench.Settings().title));
  ASSERT_EQ(2u, bench.Lists().favourites.GetCount());
  EXPECT_EQ(L"own", bench.Lists().favourites[0].name.str());
  EXPECT_EQ(L"f0", bench.Lists().favourites[1].name.str());
}

// A host that has not loaded yet has nothing that a store should write.
TEST(Import, SelectsNoInstanceThatTheDocumentHasAlready) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"/></SESSION>"));
  bench.Folder().Write("other.xml", FullDocument());
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 1));
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(L"", bench.Config().SettingsPrefix().str());
}

// An instance of the file that has the current id stays the one that has it.
TEST(Import, GivesNoIdThatAnotherInstanceHas) {
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"><INSTANCE/><INSTANCE ID=\"1\"/></SESSION>"));
  bench.Folder().Write("other.xml", FullDocument());
  bench.Open();
  EXPECT_EQ(0u, bench.Config().SetSessionAndInstance(1, 1));
  EXPECT_EQ(0u,
            bench.Config().Import(bench.Folder().WideFile("other.xml").c_str(), true, true, true));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"<none>", bench.OnDisk(L"SourceData.SESSION.INSTANCE", L"ID", L"0.0.0"));
}

TEST(Import, CreatesNoFileThatIsMissing) {
  ImportBench bench("");
  for (const wchar_t* name : {L"missing.xml", L"missing/file.xml"}) {
    const std::wstring path = bench->Folder().WidePath() + L"/" + name;
    EXPECT_EQ(3005u, bench->Config().Import(path.c_str(), true, true, true));
  }
  for (const std::string& name : bench->Folder().Names()) {
    EXPECT_FALSE(name.starts_with("missing")) << name;
  }
}

// The other file is looked at first.
TEST(Import, AnswersTwoWithoutAnOwnDocumentWhenTheFileIsGood) {
  SettingsBench bench;
  std::filesystem::create_directory(bench.Folder().File("kiv.xml"));
  bench.Open();
  bench.TakeNotices();
  bench.Config().SetSessionAndInstance(1, 1);
  const std::wstring other = bench.Folder().WideFile("other.xml");
  EXPECT_EQ(3005u, bench.Config().Import(other.c_str(), true, true, true));
  bench.Folder().Write("other.xml",
                       RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"/></SESSION>"));
  EXPECT_EQ(3004u, bench.Config().Import(other.c_str(), true, true, true));
  bench.Folder().Write("other.xml", FullDocument());
  EXPECT_EQ(2u, bench.Config().Import(other.c_str(), true, true, true));
  EXPECT_EQ(Notices{}, bench.TakeNotices());
}

TEST(Import, TakesANullPathForAMissingFile) {
  ImportBench bench("");
  EXPECT_EQ(3005u, bench->Config().Import(nullptr, true, true, true));
}

}  // namespace
