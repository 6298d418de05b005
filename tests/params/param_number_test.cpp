// The one number conversion of the parameter language.
#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tests/params/line_reading.h"

using namespace kivtest;

namespace {

struct Number {
  const char* text;
  std::uint32_t value;
};

// Converts and answers the value; `whole` says whether the conversion must succeed.
void ExpectNumber(const Number& number, bool whole) {
  ParamLineParser parser;
  std::uint32_t value = 77;
  EXPECT_EQ(parser.StrToUint32(Wide(number.text).c_str(), &value), whole ? 1u : 0u) << number.text;
  EXPECT_EQ(value, number.value) << number.text;
  const std::string refused =
      std::string("Failed to translate ") + number.text + " to wexUint32.\n";
  EXPECT_EQ(ErrorOf(parser), whole ? "" : refused);
  EXPECT_EQ(StateOf(parser), "0 0 0");
}

void ExpectNumbers(std::initializer_list<Number> numbers, bool whole) {
  for (const Number& number : numbers) ExpectNumber(number, whole);
}

}  // namespace

TEST(ParamNumber, PrefixChoosesHexadecimalOctalOrDecimal) {
  ExpectNumbers({{"0x1F", 31},
                 {"0X1f", 31},
                 {"0xABCDEF", 0xABCDEF},
                 {"0Xabcdef", 0xABCDEF},
                 {"017", 15},
                 {"0377", 255},
                 {"31", 31},
                 {"0", 0},
                 {"00", 0},
                 {"0x0", 0},
                 {"0000000000000000000012", 10}},
                true);
}

TEST(ParamNumber, LeadingWhiteSpaceAndOneSignAreAccepted) {
  ExpectNumbers({{" 5", 5},
                 {"   5", 5},
                 {"\t5", 5},
                 {"\v\f\r\n5", 5},
                 {"+5", 5},
                 {" +5", 5},
                 {"+0x10", 16},
                 {"+010", 8}},
                true);
  ExpectNumbers({{"--5", 0}, {"++5", 0}, {"+-5", 0}, {"-+5", 0}, {"- 5", 0}, {"+ 5", 0}}, false);
}

TEST(ParamNumber, LeadingWhiteSpaceIsThatOfUnicode) {
  ExpectNumbers({{"\xc2\xa0-5", 0xFFFFFFFB}, {"\xe2\x80\x83 5", 5}, {"\xe3\x80\x80\x30", 0}}, true);
  ExpectNumbers({{"\xe2\x80\x8b\x35", 0}, {"\xef\xbb\xbf\x35", 0}}, false);
}

TEST(ParamNumber, MinusNegatesModuloTwoToThe32nd) {
  ExpectNumbers({{"-1", 0xFFFFFFFF},
                 {"-5", 0xFFFFFFFB},
                 {"-0", 0},
                 {"-0x10", 0xFFFFFFF0},
                 {"-017", 0xFFFFFFF1},
                 {"-2147483648", 0x80000000},
                 {"-4294967295", 1},
                 {" -1", 0xFFFFFFFF}},
                true);
}

TEST(ParamNumber, LargerThan32BitsBecomesAllOnesWhateverTheSign) {
  for (const char* text : {"4294967295", "4294967296", "4294967297", "-4294967296", "-4294967297",
                           "0x100000000", "-0x100000000", "040000000000", "8589934592",
                           "18446744073709551615", "18446744073709551616", "18446744073709551617",
                           "-18446744073709551615", "-18446744073709551616", "99999999999999999999",
                           "-99999999999999999999", "0xffffffffffffffffffffffffffffffff"}) {
    ExpectNumber({text, 0xFFFFFFFF}, true);
  }
}

TEST(ParamNumber, WhateverIsLeftOverFailsAndTheValueReadIsStored) {
  ExpectNumbers({{"12abc", 12},
                 {"08", 0},
                 {"09", 0},
                 {"018", 1},
                 {"0x", 0},
                 {"0X", 0},
                 {"0xg", 0},
                 {"0x1Fg", 31},
                 {"5 ", 5},
                 {"1 2", 1},
                 {"1.5", 1},
                 {"1e3", 1},
                 {"-3x", 0xFFFFFFFD},
                 {"99999999999999999999z", 0xFFFFFFFF},
                 {"0x-1", 0},
                 {"1\xc2\xa0", 1},
                 {"%1", 0},
                 {"7}", 7}},
                false);
}

TEST(ParamNumber, TextWithoutDigitsFails) {
  for (const char* text : {" ", "x", "-", "+", "abc", "#", "\xd9\xa1", "\xf0\x9f\x98\x80"}) {
    ExpectNumber({text, 0}, false);
  }
}

TEST(ParamNumber, BinaryPrefixIsNeverTaken) {
  ExpectNumber({"0b11", 0}, false);
  ExpectNumber({"0B11", 0}, false);
}

TEST(ParamNumber, EmptyTextIsZero) { ExpectNumber({"", 0}, true); }

TEST(ParamNumber, NullTextFailsWithItsOwnMessage) {
  ParamLineParser parser;
  std::uint32_t value = 0;
  EXPECT_EQ(parser.StrToUint32(nullptr, &value), 0u);
  EXPECT_EQ(ErrorOf(parser), "Failed to translate string to wexUint32. valStr is nullptr.");
}
