// What comes of it when two processes changed one document: rules by rule, then through the file.
#include "platform/xml/xml_merge.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "platform/os/system_calls.h"
#include "platform/xml/xml_document.h"
#include "tests/platform/xml/settings_shape.h"
#include "tests/support/sweep.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tree_paths.h"

extern char** environ;

namespace {

using kivtest::TempDir;
using xml_config::MergeKind;

// A reader to whom "010" is "10", and who takes entries with a name alone, but not "bad" ones.
const xml_config::StoredAs kStoredAs = {
    [](const QCString&, const QCString&, const QCString& text) {
      return std::vector<QCString>{text.StartsWith(L"0") ? text.Mid(1) : text};
    },
    [](const QCString&, std::size_t position,
       const xml_config::EntryTexts& texts) -> std::optional<xml_config::EntryTexts> {
      const auto name = texts.find("n");
      if (position > 9 || name == texts.end() || name->second == L"bad") return std::nullopt;
      return xml_config::EntryTexts{
          {"n", name->second.StartsWith(L"0") ? name->second.Mid(1) : name->second}};
    }};

const xml_config::Options kRules = {.mergeRules = {{L"r", MergeKind::kByAttribute, L"ID"},
                                                   {L"r.list", MergeKind::kAppended, nullptr},
                                                   {L"r.whole", MergeKind::kWhole, nullptr}},
                                    .unsetValues = {{nullptr, L""}, {L"one", L"1"}}};

xml_config::Options ReadersRules() {
  xml_config::Options rules = kRules;
  rules.storedAs = kStoredAs;
  return rules;
}

struct MergeRow {
  const char* what;
  const char* base;
  const char* ours;
  const char* theirs;
  const char* merged;
};

constexpr MergeRow kRows[] = {
    {"nothing changed", "<r a='1'/>", "<r a='1'/>", "<r a='1'/>", "<r a=\"1\"/>"},
    {"theirs alone", "<r a='1'/>", "<r a='1'/>", "<r a='2' b='3'/>", "<r a=\"2\" b=\"3\"/>"},
    {"ours alone", "<r a='1'/>", "<r a='2' b='3'/>", "<r a='1'/>", "<r a=\"2\" b=\"3\"/>"},
    {"different attributes", "<r a='1' b='1'/>", "<r a='2' b='1'/>", "<r a='1' b='2'/>",
     "<r a=\"2\" b=\"2\"/>"},
    {"the same attribute: the last store", "<r a='1'/>", "<r a='2'/>", "<r a='3'/>",
     "<r a=\"2\"/>"},
    {"an attribute of both: the last store", "<r/>", "<r a='1'/>", "<r a='2'/>", "<r a=\"1\"/>"},
    {"an unset attribute yields", "<r/>", "<r a='' one='1' b=''/>", "<r a='2' one='3'/>",
     "<r a=\"2\" one=\"3\" b=\"\"/>"},
    {"an attribute of an unset element yields", "<r/>", "<r><y a=''/></r>", "<r><y a='2'/></r>",
     "<r><y a=\"2\"/></r>"},
    {"an emptied attribute does not", "<r a='1'/>", "<r a=''/>", "<r a='2'/>", "<r a=\"\"/>"},
    {"an attribute that we removed", "<r a='1' b='1'/>", "<r b='1'/>", "<r a='1' b='2'/>",
     "<r b=\"2\"/>"},
    {"an attribute that they removed", "<r a='1' b='1'/>", "<r a='1' b='2'/>", "<r b='1'/>",
     "<r b=\"2\"/>"},
    {"elements of one tag", "<r><x a='1'/></r>", "<r><x a='2'/></r>", "<r><y/><x a='1' b='1'/></r>",
     "<r><y/><x a=\"2\" b=\"1\"/></r>"},
    {"an element of each", "<r/>", "<r><x/></r>", "<r><y/></r>", "<r><y/><x/></r>"},
    {"the same element of both", "<r/>", "<r><x a='1' b='1'/></r>", "<r><x b='2' c='2'/></r>",
     "<r><x b=\"1\" c=\"2\" a=\"1\"/></r>"},
    {"empty slots where there were none", "<r><whole/></r>",
     "<r><whole><c n='' p=''/><c n='' p=''/></whole></r>", "<r><whole><c n='x'/></whole></r>",
     "<r><whole><c n=\"x\"/></whole></r>"},
    {"a list stored as it was read", "<r><whole><c n='a'/><!-- b --></whole></r>",
     "<r><whole><c n='a' p=''/></whole></r>", "<r><whole><c n='a'/><c n='x'/></whole></r>",
     "<r><whole><c n=\"a\"/><c n=\"x\"/></whole></r>"},
    {"a slot that we emptied", "<r><whole><c n='a'/></whole></r>",
     "<r><whole><c n='' p=''/></whole></r>", "<r><whole><c n='a'/><c n='x'/></whole></r>",
     "<r><whole><c n=\"\" p=\"\"/></whole></r>"},
    {"a slot that we set behind empty ones", "<r><whole/></r>",
     "<r><whole><c n=''/><c n='b'/></whole></r>", "<r><whole><c n='x'/></whole></r>",
     "<r><whole><c n=\"\"/><c n=\"b\"/></whole></r>"},
    {"by their ID", "<r><x ID='1'/></r>", "<r><x ID='1'/><x ID='2' a='1'/></r>",
     "<r><x ID='3'/><x ID='1' b='1'/></r>",
     "<r><x ID=\"3\"/><x ID=\"1\" b=\"1\"/><x ID=\"2\" a=\"1\"/></r>"},
    {"removed by us", "<r><x ID='1'/><x ID='2'/></r>", "<r><x ID='2'/></r>",
     "<r><x ID='1'/><x ID='2'/><x ID='3'/></r>", "<r><x ID=\"2\"/><x ID=\"3\"/></r>"},
    {"removed by them", "<r><x ID='1'/><x ID='2'/></r>", "<r><x ID='1'/><x ID='2' a='1'/></r>",
     "<r><x ID='2'/></r>", "<r><x ID=\"2\" a=\"1\"/></r>"},
    {"removed by us, changed by them", "<r><x ID='1'/></r>", "<r/>", "<r><x ID='1' a='1'/></r>",
     "<r><x ID=\"1\" a=\"1\"/></r>"},
    {"removed by them, changed by us", "<r><x ID='1'/></r>", "<r><x ID='1' a='1'/></r>", "<r/>",
     "<r><x ID=\"1\" a=\"1\"/></r>"},
    {"one ID once more", "<r><x ID='1'/></r>", "<r><x ID='1'/><x ID='1' a='1'/></r>",
     "<r><x ID='1' b='1'/></r>", "<r><x ID=\"1\" b=\"1\"/><x ID=\"1\" a=\"1\"/></r>"},
    {"tags twice, in their order", "<r><y><x/><x/></y></r>", "<r><y><x/><x a='1'/></y></r>",
     "<r><y><x b='1'/><x/><x/></y></r>", "<r><y><x b=\"1\"/><x a=\"1\"/><x/></y></r>"},
    {"lists of one ID twice", "<r><x ID='1'><list/></x><x ID='1'/></r>",
     "<r><x ID='1'><list><c n='1'/></list></x><x ID='1'/></r>",
     "<r><x ID='1'><list><c n='2'/></list></x><x ID='1'/></r>",
     "<r><x ID=\"1\"><list><c n=\"1\"/></list></x><x ID=\"1\"/></r>"},
    {"tags twice of which they removed one: ours as one", "<r><y><x/><x/></y></r>",
     "<r><y><x/><x a='1'/></y></r>", "<r><y><x/></y></r>", "<r><y><x/><x a=\"1\"/></y></r>"},
    {"tags twice of which they removed one", "<r><y><x/><x/></y></r>", "<r><y><x/><x/></y></r>",
     "<r><y><x/></y></r>", "<r><y><x/></y></r>"},
    {"equal entries that both removed", "<r><list><c n='1'/><c n='1'/><c n='1'/></list></r>",
     "<r><list><c n='1'/></list></r>", "<r><list><c n='1'/></list></r>",
     "<r><list><c n=\"1\"/></list></r>"},
    {"entries of both, theirs came first", "<r><list><c n='0'/></list></r>",
     "<r><list><c n='0'/><c n='1'/><c n='2'/></list></r>",
     "<r><list><c n='0'/><c n='3'/></list></r>",
     "<r><list><c n=\"0\"/><c n=\"3\"/><c n=\"1\"/><c n=\"2\"/></list></r>"},
    {"the same entry of both is two", "<r><list/></r>", "<r><list><c n='1'/></list></r>",
     "<r><list><c n='1'/></list></r>", "<r><list><c n=\"1\"/><c n=\"1\"/></list></r>"},
    {"an entry once more", "<r><list><c n='1'/></list></r>",
     "<r><list><c n='1'/><c n='2'/><c n='1'/></list></r>", "<r><list><c n='1'/></list></r>",
     "<r><list><c n=\"1\"/><c n=\"2\"/><c n=\"1\"/></list></r>"},
    {"entries that we removed", "<r><list><c n='1'/><c n='2'/><c n='1'/></list></r>",
     "<r><list><c n='2'/><c n='1'/></list></r>",
     "<r><list><c n='1'/><c n='2'/><c n='1'/><c n='4'/></list></r>",
     "<r><list><c n=\"2\"/><c n=\"1\"/><c n=\"4\"/></list></r>"},
    {"entries that both removed", "<r><list><c n='1'/><c n='2'/></list></r>",
     "<r><list><c n='2'/><c n='3'/></list></r>", "<r><list><c n='2'/></list></r>",
     "<r><list><c n=\"2\"/><c n=\"3\"/></list></r>"},
    {"a list that they removed", "<r><list><c n='1'/></list></r>",
     "<r><list><c n='1'/><c n='2'/></list></r>", "<r/>",
     "<r><list><c n=\"1\"/><c n=\"2\"/></list></r>"},
    {"a whole list of ours", "<r><whole><c n='1'/></whole></r>", "<r><whole><c n='2'/></whole></r>",
     "<r><whole><c n='1'/><c n='3'/></whole></r>", "<r><whole><c n=\"2\"/></whole></r>"},
    {"a whole list of theirs", "<r><whole><c n='1'/></whole></r>",
     "<r><whole><c n='1'/></whole></r>", "<r><whole><c n='3'/><c n='1'/></whole></r>",
     "<r><whole><c n=\"3\"/><c n=\"1\"/></whole></r>"},
    {"comments of theirs", "<r/>", "<r a='1'/>", "<r><!-- theirs --></r>",
     "<r a=\"1\"><!-- theirs --></r>"},
};

pugi::xml_document Parsed(const char* text) {
  pugi::xml_document document;
  EXPECT_EQ(xml_document::Outcome::kSound, xml_document::Parse(text, "r", document).outcome)
      << text;
  return document;
}

TEST(XmlMerge, BringsOurChangesIntoTheirs) {
  for (const MergeRow& row : kRows) {
    const pugi::xml_document base = Parsed(row.base), ours = Parsed(row.ours);
    const pugi::xml_document theirs = Parsed(row.theirs);
    xml_merge::Merge(base.document_element(), ours.document_element(), theirs.document_element(),
                     kRules);
    EXPECT_EQ(row.merged, xml_document::Serialise(theirs.document_element())) << row.what;
  }
}

// What one console read and stored back, as it spells it.
TEST(XmlMerge, TakesAnotherSpellingForNoChange) {
  const MergeRow rows[] = {
      {"a value", "<r a='010'/>", "<r a='10'/>", "<r a='11'/>", "<r a=\"11\"/>"},
      {"a value that they left", "<r a='010'/>", "<r a='10' b='1'/>", "<r a='010'/>",
       "<r a=\"010\" b=\"1\"/>"},
      {"a value that we set", "<r a='010'/>", "<r a='12'/>", "<r a='11'/>", "<r a=\"12\"/>"},
      {"an entry", "<r><list><c n='01' x='1'/></list></r>",
       "<r><list><c n='1'/><c n='2'/></list></r>",
       "<r><list><c n='01' x='1'/><c n='3'/></list></r>",
       "<r><list><c n=\"01\" x=\"1\"/><c n=\"3\"/><c n=\"2\"/></list></r>"},
      {"an entry that they removed", "<r><list><c n='01'/></list></r>",
       "<r><list><c n='1'/></list></r>", "<r><list/></r>", "<r><list/></r>"},
      {"an entry that is not taken", "<r><list><c n='bad'/><c n='1'/></list></r>",
       "<r><list><c n='1'/></list></r>", "<r><list><c n='bad'/><c n='1'/><c n='2'/></list></r>",
       "<r><list><c n=\"1\"/><c n=\"2\"/></list></r>"},
      {"a whole list", "<r><whole><c n='01' x='1'><y/></c><c n='bad'/><c/></whole></r>",
       "<r><whole><c n='1'/></whole></r>", "<r><whole><c n='2'/></whole></r>",
       "<r><whole><c n=\"2\"/></whole></r>"},
      {"a whole list that we changed", "<r><whole><c n='01' x='1'/><c n='bad'/></whole></r>",
       "<r><whole><c n='3'/></whole></r>", "<r><whole><c n='2'/></whole></r>",
       "<r><whole><c n=\"3\"/></whole></r>"},
  };
  for (const MergeRow& row : rows) {
    const pugi::xml_document base = Parsed(row.base), ours = Parsed(row.ours);
    const pugi::xml_document theirs = Parsed(row.theirs);
    xml_merge::Merge(base.document_element(), ours.document_element(), theirs.document_element(),
                     ReadersRules());
    EXPECT_EQ(row.merged, xml_document::Serialise(theirs.document_element())) << row.what;
  }
}

TEST(XmlMerge, BringsBackWhatAFileThatBeganAnewLacks) {
  const MergeRow rows[] = {
      {"entries of before", "<r><list><c n='1'/></list></r>",
       "<r><list><c n='1'/><c n='2'/></list></r>", "<r><list><c n='3'/></list></r>",
       "<r><list><c n=\"3\"/><c n=\"1\"/><c n=\"2\"/></list></r>"},
      {"not twice what it has", "<r><list><c n='1'/></list></r>",
       "<r><list><c n='1'/><c n='1'/></list></r>", "<r><list><c n='1'/></list></r>",
       "<r><list><c n=\"1\"/><c n=\"1\"/></list></r>"},
      {"not what we removed", "<r><list><c n='1'/><c n='2'/></list></r>",
       "<r><list><c n='2'/></list></r>", "<r><list><c n='1'/></list></r>",
       "<r><list><c n=\"2\"/></list></r>"},
      {"an element", "<r><x ID='1'/><x ID='2'/></r>", "<r><x ID='1'/><x ID='2'/></r>",
       "<r><x ID='1'/></r>", "<r><x ID=\"1\"/><x ID=\"2\"/></r>"},
  };
  for (const MergeRow& row : rows) {
    const pugi::xml_document base = Parsed(row.base), ours = Parsed(row.ours);
    const pugi::xml_document theirs = Parsed(row.theirs);
    xml_merge::MergeAnew({base.document_element(), ours.document_element(),
                          theirs.document_element(), base.document_element()},
                         kRules);
    EXPECT_EQ(row.merged, xml_document::Serialise(theirs.document_element())) << row.what;
  }
}

struct AnewRow {
  const char* what;
  const char* loaded;
  const char* ours;
  const char* theirs;
  const char* merged;
};

// Saved by us before, so that `base` is `ours`; a new document begins with a="0" and an empty list.
TEST(XmlMerge, BringsBackWhatWasSetBeforeAFileBeganAnew) {
  const AnewRow rows[] = {
      {"set by us", "<r a='1'/>", "<r a='2'/>", "<r a='1'/>", "<r a=\"2\"/>"},
      {"set by us and by them", "<r a='1'/>", "<r a='2'/>", "<r a='3'/>", "<r a=\"2\"/>"},
      {"set by them", "<r a='1'/>", "<r a='1'/>", "<r a='3'/>", "<r a=\"3\"/>"},
      {"set before us, there as it begins", "<r a='1'/>", "<r a='1'/>", "<r a='0'/>",
       "<r a=\"1\"/>"},
      {"never set by us", "<r/>", "<r a=''/>", "<r a='0'/>", "<r a=\"0\"/>"},
      {"missing there", "<r b='1'/>", "<r b='1'/>", "<r/>", "<r b=\"1\"/>"},
      {"a list of ours", "<r><whole/></r>", "<r><whole><c n='1'/></whole></r>",
       "<r><whole><c n='2'/></whole></r>", "<r><whole><c n=\"1\"/></whole></r>"},
      {"a list of before us, there empty", "<r><whole><c n='1'/></whole></r>",
       "<r><whole><c n='1'/></whole></r>", "<r><whole><c n=''/></whole></r>",
       "<r><whole><c n=\"1\"/></whole></r>"},
      {"a list of theirs", "<r><whole><c n='1'/></whole></r>", "<r><whole><c n='1'/></whole></r>",
       "<r><whole><c n='2'/></whole></r>", "<r><whole><c n=\"2\"/></whole></r>"},
      {"elements twice", "<r><x/><x a='1'/></r>", "<r><x/><x a='1'/></r>", "<r><x/></r>",
       "<r><x/><x a=\"1\"/></r>"},
  };
  const pugi::xml_document starting = Parsed("<r a='0'><whole/></r>");
  for (const AnewRow& row : rows) {
    const pugi::xml_document loaded = Parsed(row.loaded), ours = Parsed(row.ours);
    const pugi::xml_document theirs = Parsed(row.theirs);
    xml_merge::MergeAnew(
        {ours.document_element(), ours.document_element(), theirs.document_element(),
         loaded.document_element(), starting.document_element()},
        kRules);
    EXPECT_EQ(row.merged, xml_document::Serialise(theirs.document_element())) << row.what;
  }
}

TEST(XmlMerge, LeavesOursAsItIsWhenTheyChangedNothing) {
  for (const MergeRow& row : kRows) {
    const pugi::xml_document base = Parsed(row.base), ours = Parsed(row.ours);
    const pugi::xml_document theirs = Parsed(row.base);
    xml_merge::Merge(base.document_element(), ours.document_element(), theirs.document_element(),
                     kRules);
    EXPECT_EQ(xml_document::Serialise(ours.document_element()),
              xml_document::Serialise(theirs.document_element()))
        << row.what;
  }
}

constexpr const wchar_t* kHistory = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD";
constexpr const wchar_t* kEntry = L"SourceData.SESSION.INSTANCE.DEFAULT.HISTORY_CMD.CMD";
constexpr const wchar_t* kFavourites = L"SourceData.SESSION.INSTANCE.DEFAULT.FAVORATE_CMD";
constexpr const wchar_t* kFavourite = L"SourceData.SESSION.INSTANCE.DEFAULT.FAVORATE_CMD.CMD";
constexpr const wchar_t* kPopular = L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR";

// Consoles on one settings file.
class TwoConsoles : public testing::Test {
 protected:
  CXmlConfig Open() const { return CXmlConfig(path_, kivtest::SettingsOptions()); }
  static void Append(CXmlConfig& config, const QCString& name) {
    ASSERT_EQ(0u, config.AddConfigNode(L"CMD", kHistory, L"0.0.0.0.0", 1));
    std::uint32_t count = 0;
    ASSERT_EQ(0u, config.GetSubNodeCount(count, kHistory, L"CMD", L"0.0.0.0.0"));
    const QCString at = QCString(L"0.0.0.0.0.") + std::to_wstring(count - 1).c_str();
    ASSERT_EQ(0u, config.WriteAttrValue(name, L"NAME", kEntry, at));
  }
  static std::vector<std::string> History(const CXmlConfig& config) {
    std::uint32_t count = 0;
    EXPECT_EQ(0u, config.GetSubNodeCount(count, kHistory, L"CMD", L"0.0.0.0.0"));
    std::vector<std::string> names(count);
    for (std::uint32_t i = 0; i < count; ++i) {
      QCString name;
      config.ReadAttrValue(name, L"NAME", kEntry,
                           QCString(L"0.0.0.0.0.") + std::to_wstring(i).c_str());
      names[i] = name.ToUtf8();
    }
    return names;
  }
  static QCString Popular(const CXmlConfig& config, const wchar_t* attribute) {
    QCString text = L"(none)";
    config.ReadAttrValue(text, attribute, kPopular, L"0.0.0.0.0");
    return text;
  }
  static void SetPopular(CXmlConfig& config, const wchar_t* attribute, const QCString& value) {
    ASSERT_EQ(0u, config.WriteAttrValue(value, attribute, kPopular, L"0.0.0.0.0"));
  }

