#include "platform/os/case_map.h"

#include <gtest/gtest.h>

#include <set>

namespace {

constexpr wchar_t kLast = static_cast<wchar_t>(sizeof(wchar_t) == 2 ? 0xFFFF : 0x10FFFF);

struct CaseRow {
  wchar_t upper, lower;
};

TEST(CaseMap, MapsPairsBothWays) {
  const CaseRow rows[] = {
      {L'A', L'a'},
      {L'Z', L'z'},
      {L'\u00C4', L'\u00E4'},
      {L'\u00DE', L'\u00FE'},
      {L'\u0178', L'\u00FF'},
      {L'\u0100', L'\u0101'},
      {L'\u0391', L'\u03B1'},
      {L'\u0416', L'\u0436'},
      {L'\u1F88', L'\u1F80'},
      {L'\u10A0', L'\u2D00'},
      {L'\uFF21', L'\uFF41'},
      {L'\U00010400', L'\U00010428'},
      {L'\U0001E900', L'\U0001E922'},
  };
  for (const CaseRow& row : rows) {
    EXPECT_EQ(row.lower, os::ToLowerChar(row.upper)) << static_cast<unsigned>(row.upper);
    EXPECT_EQ(row.upper, os::ToUpperChar(row.lower)) << static_cast<unsigned>(row.lower);
    EXPECT_EQ(row.lower, os::ToLowerChar(row.lower));
    EXPECT_EQ(row.upper, os::ToUpperChar(row.upper));
  }
}

TEST(CaseMap, MapsOneWayWhereUnicodeDoes) {
  EXPECT_EQ(L'i', os::ToLowerChar(L'\u0130'));  // dotted capital I
  EXPECT_EQ(L'I', os::ToUpperChar(L'\u0131'));  // dotless small i
  EXPECT_EQ(L'k', os::ToLowerChar(L'\u212A'));  // Kelvin sign
  EXPECT_EQ(L'\u00DF', os::ToLowerChar(L'\u1E9E'));
  EXPECT_EQ(L'\u03A3', os::ToUpperChar(L'\u03C2'));  // final sigma
  EXPECT_EQ(L'\u01C6', os::ToLowerChar(L'\u01C5'));  // title case letter
  EXPECT_EQ(L'\u01C4', os::ToUpperChar(L'\u01C5'));
}

TEST(CaseMap, LeavesWhatHasNoSingleCharacterMapping) {
  for (const wchar_t ch : {L'\u00DF', L'\u0149', L'\u0390', L'\u1E96', L'\uFB00', L'0', L'[', L'`',
                           L'{', L'@', L'\u20AC', L'\u4E2D'}) {
    EXPECT_EQ(ch, os::ToUpperChar(ch)) << static_cast<unsigned>(ch);
  }
  for (const wchar_t ch : {L'[', L'@', L'\u00D7', L'\u00F7', L'\u0138'}) {
    EXPECT_EQ(ch, os::ToLowerChar(ch)) << static_cast<unsigned>(ch);
  }
}

TEST(CaseMap, LeavesValuesThatAreNoCodePoints) {
  EXPECT_EQ(static_cast<wchar_t>(-1), os::ToLowerChar(static_cast<wchar_t>(-1)));
  EXPECT_EQ(static_cast<wchar_t>(0xD800), os::ToUpperChar(static_cast<wchar_t>(0xD800)));
}

TEST(CaseMap, IsSettledAfterOneStep) {
  for (wchar_t ch = 0; ch < kLast; ++ch) {
    ASSERT_EQ(os::ToLowerChar(ch), os::ToLowerChar(os::ToLowerChar(ch)))
        << static_cast<unsigned>(ch);
    ASSERT_EQ(os::ToUpperChar(ch), os::ToUpperChar(os::ToUpperChar(ch)))
        << static_cast<unsigned>(ch);
  }
}

TEST(CaseMap, KnowsExactlyTheWhiteSpaceOfUnicode) {
  const std::set<wchar_t> spaces = {0x09,   0x0A,   0x0B,   0x0C,   0x0D,   0x20,   0x85,
                                    0xA0,   0x1680, 0x2000, 0x2001, 0x2002, 0x2003, 0x2004,
                                    0x2005, 0x2006, 0x2007, 0x2008, 0x2009, 0x200A, 0x2028,
                                    0x2029, 0x202F, 0x205F, 0x3000};
  for (wchar_t ch = 0; ch < kLast; ++ch) {
    ASSERT_EQ(spaces.count(ch) == 1, os::IsWhiteSpace(ch)) << static_cast<unsigned>(ch);
  }
  EXPECT_FALSE(os::IsWhiteSpace(static_cast<wchar_t>(-1)));
}

}  // namespace
