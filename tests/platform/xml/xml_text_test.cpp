// How texts stand in the file: every text comes back, and other readers of XML take the file.
#include "platform/xml/xml_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/xml/well_formed.h"
#include "platform/xml/xml_config.h"
#include "tests/support/sweep.h"
#include "tests/support/temp_dir.h"

namespace {

using kivtest::SweepCount;
using kivtest::TempDir;

// The same holds for characters of 2 and of 4 bytes.
template <typename Char>
class XmlText : public testing::Test {
 protected:
  using Text = std::basic_string<Char>;
  static std::string Encode(const Text& text) {
    return xml_text::Encode(std::basic_string_view<Char>(text));
  }
  static Text Decode(const std::string& bytes) { return xml_text::Decode<Char>(bytes); }
  static Text OfAscii(std::string_view ascii) { return Text(ascii.begin(), ascii.end()); }
  static void ExpectBack(const Text& text) {
    const std::string bytes = Encode(text);
    ASSERT_TRUE(text == Decode(bytes)) << bytes;
    // What stands in the file are characters that XML has.
    for (std::size_t at = 0; at < bytes.size();) {
      const auto one = os::utf8_codec::DecodeOne(std::string_view(bytes).substr(at));
      ASSERT_TRUE(xml_text::IsXmlChar(one.codePoint)) << bytes;
      at += one.lengthBytes;
    }
  }
};
using Widths = testing::Types<char16_t, char32_t, wchar_t>;
TYPED_TEST_SUITE(XmlText, Widths);

TYPED_TEST(XmlText, LeavesWhatXmlHasAsItIs) {
  EXPECT_EQ("a{b}&<>\t\r\n\x7F", this->Encode(this->OfAscii("a{b}&<>\t\r\n\x7F")));
  const auto wide =
      typename TestFixture::Text{TypeParam(0xE4), TypeParam(0x2028), TypeParam(0xFFFD)};
  EXPECT_EQ("\xC3\xA4\xE2\x80\xA8\xEF\xBF\xBD", this->Encode(wide));
  EXPECT_EQ(wide, this->Decode("\xC3\xA4\xE2\x80\xA8\xEF\xBF\xBD"));
}

TYPED_TEST(XmlText, NamesWhatXmlDoesNotHave) {
  const auto encodeUnit = [this](std::uint32_t unit) {
    return this->Encode(typename TestFixture::Text(1, static_cast<TypeParam>(unit)));
  };
  EXPECT_EQ("{U+0000}", encodeUnit(0));
  EXPECT_EQ("{U+0001}", encodeUnit(1));
  EXPECT_EQ("{U+001F}", encodeUnit(0x1F));
  EXPECT_EQ("{U+D800}", encodeUnit(0xD800));
  EXPECT_EQ("{U+DFFF}", encodeUnit(0xDFFF));
  EXPECT_EQ("{U+FFFE}", encodeUnit(0xFFFE));
  EXPECT_EQ("{U+FFFF}", encodeUnit(0xFFFF));
  if constexpr (sizeof(TypeParam) == 4) {
    EXPECT_EQ("\xF0\x9F\xBF\xBE", encodeUnit(0x1FFFE));
    EXPECT_EQ("\xF4\x8F\xBF\xBF", encodeUnit(0x10FFFF));
    EXPECT_EQ("{U+00110000}", encodeUnit(0x110000));
    EXPECT_EQ("{U+FFFFFFFF}", encodeUnit(0xFFFFFFFF));
  }
}

TYPED_TEST(XmlText, NamesTheBraceOfATextThatLooksNamed) {
  EXPECT_EQ("{U+007B}U+0041}", this->Encode(this->OfAscii("{U+0041}")));
  EXPECT_EQ("{U+007B}U+007B}U+0041}", this->Encode(this->OfAscii("{U+007B}U+0041}")));
  EXPECT_EQ("{{U+007B}U+0001}", this->Encode(this->OfAscii("{{U+0001}")));
  for (const char* plain :
       {"{U+}", "{U+41}", "{U+004}", "{U+000000041}", "{U+00g1}", "{u+0041}", "{U+00ab}", "{U+0041",
        "U+0041}", "{U-0041}", "{U+ 041}", "{U+0000}", "{U+00000000}"}) {
    EXPECT_EQ(plain, this->Encode(this->OfAscii(plain)));
    EXPECT_EQ(this->OfAscii(plain), this->Decode(plain));
  }
}

TYPED_TEST(XmlText, TakesAnyNamedCharacterOfItsWidth) {
  EXPECT_EQ(this->OfAscii("A-A"), this->Decode("{U+0041}-{U+00000041}"));
  const std::string beyond = "{U+0001F600}";
  if constexpr (sizeof(TypeParam) == 2) {
    EXPECT_EQ(this->OfAscii(beyond), this->Decode(beyond));
  } else {
    EXPECT_EQ(typename TestFixture::Text(1, TypeParam(0x1F600)), this->Decode(beyond));
  }
}

// A NUL would end the text in the fields of hosts.
TYPED_TEST(XmlText, NamesNoNul) {
  using Text = typename TestFixture::Text;
  EXPECT_EQ(this->OfAscii("a{U+0000}b"), this->Decode(this->Encode(this->OfAscii("a{U+0000}b"))));
  EXPECT_EQ(this->OfAscii("{U+0000}"), this->Decode(this->Encode(Text(1, TypeParam(0)))));
}

TYPED_TEST(XmlText, BringsEveryUnitBack) {
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    this->ExpectBack(typename TestFixture::Text(1, static_cast<TypeParam>(unit)));
  }
}

