// Long lines cost their length: a look at the whole rest for each request would take hours here.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "params/param_line_parser.h"

using SvcKivClass::ParamLineParser;

namespace {

constexpr int kItems = 200000;

std::wstring Repeated(const std::wstring& item) {
  std::wstring line;
  for (int i = 0; i < kItems; ++i) line += item + L",";
  return line;
}

}  // namespace

TEST(LongLine, ArraysAreReadOneAfterTheOther) {
  ParamLineParser parser{QCString(Repeated(L"[7]"))};
  for (int i = 0; i < kItems; ++i) {
    std::uint8_t byte = 0;
    std::uint8_t* buffer = &byte;
    ASSERT_EQ(parser.GetNextArray(&buffer, 1, 1), 1u);
    ASSERT_EQ(byte, 7);
  }
  EXPECT_EQ(parser.GetPosition(), parser.GetLine().GetLength());
}

TEST(LongLine, ValuesInBracesAreReadOneAfterTheOther) {
  ParamLineParser parser{QCString(L"{" + Repeated(L"{7}") + L"}")};
  for (int i = 0; i < kItems; ++i) {
    std::uint32_t value = 0;
    bool leftAtDefault = true;
    ASSERT_EQ(parser.GetDepth(), 2u);
    ASSERT_EQ(parser.GetNextValue(&value, &leftAtDefault), 1u);
    ASSERT_EQ(value, 7u);
  }
  EXPECT_EQ(parser.GetDepth(), 1u);
}

TEST(LongLine, BlanksAreTakenOutInOnePass) {
  ParamLineParser parser{QCString(Repeated(L"  7  \n "))};
  EXPECT_EQ(parser.GetLine(), QCString(Repeated(L"7")));
}