  using Texts = std::vector<std::string>;
  TempDir dir_;
  const QCString path_{dir_.WideFile("kiv.xml")};
};

TEST_F(TwoConsoles, EachBringWhatTheyChanged) {
  CXmlConfig one = Open(), other = Open();
  Append(one, L"one 1");
  SetPopular(one, L"TITLE", L"of one");
  ASSERT_EQ(0u, one.Save(1));
  Append(other, L"other 1");
  SetPopular(other, L"FONT_SIZE", L"14");
  ASSERT_EQ(0u, other.Save(1));
  Append(one, L"one 2");
  ASSERT_EQ(0u, one.Save(1));
  const CXmlConfig next = Open();
  EXPECT_EQ((Texts{"one 1", "other 1", "one 2"}), History(next));
  EXPECT_EQ(QCString(L"of one"), Popular(next, L"TITLE"));
  EXPECT_EQ(QCString(L"14"), Popular(next, L"FONT_SIZE"));
}

TEST_F(TwoConsoles, KeepTheirOwnViewAndPositions) {
  CXmlConfig one = Open(), other = Open();
  Append(one, L"one");
  ASSERT_EQ(0u, one.Save(1));
  Append(other, L"other");
  ASSERT_EQ(0u, other.Save(1));
  EXPECT_EQ(Texts{"other"}, History(other));
  EXPECT_EQ(Texts{"one"}, History(one));
  ASSERT_EQ(0u, one.Save(1));
  EXPECT_EQ((Texts{"one", "other"}), History(Open()));
}

TEST_F(TwoConsoles, LeaveTheLastStoreOfAnAttribute) {
  CXmlConfig one = Open(), other = Open();
  SetPopular(one, L"TITLE", L"one");
  SetPopular(other, L"TITLE", L"other");
  ASSERT_EQ(0u, other.Save(1));
  ASSERT_EQ(0u, one.Save(1));
  EXPECT_EQ(QCString(L"one"), Popular(Open(), L"TITLE"));
  SetPopular(other, L"TITLE", L"again");
  ASSERT_EQ(0u, other.Save(1));
  EXPECT_EQ(QCString(L"again"), Popular(Open(), L"TITLE"));
}

TEST_F(TwoConsoles, AddSessionsAtOnePositionAndLoseNone) {
  CXmlConfig one = Open(), other = Open();
  for (const auto& [config, id] : {std::pair(&one, L"7"), std::pair(&other, L"8")}) {
    ASSERT_EQ(0u, config->AddConfigNode(L"SESSION", L"SourceData", L"0", 0));
    ASSERT_EQ(0u, config->WriteAttrValue(id, L"ID", L"SourceData.SESSION", L"0.1"));
    ASSERT_EQ(0u, config->Save(1));
  }
  ASSERT_EQ(0u, one.WriteAttrValue(L"x", L"NOTE", L"SourceData.SESSION", L"0.1"));
  ASSERT_EQ(0u, one.Save(1));
  const CXmlConfig next = Open();
  for (const wchar_t* id : {L"1", L"7", L"8"}) {
    QCString at = L"0";
    EXPECT_EQ(0u, next.FindAttrValByTagPath(L"ID", id, L"SourceData.SESSION", at, nullptr));
    QCString note;
    EXPECT_EQ(*id == L'7', next.ReadAttrValue(note, L"NOTE", L"SourceData.SESSION", at) == 0);
  }
}

// What one process that appends and trims leaves behind is what it has in memory.
TEST_F(TwoConsoles, AgreeWithTheFileWhenNobodyElseSaves) {
  CXmlConfig one = Open();
  for (int i = 0; i < 20; ++i) {
    Append(one, QCString(std::to_wstring(i % 3)));
    const bool isFull = i >= 5;
    ASSERT_EQ(isFull ? 0u : 3004u, one.DeleteConfigNode(kEntry, isFull ? L"0.0.0.0.0.0" : L"9"));
    ASSERT_EQ(0u, one.Save(1));
    ASSERT_EQ(History(one), History(Open())) << i;
  }
}

pid_t Spawn(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", 1, 0);
  pid_t child = -1;
  EXPECT_EQ(0, posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ));
  posix_spawn_file_actions_destroy(&actions);
  return child;
}

