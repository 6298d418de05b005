// Every message of the parser and the fill goes through translation, before anything is put into
// it.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>
#include <string>

#include "tests/params/fill_trees.h"
#include "tests/support/scratch_folder.h"

using namespace kivtest;

namespace {

// Puts marks around each text that is looked up.
class MarkingTranslator : public QTranslator {
 public:
  QString translate(const char*, const char* sourceText, const char*, int) const override {
    return QStringLiteral("\u00ab") + QString::fromUtf8(sourceText) + QStringLiteral("\u00bb");
  }
  bool isEmpty() const override { return false; }
};

class Translation : public testing::Test {
 protected:
  void SetUp() override { QCoreApplication::installTranslator(&translator_); }
  void TearDown() override { QCoreApplication::removeTranslator(&translator_); }

  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  QCoreApplication application_{argc_, argv_};
  MarkingTranslator translator_;
};

std::string Marked(const std::string& text) { return "\xc2\xab" + text + "\xc2\xbb"; }

// Every character of a whole message stands inside marks, but for those of `typed`.
void ExpectMarkedBut(const std::string& text, const std::string& typed, const std::string& plain) {
  std::string outside;
  std::string all;
  bool inside = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string two = text.substr(i, 2);
    if (two == "\xc2\xab" || two == "\xc2\xbb") {
      inside = two == "\xc2\xab";
      ++i;
      continue;
    }
    all += text[i];
    if (!inside) outside += text[i];
  }
  EXPECT_EQ(all, plain);
  EXPECT_EQ(outside, typed);
}

}  // namespace

TEST_F(Translation, RefusalsOfALineAreTranslated) {
  EXPECT_EQ(Refusal(""), Marked("The parameters line is empty.\n"));
  EXPECT_EQ(Refusal("{1"), Marked("the last '}' is missing.\n"));
  EXPECT_EQ(Refusal("1}"), Marked("The outermost '{' or '}' is missing.\n"));
  EXPECT_EQ(Refusal("$(T<"), Marked("Cannot find the text file name finish tag ')'.\n"));
}

TEST_F(Translation, FailuresOfRequestsAreTranslated) {
  ParamLineParser single = Opened("[1]");
  EXPECT_EQ(NextValue(single),
            "failed: " + Marked("Value type does not match, meeting the '[' for single value.\n"));
  ParamLineParser brackets = Opened("1");
  EXPECT_EQ(NextArray(brackets, 1, "aa"),
            "aa failed: " + Marked("The position of '[' or ']' is incorrect.\n"));
  ParamLineParser many = Opened("[1,2]");
  EXPECT_EQ(NextArray(many, 1, "aa"),
            "01 failed: " +
                Marked("The number of array parameters is bigger than that of the default.\n"));
  ParamLineParser binary = Opened("$(B<");
  EXPECT_EQ(NextArray(binary, 1, "aa"),
            "aa failed: " + Marked("Cannot find the bin file name finish tag ')'.\n"));
  ParamLineParser end = Opened(" ");
  EXPECT_EQ(NextArray(end, 1, "aa"), "aa failed: " + Marked("The parameters line is end"));
  std::uint32_t value = 0;
  EXPECT_EQ(end.StrToUint32(nullptr, &value), 0u);
  EXPECT_EQ(ErrorOf(end), Marked("Failed to translate string to wexUint32. valStr is nullptr."));
}

TEST_F(Translation, TypedTextStandsUntranslatedInTranslatedMessages) {
  ParamLineParser parser = Opened("abc");
  std::uint32_t value = 0;
  parser.StrToUint32(L"abc", &value);
  ExpectMarkedBut(ErrorOf(parser), "abc", "Failed to translate abc to wexUint32.\n");
  ExpectMarkedBut(Refusal("@/no/such"), "/no/such", "/no/such does not exist.\n");
}

TEST_F(Translation, PathOfAFileThatCannotBeOpenedStandsUntranslated) {
  ScratchFolder folder;
  const std::string text = Refusal("@" + folder.Path());
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\xc2') {
      ++i;
    } else {
      plain += text[i];
    }
  }
  EXPECT_EQ(plain, "Failed to open " + folder.Path() + "\n");
  EXPECT_EQ(text.rfind(Marked("Failed to open ") + folder.Path(), 0), 0u) << text;
}

TEST_F(Translation, FillTextsAreTranslatedBeforeTheIndexIsPutIn) {
  HandTree deep(NestedStructure());
  EXPECT_EQ(Fill(deep, "{5}"), "2 " + Marked(kDepthDiffers) + Marked(kPlainIndex));
  HandTree array({Structure(0, L"struct", L"t"), Array(1, L"a", 1, {7})});
  EXPECT_EQ(Fill(array, "1"), "2 " + Marked("The position of '[' or ']' is incorrect.\n") +
                                  Marked("The index of current parameter is 1.\n"));
}
