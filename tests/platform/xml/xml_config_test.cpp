// The operations of a settings document: paths, positions, texts of nodes.
#include "platform/xml/xml_config.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace {

using kivtest::TempDir;
using xml_config::kAttributeMissing;
using xml_config::kNodeMissing;
using xml_config::kNotOpen;
using xml_config::OpenAs;

constexpr const char* kDocument =
    "<SourceData>\n"
    "  <SESSION ID=\"1\"><INSTANCE ID=\"1\"/></SESSION>\n"
    "  <SESSION ID=\"2\">\n"
    "    <INSTANCE ID=\"1\"/>\n"
    "    <INSTANCE ID=\"02\"/>\n"
    "    <INSTANCE ID=\"2\">\n"
    "      <DEFAULT>\n"
    "        <COLOR><GENERAL TEXT=\"1\"/><HILITE_LINE TEXT=\"2\"/><GENERAL TEXT=\"3\"/></COLOR>\n"
    "        <!-- the list -->\n"
    "        <LIST><CMD NAME=\"a\"/><CMD NAME=\"b\"/><OTHER/><CMD NAME=\"c\"/></LIST>\n"
    "      </DEFAULT>\n"
    "    </INSTANCE>\n"
    "  </SESSION>\n"
    "</SourceData>\n";

constexpr const wchar_t* kSession = L"SourceData.SESSION";
constexpr const wchar_t* kInstance = L"SourceData.SESSION.INSTANCE";
constexpr const wchar_t* kDefault = L"SourceData.SESSION.INSTANCE.DEFAULT";
constexpr const wchar_t* kList = L"SourceData.SESSION.INSTANCE.DEFAULT.LIST";
constexpr const wchar_t* kEntry = L"SourceData.SESSION.INSTANCE.DEFAULT.LIST.CMD";

// A directory that has the document above.
struct DocumentDir : TempDir {
  DocumentDir() { Write("kiv.xml", kDocument); }
};

class XmlConfig : public testing::Test {
 protected:
  static QCString Read(const CXmlConfig& config, const wchar_t* attribute, const wchar_t* tagPath,
                       const wchar_t* instancePath) {
    QCString value = L"(none)";
    config.ReadAttrValue(value, attribute, tagPath, instancePath);
    return value;
  }
  QCString Name(const wchar_t* instancePath) const {
    return Read(config_, L"NAME", kEntry, instancePath);
  }
  // The names of the list's entries by position.
  QCString Names() const {
    QCString names;
    std::uint32_t count = 0;
    config_.GetSubNodeCount(count, kList, L"CMD", kListAt);
    for (std::uint32_t i = 0; i < count; ++i) {
      names += Name((kListAt + QCString(L"." + std::to_wstring(i))).c_str());
    }
    return names;
  }

  static inline const QCString kListAt = L"0.1.2.0.0";
  DocumentDir dir_;
  CXmlConfig config_{QCString(dir_.WideFile("kiv.xml"))};
};

TEST_F(XmlConfig, ReadsAnAttributeByTagsAndPositions) {
  EXPECT_TRUE(config_.IsOpen());
  EXPECT_EQ(QCString(L"2"), Read(config_, L"ID", kSession, L"0.1"));
  EXPECT_EQ(QCString(L"02"), Read(config_, L"ID", kInstance, L"0.1.1"));
  EXPECT_EQ(QCString(L"c"), Name(L"0.1.2.0.0.2"));
  EXPECT_EQ(
      QCString(L"3"),
      Read(config_, L"TEXT", L"SourceData.SESSION.INSTANCE.DEFAULT.COLOR.GENERAL", L"0.1.2.0.0.1"));
}

TEST_F(XmlConfig, TakesMissingPositionsAsTheFirst) {
  EXPECT_EQ(QCString(L"1"), Read(config_, L"ID", kSession, L"0"));
  EXPECT_EQ(QCString(L"1"), Read(config_, L"ID", kSession, L""));
  EXPECT_EQ(QCString(L"1"), Read(config_, L"TEXT",
                                 L"SourceData.SESSION.INSTANCE.DEFAULT.COLOR.GENERAL", L"0.1.2.0"));
}

