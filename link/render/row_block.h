// RowBlock: the rows of one rendering in two blocks of memory, however many there are. It holds
// what a RenderTable holds and is what whole trees are rendered through; a RenderTable is filled
// from it where a caller asks for one.
//
// Threads: one object for one thread. Owns indexes and values; names, comments and the title are
// borrowed from the tree, which must live as long.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "link/render/number_digits.h"
#include "link/render/render.h"
#include "platform/catalogue/param_node.h"

namespace SvcKivClass {

// One row's texts, wherever they stand. The name is dots, the variable's name and, of an array's
// element, its index in brackets.
struct RowTexts {
  std::size_t dots = 0;
  std::wstring_view name;
  std::wstring_view index;
  std::wstring_view value;
  std::wstring_view comment;

  std::size_t NameChars() const noexcept { return dots + name.size() + index.size(); }
};

// All rows of one rendering in one run of characters, no string of its own for any.
class RowBlock {
 public:
  explicit RowBlock(const RenderFlags& flags);

  // Adds a node's rows; `ancestors` is how many nodes stand above it. Structures of kind 17 add
  // nothing.
  void AddNode(CParamNode& node, std::uint32_t ancestors);
  // Adds a whole tree's rows.
  void AddTree(CParamNode& root);

  std::size_t GetCount() const noexcept { return rows_.size(); }
  RowTexts GetAt(std::size_t index) const;
  // Whether a node set the title (which may be empty).
  bool HasTitle() const noexcept { return hasTitle_; }
  std::wstring_view GetTitle() const noexcept { return title_; }
  std::size_t GetNameWidth() const noexcept { return nameWidth_; }
  // No less than all values together, and exactly all comments together, in characters.
  std::size_t GetValueChars() const noexcept { return chars_.size(); }
  std::size_t GetCommentChars() const noexcept { return commentChars_; }
  const RenderFlags& GetFlags() const noexcept { return flags_; }

 private:
  // Where a row's name and value stand in the run of characters.
  struct Row {
    std::size_t dots;
    std::wstring_view name;
    std::size_t at;  // in chars_: the index, and behind it the value
    std::size_t indexChars;
    std::size_t valueChars;
    std::wstring_view comment;
  };

  // A row is opened with its name, its index (if it has one) and value are appended, then it is
  // closed.
  void BeginRow(std::size_t dots, std::wstring_view name);
  void EndRow(std::size_t indexChars, std::wstring_view comment);
  // Rows of a numeric array; false for any other and for one without elements.
  bool AddElements(CParamNode& node, std::uint32_t dots);
  void AddElementRows(const CParamNode& node, const std::uint8_t* bytes, std::size_t count);
  void AddElementsInOneRow(const CParamNode& node, std::uint32_t dots, const std::uint8_t* bytes,
                           std::size_t count);
  void AppendCharacters(CParamNode& node);
  ValueFormat FormatOf(const CParamNode& node) const;

  RenderFlags flags_;
  std::wstring_view title_;
  bool hasTitle_ = false;
  std::wstring chars_;
  std::vector<Row> rows_;
  Row open_{};  // the one being made
  std::size_t nameWidth_ = 0;
  std::size_t commentChars_ = 0;  // of all rows
};

}  // namespace SvcKivClass
