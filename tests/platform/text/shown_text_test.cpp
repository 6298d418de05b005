#include "platform/text/shown_text.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "platform/os/utf8_codec.h"

namespace {

TEST(ShownText, LeavesPrintableTextLineFeedsAndTabsAlone) {
  EXPECT_EQ(ShownText(L"name = 5 \n\tC:\\dir \u00e4\u20ac"),
            "name = 5 \n\tC:\\dir \xC3\xA4\xE2\x82\xAC");
}

TEST(ShownText, EscapesEveryOtherControlCharacter) {
  for (unsigned code = 0; code < 0x100; ++code) {
    const bool control =
        (code < 0x20 && code != '\n' && code != '\t') || (code >= 0x7F && code < 0xA0);
    const std::wstring text = {L'a', static_cast<wchar_t>(code), L'b'};
    char expected[8];
    std::snprintf(expected, sizeof expected, "a\\x%02xb", code);
    if (control) {
      EXPECT_EQ(ShownText(text), expected);
    } else {
      EXPECT_EQ(ShownText(text).find("\\x"), std::string::npos) << code;
    }
  }
}

TEST(ShownText, DisarmsATerminalSequenceFromADevice) {
  EXPECT_EQ(ShownText(L"\x1b]0;owned\x07\x9b"
                      L"2J"),
            "\\x1b]0;owned\\x07\\x9b2J");
}

TEST(ShownText, KeepsWhatMustStayOnOneLineOnOneLine) {
  EXPECT_EQ(ShownLine(L"a\nkiv: forged\tb\r"), "a\\x0akiv: forged\\x09b\\x0d");
  EXPECT_EQ(ShownLine(std::string_view("a\nb\x1b")), "a\\x0ab\\x1b");
}

TEST(ShownText, EscapesControlCharactersOfUtf8Too) {
  EXPECT_EQ(ShownUtf8("a\x1b[2J\xC2\x9B"
                      "b\xFF"),
            "a\\x1b[2J\\x9b"
            "b\xEF\xBF\xBD");
}

// A name such as "gpj.exe" written right to left would otherwise read "exe.jpg".
TEST(ShownText, ShowsWhatTurnsTheDirectionOfTextAround) {
  EXPECT_EQ(ShownUtf8("a\xE2\x80\xAE"
                      "gpj.exe\xE2\x80\xAC"),
            "a\\u202egpj.exe\\u202c");
  EXPECT_EQ(ShownUtf8("\xE2\x81\xA6x\xE2\x81\xA9"), "\\u2066x\\u2069");
  EXPECT_EQ(ShownLine(std::wstring_view(L"\u061c\u200e\u200f")), "\\u061c\\u200e\\u200f");
}

TEST(ShownText, ShowsEveryInvisibleFormatCharacterAndNoOther) {
  for (char32_t code = 0xA0; code < 0x110000; ++code) {
    if (code >= 0xD800 && code < 0xE000) continue;
    const bool escaped = code == 0x61C || code == 0x180E || code == 0x200B || code == 0x200E ||
                         code == 0x200F || (code >= 0x2028 && code <= 0x202E) ||
                         (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF ||
                         (code >= 0xFFF9 && code <= 0xFFFB) || (code >= 0xE0000 && code < 0xE1000);
    std::string utf8;
    os::utf8_codec::AppendBytes(utf8, code);
    char expected[16];
    std::snprintf(expected, sizeof expected, code < 0x10000 ? "\\u%04x" : "\\U%08x",
                  static_cast<unsigned>(code));
    ASSERT_EQ(ShownUtf8(utf8), escaped ? expected : utf8) << std::hex << +code;
  }
}

TEST(ShownText, KeepsTheJoinersOfWordsAndSigns) {
  const std::string joined =
      "\xD9\x85\xDB\x8C\xE2\x80\x8C\xD8\xAE \xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xA7";
  EXPECT_EQ(ShownUtf8(joined), joined);
}

}  // namespace
