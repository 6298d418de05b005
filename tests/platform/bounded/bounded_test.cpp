#include "platform/bounded/bounded.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace {

// A destination with two bytes behind it that nobody may touch.
struct Guarded {
  char bytes[10] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', '!', '!'};
  static constexpr std::size_t kSize = 8;
  std::string Text() const { return std::string(bytes, sizeof(bytes)); }
};

TEST(MemsetS, FillsTheCountAndNothingBehindIt) {
  Guarded to;
  EXPECT_EQ(0, bounded::memset_s(to.bytes, Guarded::kSize, 'x', 3));
  EXPECT_EQ("xxxdefgh!!", to.Text());
}

TEST(MemsetS, FillsTheWholeDestination) {
  Guarded to;
  EXPECT_EQ(0, bounded::memset_s(to.bytes, Guarded::kSize, 'x', Guarded::kSize));
  EXPECT_EQ("xxxxxxxx!!", to.Text());
}

TEST(MemsetS, WithACountBeyondTheDestinationFillsItWholeAndAnswersErange) {
  for (const std::size_t count : {Guarded::kSize + 1, bounded::kRsizeMax, SIZE_MAX}) {
    Guarded to;
    EXPECT_EQ(ERANGE, bounded::memset_s(to.bytes, Guarded::kSize, 'x', count));
    EXPECT_EQ("xxxxxxxx!!", to.Text());
  }
}

TEST(MemsetS, RefusesANullDestination) { EXPECT_EQ(EINVAL, bounded::memset_s(nullptr, 8, 0, 0)); }

TEST(MemsetS, WritesNothingWhenTheDestinationSizeIsNoSize) {
  Guarded to;
  EXPECT_EQ(ERANGE, bounded::memset_s(to.bytes, bounded::kRsizeMax + 1, 'x', 1));
  EXPECT_EQ("abcdefgh!!", to.Text());
}

TEST(MemsetS, WithCountZeroChangesNothing) {
  Guarded to;
  EXPECT_EQ(0, bounded::memset_s(to.bytes, 0, 'x', 0));
  EXPECT_EQ("abcdefgh!!", to.Text());
}

TEST(MemcpyS, CopiesTheCountAndNothingBehindIt) {
  Guarded to;
  EXPECT_EQ(0, bounded::memcpy_s(to.bytes, Guarded::kSize, "1234", 4));
  EXPECT_EQ("1234efgh!!", to.Text());
}

TEST(MemcpyS, ZeroesTheDestinationWhenTheCountIsBeyondIt) {
  Guarded to;
  EXPECT_EQ(ERANGE, bounded::memcpy_s(to.bytes, Guarded::kSize, "123456789", 9));
  EXPECT_EQ(std::string(8, '\0') + "!!", to.Text());
}

TEST(MemcpyS, ZeroesTheDestinationWhenTheSourceIsNull) {
  Guarded to;
  EXPECT_EQ(EINVAL, bounded::memcpy_s(to.bytes, Guarded::kSize, nullptr, 0));
  EXPECT_EQ(std::string(8, '\0') + "!!", to.Text());
}

TEST(MemcpyS, RefusesANullDestination) { EXPECT_EQ(EINVAL, bounded::memcpy_s(nullptr, 8, "x", 1)); }

TEST(MemcpyS, WritesNothingWhenTheDestinationSizeIsNoSize) {
  Guarded to;
  EXPECT_EQ(ERANGE, bounded::memcpy_s(to.bytes, bounded::kRsizeMax + 1, "x", 1));
  EXPECT_EQ("abcdefgh!!", to.Text());
}

TEST(MemcpyS, RefusesOverlapInBothDirections) {
  Guarded ahead;
  EXPECT_EQ(EINVAL, bounded::memcpy_s(ahead.bytes + 1, 4, ahead.bytes, 2));
  EXPECT_EQ(std::string("a\0\0\0\0fgh!!", 10), ahead.Text());
  Guarded behind;
  EXPECT_EQ(EINVAL, bounded::memcpy_s(behind.bytes, 4, behind.bytes + 1, 2));
  EXPECT_EQ(std::string("\0\0\0\0efgh!!", 10), behind.Text());
}

TEST(MemcpyS, CopiesBetweenNeighbours) {
  Guarded to;
  EXPECT_EQ(0, bounded::memcpy_s(to.bytes, 4, to.bytes + 4, 4));
  EXPECT_EQ("efghefgh!!", to.Text());
}

TEST(MemcpyS, WithCountZeroChangesNothingEvenOntoItself) {
  Guarded to;
  EXPECT_EQ(0, bounded::memcpy_s(to.bytes, Guarded::kSize, to.bytes, 0));
  EXPECT_EQ("abcdefgh!!", to.Text());
}

}  // namespace
