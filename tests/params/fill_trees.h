// Filling a tree made by hand from a line, with the outcome as one text.
//
// Threads: one test. Owns nothing. Errors: a line that the parser refuses fails the test.
#ifndef TESTS_PARAMS_FILL_TREES_H_
#define TESTS_PARAMS_FILL_TREES_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "params/default_fill.h"
#include "tests/params/line_reading.h"
#include "tests/support/hand_tree.h"

namespace kivtest {

// Kept as it is, number or not: scripts compare this text.
inline constexpr char kPlainIndex[] = "The index of current parameter is %d.\n";
inline constexpr char kDepthDiffers[] =
    "The depth of the parameters line does not match that of the default parameters tree.\n";

inline std::string ArrayIndex(int index) {
  return "The index of current parameter is " + std::to_string(index) + ".\n";
}

// Fills and answers "status fill-error-text".
inline std::string Fill(HandTree& tree, std::string_view line) {
  ParamLineParser parser = Opened(line);
  SvcKivClass::ClearFillErrorText();
  const std::uint32_t status = tree.Root().ParseNodes(&SvcKivClass::FillNode, &parser, 0);
  return std::to_string(status) + " " + SvcKivClass::GetFillErrorText().ToUtf8();
}

// A root structure with `count` one-byte values at depth 1, holding 1, 2, 3, ...
inline std::vector<ParamNodeSpec> FlatStructure(int count) {
  std::vector<ParamNodeSpec> specs = {Structure(0, L"struct", L"flat_type")};
  for (int i = 0; i < count; ++i) {
    specs.push_back(Single(1, L"field", 1, static_cast<std::uint64_t>(i + 1)));
  }
  return specs;
}

// Two one-byte values, zero, inside a structure of kind `kind` at depth 1.
inline std::vector<ParamNodeSpec> NestedStructure(std::int32_t kind = 24) {
  return {Structure(0, L"struct", L"nested_type"), Structure(1, L"inner", L"inner_type", kind),
          Single(2, L"a", 1), Single(2, L"b", 1)};
}

}  // namespace kivtest

#endif  // TESTS_PARAMS_FILL_TREES_H_
