// Decimal numbers in the user's texts.
#include "platform/text/decimal_number.h"

#include <gtest/gtest.h>

TEST(ParseDecimalUint32, ReadsWholeNumbersOf32Bits) {
  EXPECT_EQ(ParseDecimalUint32(L"0"), 0u);
  EXPECT_EQ(ParseDecimalUint32(L"200"), 200u);
  EXPECT_EQ(ParseDecimalUint32(L"010"), 10u);
  EXPECT_EQ(ParseDecimalUint32(L"+7"), 7u);
  EXPECT_EQ(ParseDecimalUint32(L"4294967295"), 4294967295u);
}

TEST(ParseDecimalUint32, AllowsBlanksAround) {
  EXPECT_EQ(ParseDecimalUint32(L"  200 "), 200u);
  EXPECT_EQ(ParseDecimalUint32(L"\t200"), 0u);
}

TEST(ParseDecimalUint32, AnswersZeroForAnythingElse) {
  for (const wchar_t* text : {L"", L" ", L"+", L"-5", L"200abc", L"0x10", L"1 2", L"+ 1", L"++1",
                              L"4294967296", L"99999999999999999999999", L"1\u0661"}) {
    EXPECT_EQ(ParseDecimalUint32(text), 0u);
  }
}
