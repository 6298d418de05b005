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
    const bool control = (code < 0x20 && code != '\n' && code != '\t') ||
                         (code >= 0x7F && code < 0xA0) || code == 0xAD;  // the soft hyphen
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

std::string Utf8Of(char32_t code) {
  std::string utf8;
  os::utf8_codec::AppendBytes(utf8, code);
  return utf8;
}

// Written down by hand; tests/tools/shown_text_walk_test.py asks a program for every code point.
TEST(ShownText, ShowsWhatCannotBeSeen) {
  const struct {
    char32_t first, last;
  } rows[] = {{0xAD, 0xAD},      {0x34F, 0x34F},     {0x600, 0x605},     {0x61C, 0x61C},
              {0x6DD, 0x6DD},    {0x70F, 0x70F},     {0x115F, 0x1160},   {0x17B4, 0x17B5},
              {0x180B, 0x180F},  {0x200B, 0x200F},   {0x2028, 0x202E},   {0x2060, 0x206F},
              {0x3164, 0x3164},  {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},
              {0xFFF0, 0xFFFB},  {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
              {0xE0000, 0xE0FFF}};
  for (const auto& row : rows) {
    for (char32_t code = row.first; code <= row.last; ++code) {
      char expected[16];
      std::snprintf(expected, sizeof expected,
                    code < 0x100     ? "\\x%02x"
                    : code < 0x10000 ? "\\u%04x"
                                     : "\\U%08x",
                    static_cast<unsigned>(code));
      ASSERT_EQ(ShownUtf8("a" + Utf8Of(code) + "b"), "a" + std::string(expected) + "b");
    }
    for (const char32_t code : {row.first - 1, row.last + 1}) {
      ASSERT_EQ(ShownUtf8(Utf8Of(code)), Utf8Of(code)) << std::hex << +code;
    }
  }
}

TEST(ShownText, LeavesWhatShowsSomethingAlone) {
  for (const char32_t code : {0xA0, 0x300, 0x2800, 0x3000, 0xE000, 0xFFFD, 0x1F469, 0x10FFFD}) {
    EXPECT_EQ(ShownUtf8(Utf8Of(code)), Utf8Of(code)) << std::hex << +code;
  }
}

// Else two names that differ look the same.
TEST(ShownText, ShowsJoinersAndVariationSelectorsOfWordsAndSigns) {
  EXPECT_EQ(ShownUtf8("\xD9\x85\xDB\x8C\xE2\x80\x8C\xD8\xAE \xE2\x9D\xA4\xEF\xB8\x8F"),
            "\xD9\x85\xDB\x8C\\u200c\xD8\xAE \xE2\x9D\xA4\\ufe0f");
}

}  // namespace