// Another console's save after the file was lost knows less than ours had saved.
TEST_F(TwoConsoles, GetTheirEntriesBackWhenTheFileIsLost) {
  for (const char* lost : {"removed", "broken", "empty", "removed with its lock", "all removed"}) {
    std::filesystem::remove(dir_.File("kiv.xml"));
    CXmlConfig first = Open();
    ASSERT_EQ(0u, first.Save(1));
    CXmlConfig ours = Open(), theirs = Open();
    Append(ours, L"ours");
    ASSERT_EQ(0u, ours.Save(1));
    if (std::string_view(lost).find("removed") != std::string_view::npos) {
      std::filesystem::remove(dir_.File("kiv.xml"));
      if (lost != std::string("removed")) std::filesystem::remove(dir_.File("kiv.xml.lock"));
      if (lost == std::string("all removed")) std::filesystem::remove(dir_.File("kiv.xml.bak"));
    } else {
      dir_.Write("kiv.xml", lost == std::string("broken") ? "<broken" : "");
    }
    Append(theirs, L"theirs");
    ASSERT_EQ(0u, theirs.Save(1));
    Append(theirs, L"more");
    ASSERT_EQ(0u, theirs.Save(1));
    ASSERT_EQ(0u, ours.Save(1)) << lost;  // nothing new, but it holds what is lost
    EXPECT_EQ((Texts{"theirs", "more", "ours"}), History(Open())) << lost;
    Append(ours, L"last");
    ASSERT_EQ(0u, ours.Save(1));
    EXPECT_EQ((Texts{"theirs", "more", "ours", "last"}), History(Open())) << lost;
  }
}

