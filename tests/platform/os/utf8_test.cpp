#include "platform/os/utf8.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/os/utf8_codec.h"

namespace {

using os::Utf8ToWide;
using os::WideToUtf8;
namespace codec = os::utf8_codec;

struct BrokenRow {
  const char* what;
  std::string bytes;
  std::u32string text;
};

// R stands for one U+FFFD.
constexpr char32_t R = 0xFFFD;

const BrokenRow kBroken[] = {
    {"lone continuation bytes", "\x80\xBF", {R, R}},
    {"bytes that never occur", "\xC0\xC1\xF5\xFF", {R, R, R, R}},
    {"overlong slash, two bytes", "\xC0\xAF", {R, R}},
    {"overlong, three bytes", "\xE0\x80\xAF", {R, R, R}},
    {"overlong, three bytes, last", "\xE0\x9F\xBF", {R, R, R}},
    {"overlong, four bytes", "\xF0\x80\x80\xAF", {R, R, R, R}},
    {"overlong, four bytes, last", "\xF0\x8F\xBF\xBF", {R, R, R, R}},
    {"first surrogate", "\xED\xA0\x80", {R, R, R}},
    {"last surrogate", "\xED\xBF\xBF", {R, R, R}},
    {"beyond the last code point", "\xF4\x90\x80\x80", {R, R, R, R}},
    {"far beyond", "\xF7\xBF\xBF\xBF", {R, R, R, R}},
    {"five bytes", "\xF8\x88\x80\x80\x80", {R, R, R, R, R}},
    {"cut after the lead", "\xE2", {R}},
    {"two bytes cut", "\xC3", {R}},
    {"three bytes cut after two", "\xE2\x82", {R}},
    {"four bytes cut after three", "\xF0\x9F\x98", {R}},
    {"cut part before a letter",
     "\xF0\x9F\x98"
     "A",
     {R, U'A'}},
    {"cut part before a whole one", "\xE2\x82\xC3\xA4", {R, 0xE4}},
    {"two cut parts",
     "\xF1\x80\x80\xE1\x80\xC2"
     "b\x80"
     "c\x80\xBF"
     "d",
     {R, R, R, U'b', R, U'c', R, R, U'd'}},
    {"zero inside", std::string("a\0b", 3), {U'a', 0, U'b'}},
};

TEST(Utf8, ReplacesEachMaximalBrokenPartOnce) {
  for (const BrokenRow& row : kBroken) {
    EXPECT_EQ(row.text, codec::Decode<char32_t>(row.bytes)) << row.what;
  }
}

TEST(Utf8, ReadsTheSameWideTextOnEverySystem) {
  for (const BrokenRow& row : kBroken) {
    EXPECT_EQ(std::wstring(row.text.begin(), row.text.end()), Utf8ToWide(row.bytes)) << row.what;
  }
}

template <typename Char>
void ExpectEveryCodePointComesBack() {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code == 0xD800) code = 0xE000;
    std::string bytes;
    codec::AppendBytes(bytes, code);
    const auto text = codec::Decode<Char>(bytes);
    ASSERT_EQ(sizeof(Char) == 2 && code > 0xFFFF ? 2u : 1u, text.size())
        << static_cast<unsigned>(code);
    ASSERT_EQ(bytes, codec::Encode<Char>(text)) << static_cast<unsigned>(code);
  }
}

TEST(Utf8, BringsEveryCodePointBackWithFourByteCharacters) {
  ExpectEveryCodePointComesBack<char32_t>();
}

TEST(Utf8, BringsEveryCodePointBackWithTwoByteCharacters) {
  ExpectEveryCodePointComesBack<char16_t>();
}

TEST(Utf8, WritesTheShortestFormAtEveryBoundary) {
  EXPECT_EQ("\x7F", codec::Encode<char32_t>(U"\x7F"));
  EXPECT_EQ("\xC2\x80", codec::Encode<char32_t>(U"\x80"));
  EXPECT_EQ("\xDF\xBF", codec::Encode<char32_t>(U"\x7FF"));
  EXPECT_EQ("\xE0\xA0\x80", codec::Encode<char32_t>(U"\x800"));
  EXPECT_EQ("\xEF\xBF\xBF", codec::Encode<char32_t>(U"\xFFFF"));
  EXPECT_EQ("\xF0\x90\x80\x80", codec::Encode<char32_t>(U"\x10000"));
  EXPECT_EQ("\xF4\x8F\xBF\xBF", codec::Encode<char32_t>(U"\x10FFFF"));
}

TEST(Utf8, ReplacesWideValuesThatAreNoCodePoints) {
  EXPECT_EQ(
      "a\xEF\xBF\xBD\xEF\xBF\xBD"
      "b",
      codec::Encode<char32_t>(std::u32string{U'a', 0xD800, 0xDFFF, U'b'}));
  EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD",
            codec::Encode<char32_t>(std::u32string{0x110000, 0xFFFFFFFF}));
}

TEST(Utf8, ReplacesLoneSurrogatesOfTwoByteText) {
  EXPECT_EQ(
      "\xEF\xBF\xBD"
      "a",
      codec::Encode<char16_t>(std::u16string{0xD800, u'a'}));
  EXPECT_EQ("\xEF\xBF\xBD", codec::Encode<char16_t>(std::u16string{0xDBFF}));
  EXPECT_EQ("\xEF\xBF\xBD\xF0\x90\x80\x80",
            codec::Encode<char16_t>(std::u16string{0xDC00, 0xD800, 0xDC00}));
}

// The same rules once more, from their other end: what a sequence decodes to must encode to it.
bool IsWellFormed(const std::string& bytes) {
  const auto text = codec::Decode<char32_t>(bytes);
  return text.find(R) == std::u32string::npos && codec::Encode<char32_t>(text) == bytes;
}

TEST(Utf8, AcceptsExactlyTheThreeByteFormsThatEncodingWrites) {
  std::size_t accepted = 0;
  for (int first = 0xE0; first < 0xF0; ++first) {
    for (int second = 0; second < 0x100; ++second) {
      for (int third = 0x7F; third <= 0xC0; ++third) {
        const std::string bytes{static_cast<char>(first), static_cast<char>(second),
                                static_cast<char>(third)};
        if (second >= 0x80 && third >= 0x80 && third < 0xC0 && IsWellFormed(bytes)) ++accepted;
        const auto text = codec::Decode<char32_t>(bytes);
        ASSERT_TRUE(text.size() <= 3);
      }
    }
  }
  // U+0800 to U+FFFF without the surrogates, and without U+FFFD, which the test takes for a
  // failure.
  EXPECT_EQ(0x10000u - 0x800u - 0x800u - 1u, accepted);
}

TEST(Utf8, KeepsEmptyTextsEmpty) {
  EXPECT_EQ(L"", Utf8ToWide(""));
  EXPECT_EQ("", WideToUtf8(L""));
}

TEST(Utf8, DecodesLongMixedTexts) {
  std::string bytes;
  std::wstring text;
  for (int i = 0; i < 10000; ++i) {
    bytes += "abc\xC3\xA4\xE2\x82\xAC";
    text += L"abc\u00e4\u20ac";
  }
  EXPECT_EQ(text, Utf8ToWide(bytes));
  EXPECT_EQ(bytes, WideToUtf8(text));
}

}  // namespace
