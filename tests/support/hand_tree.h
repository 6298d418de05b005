// Value trees made by hand, for tests of what walks them.
//
// Threads: one test. Owns the tree. Errors: a tree that cannot be built fails the test.
#ifndef TESTS_SUPPORT_HAND_TREE_H_
#define TESTS_SUPPORT_HAND_TREE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "platform/catalogue/param_node.h"
#include "platform/catalogue/param_tree_builder.h"
#include "tests/support/hex.h"

namespace kivtest {

// A node that takes no value. Kind 24 is what catalogues give structures.
inline ParamNodeSpec Structure(std::uint32_t depth, const wchar_t* name, const wchar_t* type,
                               std::int32_t kind = 24) {
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.kind = kind;
  spec.variableName = name;
  spec.typeName = type;
  return spec;
}

// A single value with its bytes, little end first.
inline ParamNodeSpec Single(std::uint32_t depth, const wchar_t* name, std::uint32_t widthBytes,
                            std::uint64_t value = 0, bool isSigned = false, std::int32_t kind = 0) {
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.kind = kind;
  spec.variableName = name;
  spec.typeName = L"value";
  spec.dataTypeBytes = widthBytes;
  spec.inStructBytes = widthBytes;
  spec.isSigned = isSigned;
  for (std::uint32_t i = 0; i < widthBytes; ++i) {
    spec.bytes.push_back(static_cast<std::uint8_t>(i < 8 ? value >> (8 * i) : 0));
  }
  return spec;
}

// An array as large as its bytes.
inline ParamNodeSpec Array(std::uint32_t depth, const wchar_t* name, std::uint32_t elementBytes,
                           std::vector<std::uint8_t> bytes, const wchar_t* type = L"items",
                           std::int32_t kind = 1) {
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.kind = kind;
  spec.variableName = name;
  spec.typeName = type;
  spec.dataTypeBytes = elementBytes;
  spec.inStructBytes = static_cast<std::uint32_t>(bytes.size());
  spec.bytes = std::move(bytes);
  return spec;
}

// A character array of `sizeBytes`, filled up with zeros.
inline ParamNodeSpec Characters(std::uint32_t depth, const wchar_t* name, std::string_view text,
                                std::size_t sizeBytes, const wchar_t* type = L"text") {
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  bytes.resize(sizeBytes);
  ParamNodeSpec spec = Array(depth, name, 1, std::move(bytes), type);
  spec.isChar = true;
  return spec;
}

class HandTree {
 public:
  // Nodes in document order; the first is the root.
  explicit HandTree(const std::vector<ParamNodeSpec>& specs) {
    ParamTreeBuilder builder;
    for (const ParamNodeSpec& spec : specs) builder.Add(spec);
    EXPECT_EQ(builder.Build(root_), 0u);
    root_.ParseNodes(
        [](CParamNode* node, void* user, std::uint32_t) -> std::uint32_t {
          static_cast<HandTree*>(user)->nodes_.push_back(node);
          return 0;
        },
        this, 0);
    EXPECT_EQ(nodes_.size(), specs.size());
  }
  HandTree(const HandTree&) = delete;
  HandTree& operator=(const HandTree&) = delete;

  CParamNode& Root() { return root_; }
  // The n-th node in document order; 0 is the root.
  CParamNode* Node(std::size_t n) { return nodes_.at(n); }

  // The node's value or buffer in hexadecimal; empty for a node that shows none.
  std::string Bytes(std::size_t n) {
    CParamNode* node = Node(n);
    const std::int32_t kind = node->GetNodeType();
    if (kind == 0 || kind == 8 || kind == 16) return SingleBytes(node);
    std::uint8_t* buffer = nullptr;
    std::uint64_t lengthBytes = 0;
    if (node->GetValueBuf(&buffer, &lengthBytes) != 0 || buffer == nullptr) return "";
    return ToHex(buffer, node->GetSizeInStruct());
  }
  // The bytes of all nodes that have some, joined by blanks.
  std::string AllBytes() {
    std::string all;
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      const std::string bytes = Bytes(i);
      if (!bytes.empty()) all += (all.empty() ? "" : " ") + bytes;
    }
    return all;
  }

 private:
  static std::string SingleBytes(CParamNode* node) {
    std::uint64_t value = 0;
    EXPECT_EQ(node->GetValue(&value), 0u);
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t i = 0; i < node->GetSizeOfDataType(); ++i) {
      bytes.push_back(static_cast<std::uint8_t>(i < 8 ? value >> (8 * i) : 0));
    }
    return ToHex(bytes);
  }

  CParamNode root_;
  std::vector<CParamNode*> nodes_;
};

}  // namespace kivtest

#endif  // TESTS_SUPPORT_HAND_TREE_H_
