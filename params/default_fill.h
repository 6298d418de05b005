// Pours a parameter line into a command's default-parameter tree.
//
// Threads: one walk for one thread at a time; the fill error text is per thread.
// Owns nothing.
#pragma once

#include <cstdint>

#include "params/param_line_parser.h"
#include "platform/catalogue/param_node.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// Results of FillNode beside the statuses of SetValue and SetValueBuf.
inline constexpr std::uint32_t kFillFailed = 2;             // GetFillErrorText() says why
inline constexpr std::uint32_t kFillNoElementWidth = 4001;  // an array whose element width is 0

// The callback for CParamNode::ParseNodes, starting depth 0; `user` is the ParamLineParser.
std::uint32_t FillNode(CParamNode* node, void* user, std::uint32_t depth);

// The last walk's error text. Clear it before each walk: some failures have no text of their own.
const QCString& GetFillErrorText();
void ClearFillErrorText();

// Sets `start` to `leadingValue`, its next neighbour to `lengthBytes` and the one after that to the
// data. A node that is not there is left out; the statuses are OR-ed into `*result`.
void FillDataNodes(CParamNode* start, std::uint64_t leadingValue, std::uint32_t lengthBytes,
                   const std::uint8_t* data, std::uint32_t* result);

}  // namespace SvcKivClass