// Every writing call of the save that begins the file anew fails once: what it then answers is
// true, and nothing that the other console knows is lost.
TEST_F(TwoConsoles, GetTheirEntriesBackWhateverFailsWhenTheFileBeginsAnew) {
  for (std::uint64_t n = 1;; ++n) {
    for (const std::string& name : dir_.Names()) std::filesystem::remove(dir_.File(name));
    CXmlConfig first = Open();
    ASSERT_EQ(0u, first.Save(1));
    CXmlConfig ours = Open(), theirs = Open();
    Append(ours, L"ours");
    ASSERT_EQ(0u, ours.Save(1));
    for (const std::string& name : dir_.Names()) std::filesystem::remove(dir_.File(name));
    Append(theirs, L"theirs");
    os::system_calls::FailNth(n, ENOSPC);
    const std::uint32_t answer = theirs.Save(1);
    const bool failed = os::system_calls::Failed();
    os::system_calls::FailNth(0, 0);
    if (answer == 0) {
      EXPECT_EQ(Texts{"theirs"}, History(Open())) << n;
    }
    ASSERT_EQ(0u, theirs.Save(1)) << n;
    ASSERT_EQ(0u, ours.Save(1)) << n;
    EXPECT_EQ((Texts{"theirs", "ours"}), History(Open())) << n;
    if (!failed) break;
    ASSERT_LT(n, 100u);
  }
}

