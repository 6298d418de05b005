#include "platform/text/decimal_number.h"

#include <gtest/gtest.h>

namespace {

struct NumberRow {
  const wchar_t* text;
  std::uint32_t value;
};

TEST(DecimalNumber, IsTheWholeTextOrZero) {
  const NumberRow rows[] = {
      {L"200", 200},
      {L" 200 ", 200},
      {L"+7", 7},
      {L"007", 7},
      {L"4294967295", 4294967295u},
      {L"4294967296", 0},
      {L"99999999999999999999999", 0},
      {L"200abc", 0},
      {L"-5", 0},
      {L"0x10", 0},
      {L"1 2", 0},
      {L"\t1", 0},
      {L"+", 0},
      {L"", 0},
      {L" ", 0},
      {L"\uFF11", 0},
  };
  for (const NumberRow& row : rows) EXPECT_EQ(row.value, ParseDecimalUint32(row.text)) << row.value;
}

}  // namespace
