// ParamTreeBuilder: makes a value tree by hand, node by node in document order, with any kind
// codes, sizes and buffers. Hosts and tests use it where no catalogue describes the tree.
//
// Threads: one object for one thread. Errors: Build answers a status, 0 on success.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/catalogue/param_node.h"
#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// One node. `depth` 0 is the root (exactly one, first); a node belongs to the last earlier node
// that is one less deep.
struct ParamNodeSpec {
  std::uint32_t depth = 0;
  std::int32_t kind = 0;
  QCString variableName;
  QCString typeName;
  std::uint32_t dataTypeBytes = 0;  // width of one element
  std::uint32_t inStructBytes = 0;  // whole field
  bool isSigned = false;
  bool isChar = false;
  std::vector<std::uint8_t> bytes = {};  // initial content; missing bytes are zero
  bool hasBuffer = true;                 // false: GetValueBuf fails although SetValueBuf works
  std::uint64_t bufferBytes =
      UINT64_MAX;  // length that GetValueBuf reports when not the field's size
};

// Collects nodes and makes the tree in one go.
class KIVPLATFORM_API ParamTreeBuilder {
 public:
  void Add(ParamNodeSpec spec) { specs_.push_back(std::move(spec)); }
  // Fills the root; the builder may be used again. Fails when the depths do not describe one tree.
  std::uint32_t Build(CParamNode& root) const;

 private:
  std::vector<ParamNodeSpec> specs_;
};