TEST_F(XmlConfig, LeavesTheValueAloneWhenNothingIsThere) {
  QCString value = L"before";
  EXPECT_EQ(kNodeMissing, config_.ReadAttrValue(value, L"ID", kSession, L"0.2"));
  EXPECT_EQ(kAttributeMissing, config_.ReadAttrValue(value, L"NAME", kSession, L"0.1"));
  EXPECT_EQ(kAttributeMissing, config_.ReadAttrValue(value, L"id", kSession, L"0.1"));
  EXPECT_EQ(QCString(L"before"), value);
}

TEST_F(XmlConfig, FindsNothingUnderAPathThatIsNone) {
  for (const wchar_t* path : {L".0", L"0.", L"0..0", L"x", L"0.-1", L"0. 1", L"1", L"0.1.0",
                              L"0.4294967296", L"0.99999999999999999999"}) {
    EXPECT_EQ(kNodeMissing, config_.GetNode(kSession, path)) << QCString(path).ToUtf8();
  }
  for (const wchar_t* tags : {L"", L".", L"SourceData.", L".SESSION", L"SESSION", L"sourcedata",
                              L"SourceData..SESSION", L"SourceData.session"}) {
    EXPECT_EQ(kNodeMissing, config_.GetNode(tags, L"0")) << QCString(tags).ToUtf8();
  }
}

TEST_F(XmlConfig, WritesOverAnAttributeAndAddsOne) {
  EXPECT_EQ(0u, config_.WriteAttrValue(L"new", L"NAME", kEntry, L"0.1.2.0.0.1"));
  EXPECT_EQ(0u, config_.WriteAttrValue(L"p", L"PARA", kEntry, L"0.1.2.0.0.1"));
  EXPECT_EQ(QCString(L"anewc"), Names());
  EXPECT_EQ(QCString(L"p"), Read(config_, L"PARA", kEntry, L"0.1.2.0.0.1"));
  EXPECT_EQ(kNodeMissing, config_.WriteAttrValue(L"x", L"NAME", kEntry, L"0.1.2.0.0.3"));
}

TEST_F(XmlConfig, RefusesNamesThatXmlDoesNotHave) {
  for (const wchar_t* name : {L"", L"a b", L"1a", L"a:b", L"a<", L"a\x01", L"\xD800", L"a=\"\""}) {
    EXPECT_EQ(kAttributeMissing, config_.WriteAttrValue(L"x", name, kSession, L"0.0"));
    EXPECT_EQ(kNodeMissing, config_.AddConfigNode(name, kSession, L"0.0", 0));
    EXPECT_EQ(kNodeMissing,
              config_.AddConfigNode(L"ok", QCString(kSession) + L"." + name, L"0.0", 1));
  }
  EXPECT_EQ(0u, config_.WriteAttrValue(L"x", L"\x00C4_1-2.3", kSession, L"0.0"));
}

TEST_F(XmlConfig, FindsAChildByTheWholeTextOfAnAttribute) {
  QCString path = L"0";
  EXPECT_EQ(0u, config_.FindAttrValByTagPath(L"ID", L"2", kSession, path, nullptr));
  EXPECT_EQ(QCString(L"0.1"), path);
  EXPECT_EQ(0u, config_.FindAttrValByTagPath(L"ID", L"2", kInstance, path, nullptr));
  EXPECT_EQ(QCString(L"0.1.2"), path);
  QCString first = L"0.0";  // only children of this parent
  EXPECT_EQ(kAttributeMissing,
            config_.FindAttrValByTagPath(L"ID", L"2", kInstance, first, nullptr));
  EXPECT_EQ(QCString(L"0.0"), first);
}

