// RowBlock: the rows of one rendering in two blocks of memory, however many there are. It holds
// what a RenderTable holds and is what whole trees are rendered through; a RenderTable is filled
// from it where a caller asks for one.
//
// Threads: one object for one thread. Owns names and values; comments and the title are borrowed
// from the tree, which must live as long.
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

// One row's texts, wherever they stand.
struct RowTexts {
  std::wstring_view name;
  std::wstring_view value;
  std::wstring_view comment;
};

// All rows of one rendering in one run of characters, no string of its own for any.
class RowBlock {
 public:
  explicit RowBlock(const RenderFlags& flags) : flags_(flags) {}

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
  const RenderFlags& GetFlags() const noexcept { return flags_; }

 private:
  // Where a row's name and value stand in the run of characters.
  struct Row {
    std::size_t nameAt;  // in chars_; the value follows the name
    std::size_t nameChars;
    std::size_t valueChars;
    std::wstring_view comment;
  };

  // A row is opened with its name, to which may be appended, then its value is, then it is closed.
  void BeginRow(std::uint32_t dots, std::wstring_view name);
  void BeginValue();
  void EndRow(std::wstring_view comment);
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
};

}  // namespace SvcKivClass
