// Render tables as texts, so that each tree is one comparison.
//
// Threads: one test. Owns nothing. Errors: a walk that stops fails the test.
#ifndef TESTS_LINK_RENDER_RENDERED_ROWS_H_
#define TESTS_LINK_RENDER_RENDERED_ROWS_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "link/render/render.h"
#include "tests/support/hand_tree.h"

namespace kivtest {

using SvcKivClass::RenderFlags;
using SvcKivClass::RenderTable;

inline constexpr RenderFlags kHexadecimal = {true, false, false};
inline constexpr RenderFlags kOneLine = {false, true, false};
inline constexpr RenderFlags kShowType = {false, false, true};

inline RenderTable TableOf(HandTree& tree, const RenderFlags& flags = {},
                           std::uint32_t startDepth = 0) {
  RenderTable table;
  table.flags = flags;
  EXPECT_EQ(tree.Root().ParseNodes(&SvcKivClass::RenderNode, &table, startDepth), 0u);
  EXPECT_EQ(table.names.GetCount(), table.values.GetCount());
  EXPECT_EQ(table.names.GetCount(), table.comments.GetCount());
  return table;
}

// "name|value|comment" a row, each with a line feed.
inline std::string RowsOf(const RenderTable& table) {
  std::string rows;
  for (std::size_t i = 0; i < table.names.GetCount(); ++i) {
    rows += table.names[i].ToUtf8() + "|" + table.values[i].ToUtf8() + "|" +
            table.comments[i].ToUtf8() + "\n";
  }
  return rows;
}

// Rows of a tree whose root is a structure named "struct" with these nodes below it.
inline std::string RowsBelowRoot(std::vector<ParamNodeSpec> nodes, const RenderFlags& flags = {}) {
  nodes.insert(nodes.begin(), Structure(0, L"struct", L"root_type"));
  HandTree tree(nodes);
  return RowsOf(TableOf(tree, flags));
}

inline std::vector<std::string> LinesOf(const RenderTable& table) {
  QCList<QCString> lines;
  SvcKivClass::FormatTable(table, lines);
  std::vector<std::string> texts;
  for (const QCString& line : lines) texts.push_back(line.ToUtf8());
  return texts;
}

}  // namespace kivtest

#endif  // TESTS_LINK_RENDER_RENDERED_ROWS_H_