TYPED_TEST(XmlText, BringsEveryPairOfTellingUnitsBack) {
  constexpr std::uint32_t kTelling[] = {2,   1,      9,      '{',    'U',    '+',    '0',
                                        '}', 0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFFFD, 0xFFFF};
  for (const std::uint32_t a : kTelling) {
    for (const std::uint32_t b : kTelling) {
      for (const std::uint32_t c : kTelling) {
        this->ExpectBack({TypeParam(a), TypeParam(b), TypeParam(c)});
      }
    }
  }
}

// Texts that are mostly made of what escapes are made of.
template <typename Char>
std::basic_string<Char> RandomText(std::mt19937_64& random) {
  static constexpr std::string_view kPieces[] = {"{U+", "{", "}", "007B}", "0041}", "U+", "&#9;"};
  std::basic_string<Char> text;
  for (std::uint64_t left = random() % 12; left > 0; --left) {
    if (random() % 2 == 0) {
      const std::string_view piece = kPieces[random() % std::size(kPieces)];
      text.append(piece.begin(), piece.end());
    } else {
      const auto unit = static_cast<Char>(random() >> (random() % 64));
      text.push_back(unit != 0 ? unit : Char('x'));
    }
  }
  return text;
}

TYPED_TEST(XmlText, BringsRandomTextsBack) {
  std::mt19937_64 random(7);
  for (std::int64_t left = SweepCount(1'000'000); left > 0; --left) {
    this->ExpectBack(RandomText<TypeParam>(random));
  }
}

