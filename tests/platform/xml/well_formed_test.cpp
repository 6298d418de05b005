// What counts as a document: all that XML 1.0 takes, less document types, and nothing that it does
// not.
#include "platform/xml/well_formed.h"

#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <string>

#include "platform/xml/xml_document.h"

namespace {

std::string FaultOf(std::string_view document) {
  const auto fault = well_formed::FindFault(document);
  return fault ? "line " + std::to_string(fault->line) + ": " + fault->reason : "";
}

TEST(WellFormed, TakesWhatXmlTakes) {
  for (const char* document : {
           "<a/>",
           "<a></a>",
           "<a ></a >",
           "\xEF\xBB\xBF<a/>",
           "<?xml version=\"1.0\"?><a/>",
           "<?xml version='1.0' encoding='utf-8' standalone='yes' ?>\r\n<a/>\n",
           "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a/>",
           "<!-- c --> <?p x?> <a/> <!----> <?q?>",
           "<a><b/>text &lt;&gt;&amp;&quot;&apos;&#9;&#x10FFFF;&#xfffd;<![CDATA[<&]]]]></a>",
           "<a b=\"'\" c='\"' d = '&#10;\t\n'/>",
           "<a>]] ></a>",
           "<\xC3\xA4:b.c-d_1\xC2\xB7 \xE2\x82\x80=''/>",
           "<a><!-- - </a> <b> --></a>",
           "<a><?xml-like?></a>",
       }) {
    EXPECT_EQ("", FaultOf(document)) << document;
  }
}

struct FaultRow {
  std::string_view document;
  const char* fault;
};

using namespace std::string_view_literals;

constexpr FaultRow kFaults[] = {
    {"", "line 1: no element"},
    {" \n\n ", "line 3: no element"},
    {"\xEF\xBB\xBF", "line 1: no element"},
    {"text", "line 1: text before the root"},
    {"<a>", "line 1: an element without end"},
    {"<a>\n<b>\n</a>", "line 3: end tags do not match"},
    {"<a></b>", "line 1: end tags do not match"},
    {"</a>", "line 1: a name is missing"},
    {"<a/><b/>", "line 1: text behind the end of the document"},
    {"<a/>x", "line 1: text behind the end of the document"},
    {"<a/><?xml version='1.0'?>", "line 1: an XML declaration that is not first"},
    {" <?xml version='1.0'?><a/>", "line 1: an XML declaration that is not first"},
    {"<?XML version='1.0'?><a/>", "line 1: an XML declaration that is not first"},
    {"<?xml version='1.1'?><a/>", "line 1: not XML 1.0"},
    {"<?xml encoding='utf-8'?><a/>", "line 1: bad XML declaration"},
    {"<?xml version='1.0' encoding='latin1'?><a/>", "line 1: not in UTF-8"},
    {"<?xml version='1.0' standalone='maybe'?><a/>", "line 1: bad XML declaration"},
    {"<?xml version='1.0' more='x'?><a/>", "line 1: bad XML declaration"},
    {"<!DOCTYPE a><a/>", "line 1: a document type is not taken"},
    {"<?xml version='1.0'?>\n<!DOCTYPE a [<!ENTITY b 'c'>]><a>&b;</a>",
     "line 2: a document type is not taken"},
    {"<a>&b;</a>", "line 1: bad reference"},
    {"<a>&</a>", "line 1: bad reference"},
    {"<a>&#;</a>", "line 1: bad reference"},
    {"<a>&#x;</a>", "line 1: bad reference"},
    {"<a>&#0;</a>", "line 1: bad reference"},
    {"<a>&#1;</a>", "line 1: bad reference"},
    {"<a>&#xD800;</a>", "line 1: bad reference"},
    {"<a>&#xFFFE;</a>", "line 1: bad reference"},
    {"<a>&#x110000;</a>", "line 1: bad reference"},
    {"<a>&#99999999999999999999;</a>", "line 1: bad reference"},
    {"<a>&#X41;</a>", "line 1: bad reference"},
    {"<a>&#a;</a>", "line 1: bad reference"},
    {"<a b='&c;'/>", "line 1: bad reference"},
    {"<a b='<'/>", "line 1: \"<\" in an attribute"},
    {"<a b='1' b='2'/>", "line 1: an attribute twice"},
    {"<a b='1'c='2'/>", "line 1: bad tag"},
    {"<a b/>", "line 1: an attribute without value"},
    {"<a b=1/>", "line 1: an attribute without value"},
    {"<a b='1/>", "line 1: an attribute without value"},
    {"<a =''/>", "line 1: a name is missing"},
    {"<a / >", "line 1: a name is missing"},
    {"< a/>", "line 1: a name is missing"},
    {"<1/>", "line 1: a name is missing"},
    {"<-/>", "line 1: a name is missing"},
    {"<a$/>", "line 1: bad tag"},
    {"<a></a", "line 1: bad tag"},
    {"<a", "line 1: bad tag"},
    {"<a ", "line 1: a name is missing"},
    {"<a><!-- -- --></a>", "line 1: \"--\" in a comment"},
    {"<a><!-- --->", "line 1: \"--\" in a comment"},
    {"<a><!-- ", "line 1: a comment without end"},
    {"<a><?b", "line 1: bad processing instruction"},
    {"<a><?b ", "line 1: a processing instruction without end"},
    {"<a><?b!?></a>", "line 1: bad processing instruction"},
    {"<a><![CDATA[", "line 1: CDATA without end"},
    {"<a>]]></a>", "line 1: \"]]>\" in a text"},
    {"<![CDATA[x]]><a/>", "line 1: a name is missing"},
    {"<a>\n\x80</a>", "line 2: not UTF-8"},
    {"<a>\xED\xA0\x80</a>", "line 1: not UTF-8"},
    {"<a>\xC0\x80</a>", "line 1: not UTF-8"},
    {"<a>\xF4\x90\x80\x80</a>", "line 1: not UTF-8"},
    {"<a>\xE2\x82", "line 1: not UTF-8"},
    {"<a>\x01</a>", "line 1: a character that XML does not have"},
    {"<a>\0</a>"sv, "line 1: a character that XML does not have"},
    {"<a>\xEF\xBF\xBE</a>", "line 1: a character that XML does not have"},
    {"\xFF\xFE<\0a\0/\0>\0"sv, "line 1: not UTF-8"},
};

TEST(WellFormed, SaysWhatIsWrongAndInWhichLine) {
  for (const FaultRow& row : kFaults) EXPECT_EQ(row.fault, FaultOf(row.document)) << row.document;
}

std::string Nested(std::size_t levels) {
  std::string document;
  for (std::size_t i = 0; i < levels; ++i) document += "<a>";
  for (std::size_t i = 0; i < levels; ++i) document += "</a>";
  return document;
}

TEST(WellFormed, TakesSixtyFourLevels) {
  EXPECT_EQ("", FaultOf(Nested(64)));
  EXPECT_EQ("line 1: more than 64 levels", FaultOf(Nested(65)));
  EXPECT_EQ("line 1: more than 64 levels", FaultOf(Nested(1'000'000)));
}

TEST(WellFormed, TakesAThousandAttributes) {
  std::string attributes;
  for (int i = 0; i < 1000; ++i) attributes += " a" + std::to_string(i) + "=''";
  EXPECT_EQ("", FaultOf("<a" + attributes + "/>"));
  EXPECT_EQ("line 1: more than 1,000 attributes", FaultOf("<a" + attributes + " b=''/>"));
}

TEST(WellFormed, TakesPlainNamesForWhatIsAdded) {
  for (const char* name : {"a", "A_1", "_", "a-b.c", "\xC3\xA4", "\xF0\x90\x80\x80"}) {
    EXPECT_TRUE(well_formed::IsPlainName(name)) << name;
  }
  for (const char* name :
       {"", "1", "-a", ".a", "a:b", "a b", "a\xFF", "\xEF\xBF\xBD", "a>", "a/"}) {
    EXPECT_FALSE(well_formed::IsPlainName(name)) << name;
  }
}

TEST(XmlDocument, AsksForItsRoot) {
  pugi::xml_document document;
  EXPECT_EQ(xml_document::Outcome::kSound,
            xml_document::Parse("<!-- c --><a/>", "a", document).outcome);
  const auto result = xml_document::Parse("<b/>", "a", document);
  EXPECT_EQ(xml_document::Outcome::kBroken, result.outcome);
  EXPECT_EQ("line 1: the root is not \"a\"", result.reason);
  EXPECT_FALSE(document.first_child());
}

TEST(XmlDocument, HoldsSixteenMebibytes) {
  pugi::xml_document document;
  std::string text = "<a b='";
  text.resize(xml_document::kMaxBytes - 3, 'x');
  text += "'/>";
  EXPECT_EQ(xml_document::Outcome::kSound, xml_document::Parse(text, "a", document).outcome);
  EXPECT_EQ("more than 16 MiB", xml_document::Parse(text + "\n", "a", document).reason);
}

TEST(XmlDocument, KeepsWhatItDoesNotUse) {
  const std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!-- before -->\n"
      "<?p x?>\n"
      "<a b=\"1\">\n"
      "  <!-- inside -->\n"
      "  <c>text &amp; more</c>\n"
      "  <c><![CDATA[<raw>]]></c>\n"
      "</a>\n"
      "<!-- after -->\n";
  pugi::xml_document document;
  ASSERT_EQ(xml_document::Outcome::kSound, xml_document::Parse(text, "a", document).outcome);
  EXPECT_EQ(text, xml_document::Serialise(document));
}

}  // namespace