TEST_F(XmlConfig, BeginsTheSearchAtTheLastPositionOfAFullPath) {
  QCString path = L"0.1.0";
  EXPECT_EQ(0u, config_.FindAttrValByTagPath(L"ID", L"02", kInstance, path, nullptr));
  EXPECT_EQ(QCString(L"0.1.1"), path);
  EXPECT_EQ(0u, config_.FindAttrValByTagPath(L"ID", L"02", kInstance, path, nullptr));
  EXPECT_EQ(QCString(L"0.1.1"), path);
  path = L"0.1.2";
  EXPECT_EQ(kAttributeMissing,
            config_.FindAttrValByTagPath(L"ID", L"02", kInstance, path, nullptr));
  EXPECT_EQ(QCString(L"0.1.2"), path);
  path = L"0.9.0";
  EXPECT_EQ(kAttributeMissing, config_.FindAttrValByTagPath(L"ID", L"1", kInstance, path, nullptr));
}

TEST_F(XmlConfig, AppendsAChild) {
  EXPECT_EQ(0u, config_.AddConfigNode(L"CMD", kList, kListAt, 0));
  EXPECT_EQ(0u, config_.WriteAttrValue(L"d", L"NAME", kEntry, L"0.1.2.0.0.3"));
  EXPECT_EQ(QCString(L"abcd"), Names());
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"CMD", kList, L"0.0.0", 0));
}

TEST_F(XmlConfig, MakesMissingAncestorsWhenAsked) {
  const QCString keys = QCString(kDefault) + L".KEYBOARD";
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"SEND_CMD", keys, L"0.0.0.0", 0));
  EXPECT_EQ(0u, config_.AddConfigNode(L"SEND_CMD", keys, L"0.0.0.0", 1));
  EXPECT_EQ(0u, config_.GetNode(keys + L".SEND_CMD", L"0.0.0.0"));
  // Only the next position can be made, and never a second root.
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"X", kSession, L"0.3", 1));
  EXPECT_EQ(0u, config_.AddConfigNode(L"X", kSession, L"0.2", 1));
  EXPECT_EQ(0u, config_.GetNode(L"SourceData.SESSION.X", L"0.2.0"));
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"X", L"SourceData", L"1", 1));
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"X", L"Other", L"0", 1));
}

TEST_F(XmlConfig, TakesBackWhatItAddedWithItsAncestors) {
  CXmlConfig config(QCString(dir_.WideFile("new.xml")), {.openAs = OpenAs::kNew});
  ASSERT_EQ(0u, config.AddConfigNode(L"A", L"SourceData", L"0", 0));
  ASSERT_EQ(0u, config.AddConfigNode(L"C", L"SourceData.A.B", L"0.1.0", 1));
  EXPECT_EQ(0u, config.GetNode(L"SourceData.A.B.C", L"0.1.0.0"));
  config.TakeBackAdded();
  EXPECT_EQ(kNodeMissing, config.GetNode(L"SourceData.A", L"0.1"));
  EXPECT_EQ(0u, config.GetNode(L"SourceData.A", L"0.0"));
  config.TakeBackAdded();  // once
  EXPECT_EQ(0u, config.GetNode(L"SourceData.A", L"0.0"));
  ASSERT_EQ(0u, config.AddConfigNode(L"A", L"SourceData", L"0", 0));
  ASSERT_EQ(0u, config.DeleteConfigNode(L"SourceData.A", L"0.1"));
  config.TakeBackAdded();  // not what is gone
  EXPECT_EQ(0u, config.GetNode(L"SourceData.A", L"0.0"));
}

TEST_F(XmlConfig, LeavesNoAncestorsOfANodeThatItCannotAdd) {
  CXmlConfig config(QCString(dir_.WideFile("new.xml")), {.openAs = OpenAs::kNew});
  EXPECT_EQ(kNodeMissing, config.AddConfigNode(L"D", L"SourceData.A.B.C", L"0.0.0.1", 1));
  EXPECT_EQ(kNodeMissing, config.AddConfigNode(L"D", L"SourceData.A.B.<", L"0.0.0.0", 1));
  EXPECT_EQ(kNodeMissing, config.GetNode(L"SourceData.A", L"0.0"));
}

TEST_F(XmlConfig, CountsChildrenOfOneTag) {
  std::uint32_t count = 9;
  EXPECT_EQ(0u, config_.GetSubNodeCount(count, kList, L"CMD", kListAt));
  EXPECT_EQ(3u, count);
  EXPECT_EQ(0u, config_.GetSubNodeCount(count, kList, L"NONE", kListAt));
  EXPECT_EQ(0u, count);
  count = 9;
  EXPECT_EQ(kNodeMissing, config_.GetSubNodeCount(count, kList, L"CMD", L"0.0"));
  EXPECT_EQ(0u, count);
}

