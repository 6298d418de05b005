// Numbers of the settings file: what counts, what is ignored, and where they end.
#include <gtest/gtest.h>

#include "settings/setting_number.h"

namespace {

using SvcKivClass::SettingInteger;
using SvcKivClass::SettingUnsigned;

TEST(SettingNumber, ReadsSignAndDigitsAndIgnoresTheRest) {
  EXPECT_EQ(SettingInteger(L"0"), 0);
  EXPECT_EQ(SettingInteger(L"200abc"), 200);
  EXPECT_EQ(SettingInteger(L"-5"), -5);
  EXPECT_EQ(SettingInteger(L"+7 8"), 7);
  EXPECT_EQ(SettingInteger(L"007"), 7);
  EXPECT_EQ(SettingInteger(L"0x10"), 0);
  EXPECT_EQ(SettingInteger(L"1.9"), 1);
}

TEST(SettingNumber, SkipsWhiteSpaceInFrontOfTheSignOnly) {
  EXPECT_EQ(SettingInteger(L" \t\r\n\v\f\u00A0\u3000-12"), -12);
  EXPECT_EQ(SettingInteger(L"- 12"), 0);
  EXPECT_EQ(SettingInteger(L"+-12"), 0);
}

TEST(SettingNumber, IsZeroWithoutDigits) {
  for (const wchar_t* text : {L"", L" ", L"-", L"+", L"x1", L"\u0661", L"on"}) {
    EXPECT_EQ(SettingInteger(text), 0);
    EXPECT_EQ(SettingUnsigned(text), 0u);
  }
}

TEST(SettingNumber, StaysAtTheNearestNumberThatFits) {
  EXPECT_EQ(SettingInteger(L"2147483647"), 2147483647);
  EXPECT_EQ(SettingInteger(L"2147483648"), 2147483647);
  EXPECT_EQ(SettingInteger(L"-2147483648"), -2147483647 - 1);
  EXPECT_EQ(SettingInteger(L"-2147483649"), -2147483647 - 1);
  EXPECT_EQ(SettingInteger(L"99999999999999999999999999"), 2147483647);
  EXPECT_EQ(SettingUnsigned(L"4294967295"), 4294967295u);
  EXPECT_EQ(SettingUnsigned(L"4294967296"), 4294967295u);
  EXPECT_EQ(SettingUnsigned(L"99999999999999999999999999"), 4294967295u);
  EXPECT_EQ(SettingUnsigned(L"-1"), 0u);
}

}  // namespace
