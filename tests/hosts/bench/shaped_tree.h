// A tree made by hand together with its shape, and lines typed into it.
//
// Threads: one test. Owns the tree. Errors: a tree that cannot be built fails the test.
#ifndef TESTS_HOSTS_BENCH_SHAPED_TREE_H_
#define TESTS_HOSTS_BENCH_SHAPED_TREE_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "hosts/bench/caret_line.h"
#include "hosts/bench/field_help.h"
#include "hosts/bench/fill_trace.h"
#include "hosts/bench/parameter_shape.h"
#include "hosts/bench/refusal.h"
#include "hosts/bench/typed_text.h"
#include "tests/support/hand_tree.h"

namespace kivtest {

class ShapedTree {
 public:
  explicit ShapedTree(const std::vector<ParamNodeSpec>& specs)
      : tree_(specs), shape_(tree_.Root()) {}

  CParamNode& Root() { return tree_.Root(); }
  const hostbench::ParameterShape& Shape() const { return shape_; }

  hostbench::FieldHelp Help(std::wstring_view beforeCursor) {
    tree_.Root().ResetBody();
    return hostbench::HelpAt(tree_.Root(), shape_, hostbench::TypedText::Of(beforeCursor));
  }
  std::optional<hostbench::Refusal> Refusal(std::wstring_view parameters) {
    tree_.Root().ResetBody();
    return hostbench::FindRefusal(tree_.Root(), shape_, hostbench::TypedText::Of(parameters));
  }
  // Whether the module's parser takes it; an empty text is not parsed at all.
  bool Takes(std::wstring_view parameters) {
    tree_.Root().ResetBody();
    return parameters.empty() ||
           hostbench::TraceFill(tree_.Root(), QCString(parameters)).IsAccepted();
  }
  std::string Body() { return ToHex(tree_.Root().GetBody(), tree_.Root().GetBodyBytes()); }

 private:
  HandTree tree_;
  hostbench::ParameterShape shape_;
};

// count; inner.x, inner.y; table[3]; parts[0].p, parts[1].p; last.
// Whole line: {1,{2,3},[4,5,6],{{7},{8}},9}
inline std::vector<ParamNodeSpec> MixedTree() {
  return {Structure(0, L"struct", L"mixed"),
          Single(1, L"count", 1, 1),
          Structure(1, L"inner", L"inner_type"),
          Single(2, L"x", 2, 2),
          Single(2, L"y", 2, 3, true),
          Array(1, L"table", 2, {4, 0, 5, 0, 6, 0}),
          Structure(1, L"parts", L"part", 17),
          Structure(2, L"parts[0]", L"part"),
          Single(3, L"p", 4, 7),
          Structure(2, L"parts[1]", L"part"),
          Single(3, L"p", 4, 8),
          Single(1, L"last", 1, 9)};
}

}  // namespace kivtest

#endif  // TESTS_HOSTS_BENCH_SHAPED_TREE_H_