TEST_F(XmlConfig, ListsTheTagsOfAllChildrenInTheirOrder) {
  QCList<QCString> tags;
  tags.AddTail(L"before");
  EXPECT_EQ(0u, config_.GetSubNodeTags(tags, kList, kListAt));
  EXPECT_EQ((std::vector<QCString>{L"CMD", L"CMD", L"OTHER", L"CMD"}),
            std::vector<QCString>(tags.begin(), tags.end()));
  EXPECT_EQ(0u, config_.GetSubNodeTags(tags, kDefault, L"0.1.2"));  // the comment is no child
  EXPECT_EQ((std::vector<QCString>{L"COLOR", L"LIST"}),
            std::vector<QCString>(tags.begin(), tags.end()));
  EXPECT_EQ(kNodeMissing, config_.GetSubNodeTags(tags, kDefault, L"0.0"));
  EXPECT_TRUE(tags.IsEmpty());
}

TEST_F(XmlConfig, DeletesANodeAndMovesItsSiblingsUp) {
  EXPECT_EQ(0u, config_.DeleteConfigNode(kEntry, L"0.1.2.0.0.0"));
  EXPECT_EQ(QCString(L"bc"), Names());
  EXPECT_EQ(0u, config_.DeleteConfigNode2(kEntry, 1, kListAt));
  EXPECT_EQ(QCString(L"b"), Names());
  EXPECT_EQ(kNodeMissing, config_.DeleteConfigNode2(kEntry, 1, kListAt));
  EXPECT_EQ(kNodeMissing, config_.DeleteConfigNode(kEntry, L"0.1.2.0.0.1"));
  EXPECT_EQ(0u, config_.DeleteConfigNode(kSession, L"0.0"));
  EXPECT_EQ(QCString(L"b"), Name(L"0.0.2.0.0.0"));
}

TEST_F(XmlConfig, KeepsItsRoot) {
  EXPECT_EQ(kNodeMissing, config_.DeleteConfigNode(L"SourceData", L"0"));
  EXPECT_EQ(kNodeMissing, config_.DeleteConfigNode2(L"SourceData", 0, L""));
  EXPECT_EQ(0u, config_.GetNode(L"SourceData", L"0"));
}

TEST_F(XmlConfig, FindsNewNodesWhereDeletedOnesWere) {
  for (int round = 0; round < 3; ++round) {
    ASSERT_EQ(0u, config_.DeleteConfigNode(kList, kListAt));
    ASSERT_EQ(0u, config_.AddConfigNode(L"LIST", kDefault, L"0.1.2.0", 0));
    for (int i = 0; i < 3; ++i) {
      const QCString at = kListAt + L"." + std::to_wstring(i).c_str();
      ASSERT_EQ(0u, config_.AddConfigNode(L"CMD", kList, kListAt, 0));
      ASSERT_EQ(0u,
                config_.WriteAttrValue(QCString(std::to_wstring(round + i)), L"NAME", kEntry, at));
    }
    ASSERT_EQ(
        QCString(std::to_wstring(round) + std::to_wstring(round + 1) + std::to_wstring(round + 2)),
        Names());
  }
}

TEST_F(XmlConfig, HoldsItsLevels) {
  QCString tags = L"SourceData", at = L"0";
  for (int level = 2; level <= 64; ++level) {
    ASSERT_EQ(0u, config_.AddConfigNode(L"A", tags, at, 0)) << level;
    tags += L".A";
    at += L".0";
  }
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"A", tags, at, 0));
  EXPECT_EQ(kNodeMissing, config_.AddConfigNode(L"A", tags + L".A", at, 1));
  EXPECT_EQ(0u, config_.Save(1));
  EXPECT_EQ(0u, CXmlConfig(QCString(dir_.WideFile("kiv.xml"))).GetNode(tags, at));
}