TYPED_TEST(XmlText, ReadsAnyBytes) {
  std::mt19937_64 random(8);
  for (std::int64_t left = SweepCount(200'000); left > 0; --left) {
    std::string bytes(random() % 20, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 255 + 1);  // XML has no NUL
    const auto text = this->Decode(bytes);
    ASSERT_EQ(text, this->Decode(this->Encode(text)));
  }
}

// Texts through a document, its file and back.
class TextsInADocument : public testing::Test {
 protected:
  static QCString At(std::size_t i) { return QCString(L"0." + std::to_wstring(i)); }

  void Save(const std::vector<QCString>& texts) {
    CXmlConfig config(path_, {.openAs = xml_config::OpenAs::kNew});
    for (std::size_t i = 0; i < texts.size(); ++i) {
      ASSERT_EQ(0u, config.AddConfigNode(L"T", L"SourceData", L"0", 0));
      ASSERT_EQ(0u, config.WriteAttrValue(texts[i], L"V", L"SourceData.T", At(i)));
    }
    ASSERT_EQ(0u, config.Save(1));
  }
  void ExpectIn(const std::vector<QCString>& texts) {
    const CXmlConfig config(path_, {.openAs = xml_config::OpenAs::kExisting});
    ASSERT_TRUE(config.IsOpen());
    for (std::size_t i = 0; i < texts.size(); ++i) {
      QCString text;
      ASSERT_EQ(0u, config.ReadAttrValue(text, L"V", L"SourceData.T", At(i)));
      ASSERT_EQ(texts[i], text) << i;
    }
  }
  // Runs a command on the file and answers what it prints.
  std::string OutputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = popen(("cd " + dir_.path() + " && " + command).c_str(), "r");
    if (pipe == nullptr) return "no pipe";
    for (int ch; (ch = std::fgetc(pipe)) != EOF;) output += static_cast<char>(ch);
    pclose(pipe);
    return output;
  }
  static std::vector<QCString> HardTexts() {
    std::vector<QCString> texts = {L"",
                                   L" blanks  around ",
                                   L"\t\r\n \r\n",
                                   L"<>&\"'",
                                   L"&lt;&#10;&amp;#10;]]><!--",
                                   L"{U+0041}",
                                   L"{U+0000}",
                                   QCString(std::wstring(20'000, L'\x20AC'))};
    for (std::uint32_t unit = 1; unit <= 0xFFFF; unit += unit < 0x300 || unit > 0xD700 ? 1 : 97) {
      texts.emplace_back(std::wstring{L'a', static_cast<wchar_t>(unit), L'b'});
    }
    texts.emplace_back(std::wstring(1, std::numeric_limits<wchar_t>::max()));
    texts.emplace_back(std::wstring(1, static_cast<wchar_t>(-1)));
    return texts;
  }

  TempDir dir_;
  const QCString path_{dir_.WideFile("kiv.xml")};
};

TEST_F(TextsInADocument, ComeBackFromTheFile) {
  Save(HardTexts());
  ExpectIn(HardTexts());
}

TEST_F(TextsInADocument, StandInAFileThatIsSoundXml) {
  Save(HardTexts());
  EXPECT_FALSE(well_formed::FindFault(dir_.Read("kiv.xml")));
}

TEST_F(TextsInADocument, AreReadAlikeByAnotherProgram) {
  const std::vector<QCString> texts = HardTexts();
  Save(texts);
  std::string expected;
  for (const QCString& text : texts) expected += xml_text::Encode(text.view()) + '\0';
  dir_.Write("expected", expected);
  dir_.Write("read.py",
             "import xml.etree.ElementTree as tree\n"
             "texts = [t.get('V') for t in tree.parse('kiv.xml').getroot()]\n"
             "wanted = open('expected', newline='', encoding='utf-8').read().split('\\0')[:-1]\n"
             "print(len(texts), texts == wanted, end='')\n");
  EXPECT_EQ(std::to_string(texts.size()) + " True", OutputOf("/usr/bin/python3 -B read.py 2>&1"));
}

TEST_F(TextsInADocument, AreWrittenAlikeByAnotherProgram) {
  const std::vector<QCString> texts = HardTexts();
  Save(texts);
  dir_.Write("rewrite.py",
             "import xml.etree.ElementTree as tree\n"
             "document = tree.parse('kiv.xml')\n"
             "document.write('kiv.xml', encoding='utf-8', xml_declaration=True)\n");
  EXPECT_EQ("", OutputOf("/usr/bin/python3 -B rewrite.py 2>&1"));
  ExpectIn(texts);
}

}  // namespace
