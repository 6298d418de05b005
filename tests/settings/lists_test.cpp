// History, favourites, shortcut keys and the list of indications: limits, escapes, bad entries.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/fakes/module_bench.h"
#include "tests/settings/expected_calls.h"
#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using Names = std::vector<std::wstring>;
using SvcKivSpace::KivCommandRecord;

Names NamesOf(const QCList<KivCommandRecord>& list) {
  Names names;
  for (const KivCommandRecord& record : list) names.push_back(record.name.str());
  return names;
}

Names NamesOnDisk(const SettingsBench& bench, const std::wstring& container,
                  const std::wstring& instance = L"0.0.0") {
  Names names;
  const std::uint32_t count = bench.CountOnDisk(container, L"CMD", instance + L".0.0");
  for (std::uint32_t i = 0; i < count; ++i) {
    names.push_back(
        bench.OnDisk(container + L".CMD", L"NAME", instance + L".0.0." + std::to_wstring(i)));
  }
  return names;
}

std::string Commands(int count, const std::string& prefix = "c") {
  std::string all;
  for (int i = 0; i < count; ++i) all += Cmd(prefix + std::to_string(i), "p" + std::to_string(i));
  return all;
}

std::string In(const std::string& container, const std::string& entries) {
  return "<" + container + ">" + entries + "</" + container + ">";
}

TEST(History, OfOneHundredIsNeitherTrimmedNorSaved) {
  SettingsBench bench(Document(In("HISTORY_CMD", Commands(100))));
  bench.Load();
  EXPECT_EQ(0u, bench.Config().ReadHistory());
  EXPECT_EQ(CountedReads("HISTORY_CMD", 100), bench.Tape().Take());
  EXPECT_EQ(100u, bench.Lists().history.GetCount());
  EXPECT_EQ(Document(In("HISTORY_CMD", Commands(100))), bench.File());
}

TEST(History, LoadsItsNewestHundredAndSavesTheFileTrimmed) {
  SettingsBench bench(Document(In("HISTORY_CMD", Commands(150))));
  bench.Open();
  bench.Config().SetSessionAndInstance(1, 1);
  bench.Tape().Take();
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  Calls expected = {"find ID=1 of SourceData.SESSION.INSTANCE from 0.0.0",
                    "count CMD under ~HISTORY_CMD 0.0.0.0.0"};
  for (int i = 0; i < 50; ++i) expected.push_back("delete ~HISTORY_CMD.CMD 0.0.0.0.0.0");
  expected.push_back("save 1");
  for (const std::string& call : EntryReads("HISTORY_CMD", 100)) expected.push_back(call);
  Calls calls = bench.Tape().Take();
  ASSERT_GE(calls.size(), expected.size());
  calls.resize(expected.size());
  EXPECT_EQ(expected, calls);
  Names newest;
  for (int i = 50; i < 150; ++i) newest.push_back(L"c" + std::to_wstring(i));
  EXPECT_EQ(newest, NamesOf(bench.Lists().history));
  EXPECT_EQ(newest, NamesOnDisk(bench, L"HISTORY_CMD"));
  EXPECT_EQ(L"p149", bench.Lists().history[99].parameters.str());
}