TEST_F(XmlConfig, AnswersNotOpenWithoutADocument) {
  CXmlConfig none(QCString(dir_.WideFile("none")), {.openAs = OpenAs::kExisting});
  EXPECT_FALSE(none.IsOpen());
  EXPECT_EQ(ENOENT, none.LastError());
  QCString text = L"before";
  std::uint32_t count = 9;
  QCList<QCString> tags;
  EXPECT_EQ(kNotOpen, none.ReadAttrValue(text, L"ID", kSession, L"0"));
  EXPECT_EQ(kNotOpen, none.WriteAttrValue(text, L"ID", kSession, L"0"));
  EXPECT_EQ(kNotOpen, none.FindAttrValByTagPath(L"ID", L"1", kSession, text, nullptr));
  EXPECT_EQ(kNotOpen, none.AddConfigNode(L"A", L"SourceData", L"0", 1));
  EXPECT_EQ(kNotOpen, none.GetSubNodeCount(count, L"SourceData", L"SESSION", L"0"));
  EXPECT_EQ(kNotOpen, none.GetSubNodeTags(tags, L"SourceData", L"0"));
  EXPECT_EQ(kNotOpen, none.GetNode(L"SourceData", L"0"));
  EXPECT_EQ(kNotOpen, none.DeleteConfigNode(kSession, L"0"));
  EXPECT_EQ(kNotOpen, none.DeleteConfigNode2(kSession, 0, L"0"));
  EXPECT_EQ(kNotOpen, none.Save(1));
  EXPECT_EQ(QCString(L"before"), text);
  EXPECT_EQ(0u, count);
  EXPECT_EQ((std::vector<std::string>{"kiv.xml"}), dir_.Names());
}

TEST_F(XmlConfig, BeginsANewDocumentWithItsRootAlone) {
  CXmlConfig fresh(QCString(dir_.WideFile("kiv.xml")), {.openAs = OpenAs::kNew});
  EXPECT_EQ(0u, fresh.GetNode(L"SourceData", L"0"));
  EXPECT_EQ(kNodeMissing, fresh.GetNode(kSession, L"0"));
  EXPECT_EQ(kDocument, dir_.Read("kiv.xml"));
  EXPECT_EQ(0u, fresh.Save(1));
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SourceData />\n", dir_.Read("kiv.xml"));
  EXPECT_EQ((std::vector<std::string>{"kiv.xml"}), dir_.Names());
}

TEST_F(XmlConfig, WritesTheDocumentOneElementALine) {
  EXPECT_EQ(0u, config_.WriteAttrValue(L"a<>&\"'\t\r\n\x01{U+0041}\x00E4", L"NAME", kEntry,
                                       L"0.1.2.0.0.0"));
  EXPECT_EQ(0u, config_.Save(1));
  EXPECT_EQ(
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<SourceData>\n"
      "  <SESSION ID=\"1\">\n"
      "    <INSTANCE ID=\"1\" />\n"
      "  </SESSION>\n"
      "  <SESSION ID=\"2\">\n"
      "    <INSTANCE ID=\"1\" />\n"
      "    <INSTANCE ID=\"02\" />\n"
      "    <INSTANCE ID=\"2\">\n"
      "      <DEFAULT>\n"
      "        <COLOR>\n"
      "          <GENERAL TEXT=\"1\" />\n"
      "          <HILITE_LINE TEXT=\"2\" />\n"
      "          <GENERAL TEXT=\"3\" />\n"
      "        </COLOR>\n"
      "        <!-- the list -->\n"
      "        <LIST>\n"
      "          <CMD NAME=\"a&lt;>&amp;&quot;'&#09;&#13;&#10;{U+0001}{U+007B}U+0041}\xC3\xA4\" "
      "/>\n"
      "          <CMD NAME=\"b\" />\n"
      "          <OTHER />\n"
      "          <CMD NAME=\"c\" />\n"
      "        </LIST>\n"
      "      </DEFAULT>\n"
      "    </INSTANCE>\n"
      "  </SESSION>\n"
      "</SourceData>\n",
      dir_.Read("kiv.xml"));
}

}  // namespace
