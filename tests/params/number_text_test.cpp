// How much of a text a number is, and its value.
#include "params/number_text.h"

#include <gtest/gtest.h>

#include <string>

using SvcKivClass::ParseNumber;

namespace {

// "value of chars" for a text.
std::string Read(std::wstring_view text) {
  const SvcKivClass::ParsedNumber number = ParseNumber(text);
  return std::to_string(number.value) + " of " + std::to_string(number.readChars);
}

}  // namespace

TEST(ParseNumber, StopsAtTheFirstCharacterThatIsNoDigitOfItsBase) {
  EXPECT_EQ(Read(L"12,34"), "12 of 2");
  EXPECT_EQ(Read(L"0x1G"), "1 of 3");
  EXPECT_EQ(Read(L"0178"), "15 of 3");
  EXPECT_EQ(Read(L"12ab"), "12 of 2");
}

TEST(ParseNumber, CountsWhiteSpaceAndSignToTheNumber) {
  EXPECT_EQ(Read(L" \t-5}"), "4294967291 of 4");
  EXPECT_EQ(Read(L"+0x10"), "16 of 5");
}

TEST(ParseNumber, ReadsNothingWithoutADigit) {
  for (const wchar_t* text : {L"", L" ", L"-", L"+", L"x", L" -x", L"--1", L"+-1", L",1"}) {
    EXPECT_EQ(Read(text), "0 of 0");
  }
}

TEST(ParseNumber, PrefixWithoutADigitIsAnOctalZero) {
  EXPECT_EQ(Read(L"0x"), "0 of 1");
  EXPECT_EQ(Read(L"0Xg"), "0 of 1");
  EXPECT_EQ(Read(L"0b1"), "0 of 1");
}

TEST(ParseNumber, SaturatesWhateverTheCountOfDigits) {
  EXPECT_EQ(Read(L"4294967295"), "4294967295 of 10");
  EXPECT_EQ(Read(L"4294967296"), "4294967295 of 10");
  for (std::size_t digits = 11; digits < 60; ++digits) {
    // 18446744073709551616 and its like read as small numbers where 64 bits wrap.
    for (const wchar_t first : {L'1', L'9'}) {
      std::wstring text(digits, L'0');
      text[0] = first;
      EXPECT_EQ(ParseNumber(text).value, 0xFFFFFFFFu) << digits;
      EXPECT_EQ(ParseNumber(L"-" + text).value, 0xFFFFFFFFu) << digits;
      EXPECT_EQ(ParseNumber(L"0x" + text).value, 0xFFFFFFFFu) << digits;
      EXPECT_EQ(ParseNumber(L"0" + text).readChars, first == L'9' ? 1 : digits + 1) << digits;
    }
  }
  EXPECT_EQ(Read(L"18446744073709551616"), "4294967295 of 20");
}

TEST(ParseNumber, LeadingZerosOfAPrefixedNumberDoNotCount) {
  EXPECT_EQ(Read(L"0x" + std::wstring(40, L'0') + L"1F"), "31 of 44");
  EXPECT_EQ(Read(std::wstring(40, L'0') + L"17"), "15 of 42");
}
