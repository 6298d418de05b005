#include "platform/text/shown_text.h"

#include <gtest/gtest.h>

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

}  // namespace