// Three consoles save in any order while somebody removes, empties and breaks the files between.
// What any of them has added and holds is there in the end, each once.
TEST_F(TwoConsoles, LoseNothingWhateverBecomesOfTheFiles) {
  std::mt19937 random(11);
  for (std::int64_t round = kivtest::SweepCount(300); round > 0; --round) {
    for (const std::string& name : dir_.Names()) std::filesystem::remove(dir_.File(name));
    std::vector<std::unique_ptr<CXmlConfig>> consoles;
    std::multiset<std::string> added;
    std::string story;
    for (int i = 0; i < 3; ++i) {
      consoles.push_back(std::make_unique<CXmlConfig>(path_, kivtest::SettingsOptions()));
      if (random() % 2 == 0) {
        ASSERT_EQ(0u, consoles.back()->Save(1));
      }
    }
    const auto save = [&](std::size_t who) {
      story += " save" + std::to_string(who);
      ASSERT_EQ(0u, consoles[who]->Save(1));
    };
    for (int step = 0; step < 14; ++step) {
      const std::size_t who = random() % consoles.size();
      const char* const names[] = {"kiv.xml", "kiv.xml.bak", "kiv.xml.lock"};
      const std::string file = names[random() % 3];
      switch (random() % 8) {
        case 0:
          story += " remove:" + file;
          std::filesystem::remove(dir_.File(file));
          break;
        case 1:
          story += " break:" + file;
          if (file != "kiv.xml.lock") dir_.Write(file, random() % 2 == 0 ? "" : "<broken");
          break;
        case 2:
          os::system_calls::FailNth(1 + random() % 14, EIO);
          story += " fail" + std::to_string(who) + "=" + std::to_string(consoles[who]->Save(1));
          os::system_calls::FailNth(0, 0);
          break;
        case 3:
        case 4:
          save(who);
          break;
        default: {
          const std::string entry = std::to_string(who) + "-" + std::to_string(step);
          story += " add" + entry;
          Append(*consoles[who], QCString::FromUtf8(entry));
          added.insert(entry);
          if (random() % 2 == 0) save(who);
        }
      }
    }
    for (int twice = 0; twice < 2; ++twice) {
      for (std::size_t who = 0; who < consoles.size(); ++who) save(who);
    }
    const Texts history = History(Open());
    ASSERT_EQ(added, std::multiset<std::string>(history.begin(), history.end())) << story;
  }
}

