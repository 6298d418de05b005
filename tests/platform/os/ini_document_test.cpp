#include "platform/os/ini_document.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using os::IniDocument;

const char kFile[] =
    "; heading\n"
    "stray = before any section\n"
    "[Config]\n"
    "path = C:\\tests \n"
    "title=\"  two words  \"\n"
    "quote='x'\n"
    "half=\"x\n"
    "empty=\n"
    ";path=commented\n"
    "sum=a=b\n"
    "no equals sign\n"
    "path=second\n"
    "\n"
    "[ plc ] behind\n"
    "\tVER\t=\t1\n"
    "[config]\n"
    "later=yes\n"
    "last=end";

struct ValueRow {
  const char* section;
  const char* key;
  std::optional<std::string> value;
};

TEST(IniDocument, FindsValuesBySectionAndKey) {
  const ValueRow rows[] = {
      {"Config", "path", "C:\\tests"},
      {"CONFIG", "PATH", "C:\\tests"},
      {" config ", " path ", "C:\\tests"},
      {"Config", "title", "  two words  "},
      {"Config", "quote", "x"},
      {"Config", "half", "\"x"},
      {"Config", "empty", ""},
      {"Config", "sum", "a=b"},
      {"plc", "ver", "1"},
      {"Config", "later", "yes"},
      {"Config", "last", "end"},
      {"Config", "ver", std::nullopt},
      {"plc", "path", std::nullopt},
      {"", "stray", std::nullopt},
      {"Config", "no equals sign", std::nullopt},
      {"Config", ";path", std::nullopt},
      {"nothing", "path", std::nullopt},
  };
  const IniDocument document(kFile);
  for (const ValueRow& row : rows) {
    EXPECT_EQ(row.value, document.Get(row.section, row.key)) << row.section << " " << row.key;
  }
}

TEST(IniDocument, GivesItsTextBackUnchanged) {
  for (const std::string text : {"", "\n", "a", "[s]\r\nk=v", "\xEF\xBB\xBF[s]\nk=\xFF\n", kFile}) {
    EXPECT_EQ(text, IniDocument(text).Text());
  }
}

TEST(IniDocument, ReadsAFileThatBeginsWithAByteOrderMark) {
  EXPECT_EQ("v", IniDocument("\xEF\xBB\xBF[s]\nk=v\n").Get("s", "k"));
}

TEST(IniDocument, ComparesNamesWithoutCaseBeyondAscii) {
  const IniDocument document("[\xC3\x84rger]\n\xD0\x96=v\n");
  EXPECT_EQ("v", document.Get("\xC3\xA4RGER", "\xD0\xB6"));
}

struct ChangeRow {
  const char* what;
  const char* before;
  const char* after;
};

TEST(IniDocument, SetsValuesAndTouchesNothingElse) {
  const ChangeRow rows[] = {
      {"empty file", "", "[s]\nk=v\n"},
      {"value in place", "; c\n[s]\na=1\n K = old\nb=2\n", "; c\n[s]\na=1\nk=v\nb=2\n"},
      {"behind the section's last line", "[s]\na=1\n; c\n\n\n[t]\nb=2\n",
       "[s]\na=1\n; c\nk=v\n\n\n[t]\nb=2\n"},
      {"into an empty section", "[s]\n\n[t]\n", "[s]\nk=v\n\n[t]\n"},
      {"into the first of two", "[s]\na=1\n[t]\n[s]\nb=2\n", "[s]\na=1\nk=v\n[t]\n[s]\nb=2\n"},
      {"found in the second of two", "[s]\n[t]\nk=1\n[s]\nk=2\n", "[s]\n[t]\nk=1\n[s]\nk=v\n"},
      {"first of two keys", "[s]\nk=1\nk=2\n", "[s]\nk=v\nk=2\n"},
      {"new section at the end", "[t]\nk=1\n", "[t]\nk=1\n[s]\nk=v\n"},
      {"last line without an end", "[s]\na=1", "[s]\na=1\nk=v\n"},
      {"value in a last line without an end", "[s]\nk=1", "[s]\nk=v"},
      {"section head without an end", "[s]", "[s]\nk=v\n"},
      {"line ends of the file", "[t]\r\nk=1\r\n", "[t]\r\nk=1\r\n[s]\r\nk=v\r\n"},
      {"line end of the line", "[s]\nk=1\r\nb=2\n", "[s]\nk=v\r\nb=2\n"},
      {"byte order mark", "\xEF\xBB\xBF[s]\nk=1\n", "\xEF\xBB\xBF[s]\nk=v\n"},
      {"commented key", "[s]\n;k=1\n", "[s]\n;k=1\nk=v\n"},
  };
  for (const ChangeRow& row : rows) {
    IniDocument document(row.before);
    document.Set("s", "k", "v");
    EXPECT_EQ(row.after, document.Text()) << row.what;
    EXPECT_EQ("v", document.Get("s", "k")) << row.what;
  }
}

TEST(IniDocument, RemovesOneKeyAndTouchesNothingElse) {
  const ChangeRow rows[] = {
      {"present", "; c\n[s]\na=1\nK = x\nb=2\n", "; c\n[s]\na=1\nb=2\n"},
      {"absent", "[s]\na=1\n[t]\nk=2\n", "[s]\na=1\n[t]\nk=2\n"},
      {"empty", "", ""},
      {"last line", "[s]\nk=1", "[s]\n"},
  };
  for (const ChangeRow& row : rows) {
    IniDocument document(row.before);
    document.Remove("s", "k");
    EXPECT_EQ(row.after, document.Text()) << row.what;
  }
}

TEST(IniDocument, RemovesEveryStretchOfASection) {
  IniDocument document("a=0\n[s]\nk=1\n[t]\nk=2\n[S]\n; c\n[u]\n");
  document.RemoveSection("s");
  EXPECT_EQ("a=0\n[t]\nk=2\n[u]\n", document.Text());
  document.RemoveSection("nothing");
  EXPECT_EQ("a=0\n[t]\nk=2\n[u]\n", document.Text());
}

}  // namespace
