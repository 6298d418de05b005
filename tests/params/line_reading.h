// A parser's answers as short texts, so that each step of a line is one comparison.
//
// Threads: one test. Owns nothing. Errors: a line that is refused fails the test in Opened.
#ifndef TESTS_PARAMS_LINE_READING_H_
#define TESTS_PARAMS_LINE_READING_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "params/param_line_parser.h"
#include "platform/text/qc_string.h"
#include "tests/support/hex.h"

namespace kivtest {

using SvcKivClass::ParamLineParser;

inline QCString Wide(std::string_view utf8) { return QCString::FromUtf8(utf8); }

inline std::string ErrorOf(const ParamLineParser& parser) { return parser.GetErrorText().ToUtf8(); }

inline std::string LineOf(const ParamLineParser& parser) { return parser.GetLine().ToUtf8(); }

inline std::string Word(std::uint32_t number, const char* allOnes) {
  return number == ParamLineParser::kAllOnes ? allOnes : std::to_string(number);
}

// "position depth index", with "end" for a used-up line and "flat" where depth is not kept.
inline std::string StateOf(const ParamLineParser& parser) {
  return Word(parser.GetPosition(), "end") + " " + Word(parser.GetDepth(), "flat") + " " +
         std::to_string(parser.GetIndex());
}

inline ParamLineParser Opened(std::string_view line) {
  ParamLineParser parser;
  EXPECT_EQ(parser.SetParamLine(Wide(line)), 1u) << line << ": " << ErrorOf(parser);
  EXPECT_EQ(ErrorOf(parser), "") << line;
  return parser;
}

// The error text of a line that SetParamLine must refuse.
inline std::string Refusal(std::string_view line) {
  ParamLineParser parser;
  EXPECT_EQ(parser.SetParamLine(Wide(line)), 0u) << line;
  return ErrorOf(parser);
}

// The next single value in decimal, "default", or "failed: " and the error text.
inline std::string NextValue(ParamLineParser& parser) {
  std::uint32_t value = 77;  // cleared before anything else
  bool leftAtDefault = true;
  const std::uint32_t result = parser.GetNextValue(&value, &leftAtDefault);
  if (result == 0) {
    EXPECT_FALSE(leftAtDefault);
    return "failed: " + ErrorOf(parser);
  }
  EXPECT_EQ(result, 1u);
  if (!leftAtDefault) return std::to_string(value);
  EXPECT_EQ(value, 0u);
  return "default";
}

// The next `count` values, joined by blanks.
inline std::string NextValues(ParamLineParser& parser, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += (i == 0 ? "" : " ") + NextValue(parser);
  return all;
}

// The next array read over the bytes `before` (hexadecimal): the bytes afterwards, and behind them
// " failed: " and the error text when it failed.
inline std::string NextArray(ParamLineParser& parser, std::uint32_t elementBytes,
                             std::string_view before) {
  std::vector<std::uint8_t> bytes = FromHex(before);
  const auto sizeBytes = static_cast<std::uint32_t>(bytes.size());
  bytes.push_back(0x5A);  // nothing may be written behind the buffer
  std::uint8_t* buffer = bytes.data();
  const std::uint32_t result = parser.GetNextArray(&buffer, elementBytes, sizeBytes);
  EXPECT_EQ(buffer, bytes.data());
  EXPECT_EQ(bytes.back(), 0x5A);
  const std::string after = ToHex(bytes.data(), sizeBytes);
  if (result == 0) return after + " failed: " + ErrorOf(parser);
  EXPECT_EQ(result, 1u);
  return after;
}

}  // namespace kivtest

#endif  // TESTS_PARAMS_LINE_READING_H_