// Not only its history: also what it set, and what it read in a file that nobody else knows.
TEST_F(TwoConsoles, GetTheirValuesBackWhenTheFileIsLost) {
  CXmlConfig stale = Open();
  ASSERT_EQ(0u, stale.Save(1));
  {
    CXmlConfig first = Open();
    SetPopular(first, L"FONT_SIZE", L"17");
    ASSERT_EQ(0u, first.Save(1));
  }
  CXmlConfig ours = Open();
  SetPopular(ours, L"TITLE", L"ours");
  ASSERT_EQ(0u, ours.AddConfigNode(L"CMD", kFavourites, L"0.0.0.0.0", 0));
  ASSERT_EQ(0u, ours.WriteAttrValue(L"f", L"NAME", kFavourite, L"0.0.0.0.0.0"));
  ASSERT_EQ(0u, ours.Save(1));
  for (const std::string& name : dir_.Names()) std::filesystem::remove(dir_.File(name));
  SetPopular(stale, L"FONT_NAME", L"Serif");
  ASSERT_EQ(0u, stale.Save(1));
  ASSERT_EQ(0u, ours.Save(1));
  const CXmlConfig next = Open();
  EXPECT_EQ(QCString(L"ours"), Popular(next, L"TITLE"));
  EXPECT_EQ(QCString(L"17"), Popular(next, L"FONT_SIZE"));
  EXPECT_EQ(QCString(L"Serif"), Popular(next, L"FONT_NAME"));
  EXPECT_EQ(0u, next.GetNode(kFavourite, L"0.0.0.0.0.0"));
}

