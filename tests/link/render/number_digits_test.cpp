// Values as digits, against the C library's formatting.
#include "link/render/number_digits.h"

#include <gtest/gtest.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <random>
#include <string>

#include "tests/support/sweep.h"

using SvcKivClass::kMaxValueChars;
using SvcKivClass::ValueFormat;
using SvcKivClass::WriteValue;

namespace {

std::string Written(std::uint64_t value, const ValueFormat& format) {
  std::array<wchar_t, kMaxValueChars> chars{};
  const wchar_t* const end = WriteValue(chars.data(), value, format);
  return std::string(static_cast<const wchar_t*>(chars.data()), end);
}

std::string Printed(const char* format, std::uint32_t value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

}  // namespace

TEST(WriteValue, AgreesWithTheCLibrary) {
  std::mt19937_64 random(1);
  for (std::int64_t i = kivtest::SweepCount(1'000'000); i > 0; --i) {
    const auto value = static_cast<std::uint32_t>(random() >> (random() % 64));
    ASSERT_EQ(Written(value, {4, false, false}), Printed("%" PRIu32, value));
    ASSERT_EQ(Written(value, {4, true, false}), Printed("%" PRId32, value));
    ASSERT_EQ(Written(value, {4, false, true}), Printed("0x%08" PRIx32, value));
    ASSERT_EQ(Written(value & 0xFFFF, {2, false, true}), Printed("0x%04" PRIx32, value & 0xFFFF));
  }
}

TEST(WriteValue, EveryPowerOfTenHasItsDigits) {
  std::uint64_t power = 1;
  for (int digits = 1; power <= 0xFFFFFFFFu; ++digits, power *= 10) {
    EXPECT_EQ(Written(power, {4, false, false}), std::to_string(power));
    EXPECT_EQ(Written(power - 1, {4, false, false}), std::to_string(power - 1));
  }
}

TEST(WriteValue, SignIsThatOfTheValuesOwnWidth) {
  EXPECT_EQ(Written(0xFB, {1, true, false}), "-5");
  EXPECT_EQ(Written(0xFB, {2, true, false}), "251");
  EXPECT_EQ(Written(0x8000, {2, true, false}), "-32768");
  EXPECT_EQ(Written(0x80000000, {4, true, false}), "-2147483648");
}

TEST(WriteValue, HexadecimalOfNegativeAndOddWidths) {
  EXPECT_EQ(Written(0xFB, {1, true, true}), "0x00");
  EXPECT_EQ(Written(0x8000, {2, true, true}), "0x0000");
  EXPECT_EQ(Written(300, {1, false, true}), "0x12c");
  for (const std::uint32_t width : {0u, 3u, 5u, 8u}) {
    EXPECT_EQ(Written(1, {width, false, true}), "");
  }
}

TEST(WriteDecimalInRoom, WritesWhatWriteDecimalWritesAndNothingBehindItsRoom) {
  const auto expectSame = [](std::uint32_t value) {
    std::array<wchar_t, SvcKivClass::kDecimalRoomChars + 1> chars;
    chars.fill(L'?');
    const wchar_t* const end = SvcKivClass::WriteDecimalInRoom(chars.data(), value);
    EXPECT_EQ(std::string(static_cast<const wchar_t*>(chars.data()), end),
              Printed("%" PRIu32, value));
    EXPECT_EQ(chars.back(), L'?');
  };
  for (std::uint32_t value = 0; value < 20000; ++value) expectSame(value);
  for (std::uint64_t power = 10; power <= 0xFFFFFFFFu; power *= 10) {
    for (const std::uint64_t value : {power - 1, power, power + 1, 2 * power - 1}) {
      if (value <= 0xFFFFFFFFu) expectSame(static_cast<std::uint32_t>(value));
    }
  }
  expectSame(0xFFFFFFFFu);
  std::mt19937_64 random(2);
  for (std::int64_t i = kivtest::SweepCount(1'000'000); i > 0 && !testing::Test::HasFailure();
       --i) {
    expectSame(static_cast<std::uint32_t>(random() >> (32 + random() % 32)));
  }
}