TEST(History, OfOneHundredAndOneLosesOnlyTheOldest) {
  SettingsBench bench(Document(In("HISTORY_CMD", Commands(101))));
  bench.Load();
  EXPECT_EQ(L"c1", bench.Lists().history[0].name.str());
  EXPECT_EQ(100u, bench.Lists().history.GetCount());
  EXPECT_EQ(100u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD"));
}

TEST(History, LosesBadEntriesAfterTheTrim) {
  SettingsBench bench(Document(In("HISTORY_CMD", Commands(50) + Cmd("", "x") + Commands(60, "d"))));
  bench.Load();
  EXPECT_EQ(99u, bench.Lists().history.GetCount());
  EXPECT_EQ(100u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD"));  // not saved until the next save
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(99u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD"));
}

TEST(History, IsWrittenWholeHoweverLong) {
  SettingsBench bench(Document(""));
  bench.Load();
  for (int i = 0; i < 150; ++i) {
    bench.Lists().history.AddTail(Command(L"n" + std::to_wstring(i), L""));
  }
  EXPECT_EQ(0u, bench.Config().WriteHistory());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(150u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD"));
}

TEST(History, TakesANewEntryWithANameOfOneToEightyCharacters) {
  SettingsBench bench(Document(""));
  bench.Load();
  const std::wstring wide(79, L'\x4E2D');
  for (const std::size_t lengthChars : {0u, 1u, 80u, 81u}) {
    const KivCommandRecord entry = Command(std::wstring(lengthChars, L'n'), L"x");
    EXPECT_EQ(0u, bench.Config().StoreEverything(&entry));
  }
  EXPECT_EQ((Names{L"n", std::wstring(80, L'n')}), NamesOf(bench.Lists().history));
  const KivCommandRecord other = Command(wide + L"x", L"");
  EXPECT_EQ(0u, bench.Config().StoreEverything(&other));
  EXPECT_EQ(3u, bench.Lists().history.GetCount());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(NamesOf(bench.Lists().history), NamesOnDisk(bench, L"HISTORY_CMD"));
}

TEST(History, OfNothingLeavesAnEmptyElement) {
  for (const std::string& groups : {std::string(), In("HISTORY_CMD", Commands(3))}) {
    SettingsBench bench(Document(groups));
    bench.Load();
    bench.Lists().history.RemoveAll();
    EXPECT_EQ(0u, bench.Config().WriteHistory());
    EXPECT_EQ(0u, bench.Config().Save());
    EXPECT_EQ(1u, bench.CountOnDisk(L"", L"HISTORY_CMD"));
    EXPECT_EQ(0u, bench.CountOnDisk(L"HISTORY_CMD", L"CMD"));
  }
}

// Names of 1 to 80 and parameters of up to 16384 characters, counted after unescaping.
TEST(CommandLists, DropBadEntriesAndKeepEveryGoodOne) {
  const std::string bad = Cmd(std::string(81, 'n'), "x");
  const std::string longest = std::string(16383, 'p');
  for (const char* container : {"HISTORY_CMD", "FAVORATE_CMD"}) {
    const std::string entries = bad + Cmd("good1", "1") + bad + bad + Cmd("", "empty") +
                                Cmd("good2", longest + "\\n") + Cmd("long", longest + "pp") +
                                "<CMD PARA=\"no name\"/>" +
                                Cmd(std::string(80, 'n'), longest + "%(%") + bad;
    SettingsBench bench(Document(In(container, entries)));
    bench.Load();
    const bool isHistory = container == std::string("HISTORY_CMD");
    const Names good = {L"good1", L"good2", std::wstring(80, L'n')};
    const auto& list = isHistory ? bench.Lists().history : bench.Lists().favourites;
    ASSERT_EQ(good, NamesOf(list)) << container;
    EXPECT_EQ(std::wstring(16383, L'p') + L"\n", list[1].parameters.str());
    EXPECT_EQ(std::wstring(16383, L'p') + L"<", list[2].parameters.str());
    EXPECT_EQ(0u, bench.Config().Save());
    const std::string tag = container;
    EXPECT_EQ(good, NamesOnDisk(bench, std::wstring(tag.begin(), tag.end()))) << container;
  }
}

TEST(CommandLists, DeleteBadEntriesFromTheHighestPositionDown) {
  const std::string entries = Cmd("", "") + Cmd("a", "") + Cmd("", "") + Cmd("", "");
  SettingsBench bench(Document(In("HISTORY_CMD", entries) + In("FAVORATE_CMD", entries)));
  bench.Load();
  bench.Close();
  bench.Folder().Write("kiv.xml",
                       Document(In("HISTORY_CMD", entries) + In("FAVORATE_CMD", entries)));
  bench.Open();
  bench.Config().SetSessionAndInstance(1, 1);
  bench.Tape().Take();
  bench.Config().LoadEverything();
  Calls expected = Join(
      {{"find ID=1 of SourceData.SESSION.INSTANCE from 0.0.0"},
       CountedReads("HISTORY_CMD", 4),
       {"delete ~HISTORY_CMD.CMD 0.0.0.0.0.3", "delete ~HISTORY_CMD.CMD 0.0.0.0.0.2",
        "delete ~HISTORY_CMD.CMD 0.0.0.0.0.0"},
       CountedReads("FAVORATE_CMD", 4),
       {"delete 3 of ~FAVORATE_CMD.CMD in 0.0.0.0.0", "delete 2 of ~FAVORATE_CMD.CMD in 0.0.0.0.0",
        "delete 0 of ~FAVORATE_CMD.CMD in 0.0.0.0.0"}});
  Calls calls = bench.Tape().Take();
  ASSERT_GE(calls.size(), expected.size());
  calls.resize(expected.size());
  EXPECT_EQ(expected, calls);
}

TEST(CommandLists, LeaveTheListsOfOtherInstancesAlone) {
  const std::string lists = In("HISTORY_CMD", Cmd("", "") + Cmd("a", "")) +
                            In("FAVORATE_CMD", Cmd("", "") + Cmd("b", "")) +
                            In("SUPPORT_IND", "<CMD NAME=\"\" ID=\"1\"/>");
  SettingsBench bench(RootDocument("<SESSION ID=\"1\"><INSTANCE ID=\"1\"><DEFAULT>" + lists +
                                   "</DEFAULT></INSTANCE><INSTANCE ID=\"2\"><DEFAULT>" + lists +
                                   "</DEFAULT></INSTANCE></SESSION>"));
  bench.Load(1, 2);
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ((Names{L"", L"a"}), NamesOnDisk(bench, L"HISTORY_CMD", L"0.0.0"));
  EXPECT_EQ((Names{L"", L"b"}), NamesOnDisk(bench, L"FAVORATE_CMD", L"0.0.0"));
  EXPECT_EQ((Names{L""}), NamesOnDisk(bench, L"SUPPORT_IND", L"0.0.0"));
  EXPECT_EQ((Names{L"a"}), NamesOnDisk(bench, L"HISTORY_CMD", L"0.0.1"));
  EXPECT_EQ((Names{L"b"}), NamesOnDisk(bench, L"FAVORATE_CMD", L"0.0.1"));
  EXPECT_EQ(Names{}, NamesOnDisk(bench, L"SUPPORT_IND", L"0.0.1"));
}

TEST(CommandLists, AreReadAnewAndNotTwice) {
  SettingsBench bench(FullDocument());
  bench.Load();
  EXPECT_EQ(0u, bench.Config().LoadEverything());
  EXPECT_EQ(0u, bench.Config().ReadHistory());
  EXPECT_EQ(0u, bench.Config().ReadFavourites());
  EXPECT_EQ(0u, bench.Config().ReadSupportedInds());
  EXPECT_EQ((Names{L"h0", L"h1"}), NamesOf(bench.Lists().history));
  EXPECT_EQ(Names{L"f0"}, NamesOf(bench.Lists().favourites));
  EXPECT_EQ(2u, bench.Lists().supportedInds.GetCount());
}

TEST(CommandLists, GiveAnEntryWithoutParametersNone) {
  const std::string entries = Cmd("a", "1") + "<CMD NAME=\"b\"/>";
  SettingsBench bench(Document(In("HISTORY_CMD", entries) + In("FAVORATE_CMD", entries) +
                               In("SHORTCUTKEY_CMD", entries)));
  bench.Load();
  EXPECT_EQ(L"", bench.Lists().history[1].parameters.str());
  EXPECT_EQ(L"", bench.Lists().favourites[1].parameters.str());
  EXPECT_EQ(L"", bench.Lists().shortcuts[1].parameters.str());
}

TEST(CommandLists, EscapeParametersInTheDocument) {
  SettingsBench bench(Document(""));
  bench.Load();
  bench.Lists().history.AddTail(Command(L"h<>\n", L"a<b>\n"));
  bench.Lists().favourites.AddTail(Command(L"f", L"a<b>\n"));
  bench.Lists().shortcuts[3] = Command(L"s", L"a<b>\n");
  EXPECT_EQ(0u, bench.Config().StoreEverything(nullptr));
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(L"a%(%b%)%\\n", bench.OnDisk(L"HISTORY_CMD.CMD", L"PARA"));
  EXPECT_EQ(L"a%(%b%)%\\n", bench.OnDisk(L"FAVORATE_CMD.CMD", L"PARA"));
  EXPECT_EQ(L"a%(%b%)%\\n", bench.OnDisk(L"SHORTCUTKEY_CMD.CMD", L"PARA", L"0.0.0.0.0.3"));
  EXPECT_EQ(L"h<>\n", bench.OnDisk(L"HISTORY_CMD.CMD", L"NAME"));
  bench.Load();
  EXPECT_EQ(L"a<b>\n", bench.Lists().history[0].parameters.str());
  EXPECT_EQ(L"h<>\n", bench.Lists().history[0].name.str());
  EXPECT_EQ(L"a<b>\n", bench.Lists().favourites[0].parameters.str());
  EXPECT_EQ(L"a<b>\n", bench.Lists().shortcuts[3].parameters.str());
}

// The substitutions cannot be told from typed text: users of existing files know the loss.
TEST(CommandLists, LoseTypedTextThatLooksLikeAnEscape) {
  const std::vector<std::pair<std::wstring, std::wstring>> rows = {
      {L"@D:\\new.txt", L"@D:\new.txt"},
      {L"%(%", L"<"},
      {L"%)%", L">"},
      {L"%(%(%", L"<(%"},
      {L"\\\\n", L"\\\n"},
      {L"%<%", L"%<%"},
  };
  for (const auto& [typed, back] : rows) {
    SettingsBench bench(Document(""));
    bench.Load();
    bench.Lists().history.AddTail(Command(L"h", typed));
    EXPECT_EQ(0u, bench.Config().WriteHistory());
    EXPECT_EQ(0u, bench.Config().ReadHistory());
    EXPECT_EQ(back, bench.Lists().history[0].parameters.str());
  }
}

TEST(CommandLists, LeaveTheHostsOwnFieldsOutOfTheDocument) {
  SettingsBench bench(Document(""));
  bench.Load();
  KivCommandRecord record = Command(L"n", L"p");
  record.id = 77001;
  record.kind = 77002;
  record.description = QCString(L"77003");
  EXPECT_EQ(0u, bench.Config().StoreEverything(&record));
  EXPECT_EQ(77001, bench.Lists().history[0].id);
  EXPECT_EQ(77002, bench.Lists().history[0].kind);
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(std::string::npos, bench.File().find("7700"));
}

TEST(Shortcuts, AreTenSlotsWhateverTheFileHolds) {
  SettingsBench bench(Document(In("SHORTCUTKEY_CMD", Commands(12))));
  bench.Load();
  EXPECT_EQ(L"c9", bench.Lists().shortcuts[9].name.str());
  EXPECT_EQ(0u, bench.Config().WriteShortcuts());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ(10u, bench.CountOnDisk(L"SHORTCUTKEY_CMD", L"CMD"));
}

TEST(Shortcuts, KeepTheirSlotWhereTheFileHasNoSoundEntry) {
  SettingsBench bench(
      Document(In("SHORTCUTKEY_CMD", Cmd("a", "1") + Cmd(std::string(81, 'n'), "2") + Cmd("", "3") +
                                         Cmd("d", std::string(16385, 'p')))));
  bench.Open();
  for (std::size_t i = 0; i < 10; ++i) {
    bench.Lists().shortcuts[i] = Command(L"old" + std::to_wstring(i), L"o");
  }
  bench.Config().SetSessionAndInstance(1, 1);
  bench.Config().LoadEverything();
  Names names;
  for (const KivCommandRecord& slot : bench.Lists().shortcuts) names.push_back(slot.name.str());
  EXPECT_EQ(
      (Names{L"a", L"old1", L"", L"old3", L"old4", L"old5", L"old6", L"old7", L"old8", L"old9"}),
      names);
  EXPECT_EQ(L"3", bench.Lists().shortcuts[2].parameters.str());
  EXPECT_EQ(L"o", bench.Lists().shortcuts[3].parameters.str());
}

TEST(SupportedInds, SkipWhatCannotBeReadAndDeleteBadNames) {
  const std::string entries =
      "<CMD NAME=\"\" ID=\"1\"/><CMD NAME=\"a\" ID=\"2\"/><CMD NAME=\"b\"/><CMD ID=\"3\"/>"
      "<CMD NAME=\"" +
      std::string(81, 'n') + "\" ID=\"4\"/><CMD NAME=\"" + std::string(80, 'n') + "\" ID=\"-5x\"/>";
  SettingsBench bench(Document(In("SUPPORT_IND", entries)));
  bench.Load();
  ASSERT_EQ(2u, bench.Lists().supportedInds.GetCount());
  EXPECT_EQ(L"a", bench.Lists().supportedInds[0].name.str());
  EXPECT_EQ(2, bench.Lists().supportedInds[0].id);
  EXPECT_EQ(std::wstring(80, L'n'), bench.Lists().supportedInds[1].name.str());
  EXPECT_EQ(-5, bench.Lists().supportedInds[1].id);
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ((Names{L"a", L"b", L"<none>", std::wstring(80, L'n')}),
            NamesOnDisk(bench, L"SUPPORT_IND"));
  // What was skipped is left only until the list is written.
  EXPECT_EQ(0u, bench.Config().WriteSupportedInds());
  EXPECT_EQ(0u, bench.Config().Save());
  EXPECT_EQ((Names{L"a", std::wstring(80, L'n')}), NamesOnDisk(bench, L"SUPPORT_IND"));
}

// A container that cannot be made anew: the list is left out, memory stays, and somebody is told.
struct Container {
  const char* tag;
  std::uint32_t (SvcKivSpace::CSVCKIVConfig::*write)();
  const char* console;
  const wchar_t* trace;
};

const Container kContainers[] = {
    {"HISTORY_CMD", &SvcKivSpace::CSVCKIVConfig::WriteHistory, "", L"Create HISTORY_CMD Failed."},
    {"FAVORATE_CMD", &SvcKivSpace::CSVCKIVConfig::WriteFavourites, "",
     L"Create FAVORATE_CMD Failed."},
    {"SHORTCUTKEY_CMD", &SvcKivSpace::CSVCKIVConfig::WriteShortcuts,
     "Create SHORTCUTKEY_CMD Failed.\n", nullptr},
    {"SUPPORT_IND", &SvcKivSpace::CSVCKIVConfig::WriteSupportedInds, "Create SUPPORT_IND Failed.\n",
     nullptr},
};

TEST(CommandLists, ReportAContainerThatCannotBeMade) {
  for (const Container& container : kContainers) {
    for (const std::uint64_t n : {1u, 2u}) {
      SettingsBench bench(FullDocument());
      bench.Load();
      FillLists(bench);
      TraceEar ear;
      testing::internal::CaptureStderr();
      bench.Tape().FailNth(n, 500);
      (bench.Config().*container.write)();
      EXPECT_EQ(container.console, testing::internal::GetCapturedStderr()) << container.tag;
      const Names traces = ear.Lines();
      EXPECT_EQ(container.trace != nullptr ? Names{container.trace} : Names{}, traces);
      EXPECT_EQ(n, bench.Tape().Take().size()) << container.tag;
      EXPECT_EQ(2u, bench.Lists().history.GetCount());
      EXPECT_EQ(2u, bench.Lists().supportedInds.GetCount());
    }
  }
}

TEST(CommandLists, CountAMissingContainerAsDeleted) {
  SettingsBench bench(Document(""));
  bench.Load();
  FillLists(bench);
  TraceEar ear;
  testing::internal::CaptureStderr();
  for (const Container& container : kContainers) {
    bench.Tape().Take();
    EXPECT_EQ(0u, (bench.Config().*container.write)()) << container.tag;
    const Calls calls = bench.Tape().Take();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ("delete ~" + std::string(container.tag) + " 0.0.0.0.0 = 3004", calls[0]);
  }
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ(Names{}, ear.Lines());
}

TEST(SupportedInds, ReportAnEntryThatCannotBeAdded) {
  SettingsBench bench(FullDocument());
  bench.Load();
  FillLists(bench);
  testing::internal::CaptureStderr();
  bench.Tape().FailNth(3, 500);
  bench.Config().WriteSupportedInds();
  EXPECT_EQ("Create SUPPORT_IND.CMD Failed.\n", testing::internal::GetCapturedStderr());
}

}  // namespace