// A console that starts on a broken file takes the last good copy, which knows less, too.
TEST_F(TwoConsoles, GetTheirEntriesBackWhenAStartFindsTheFileBroken) {
  CXmlConfig ours = Open();
  Append(ours, L"one");
  ASSERT_EQ(0u, ours.Save(1));
  Append(ours, L"two");
  ASSERT_EQ(0u, ours.Save(1));
  dir_.Write("kiv.xml", "<broken");
  EXPECT_EQ(Texts{"one"}, History(Open()));
  Append(ours, L"three");
  ASSERT_EQ(0u, ours.Save(1));
  EXPECT_EQ((Texts{"one", "two", "three"}), History(Open()));
}

TEST_F(TwoConsoles, KeepRemovedWhatOneRemovedFromASoundFile) {
  CXmlConfig ours = Open();
  Append(ours, L"one");
  ASSERT_EQ(0u, ours.Save(1));
  CXmlConfig theirs = Open();
  ASSERT_EQ(0u, theirs.DeleteConfigNode(kEntry, L"0.0.0.0.0.0"));
  ASSERT_EQ(0u, theirs.Save(1));
  Append(ours, L"two");
  ASSERT_EQ(0u, ours.Save(1));
  EXPECT_EQ(Texts{"two"}, History(Open()));
}

TEST_F(TwoConsoles, OfTwoProcessesLoseNothingInManySaves) {
  const std::string saver = std::string(kivtest::BuildDir()) + "/tests/bin/xml_save";
  const std::int64_t saves = kivtest::SweepCount(1000);
  std::vector<pid_t> children;
  for (const char* tag : {"one", "other"}) {
    children.push_back(Spawn({saver, dir_.File("kiv.xml"), std::to_string(saves), tag}));
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
  }
  // All of both, each in its own order.
  std::vector<std::string> ones, others;
  for (const std::string& name : History(Open())) {
    (name.starts_with("one-") ? ones : others).push_back(name);
  }
  for (const auto& [names, tag] : {std::pair(&ones, "one-"), std::pair(&others, "other-")}) {
    ASSERT_EQ(static_cast<std::size_t>(saves), names->size());
    for (std::size_t i = 0; i < names->size(); ++i) {
      ASSERT_EQ(tag + std::to_string(i), (*names)[i]);
    }
  }
  EXPECT_EQ((Texts{"kiv.xml", "kiv.xml.bak", "kiv.xml.lock"}), dir_.Names());
}

}  // namespace
