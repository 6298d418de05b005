#include "hosts/bench/fill_trace.h"

#include "params/default_fill.h"
#include "params/param_line_parser.h"

namespace hostbench {
namespace {

using SvcKivClass::ParamLineParser;

static_assert(FillStep::kUsedUp == ParamLineParser::kAllOnes);

// What the walk is given: the parser, and the trace it leaves.
struct Tracer {
  ParamLineParser parser;
  FillTrace trace;
};

// A node that asks the parser for something; an array without bytes does not.
bool IsField(CParamNode& node) {
  switch (node.GetNodeType()) {
    case 0:
    case 8:
    case 16:
      return true;
    case 1:
    case 9:
      return node.GetSizeOfDataType() == 0 || node.GetSizeInStruct() != 0;
    default:
      return false;
  }
}

// For ParseNodes: the module's fill, with a note around it.
std::uint32_t TraceNode(CParamNode* node, void* user, std::uint32_t depth) {
  Tracer& tracer = *static_cast<Tracer*>(user);
  ParamLineParser& parser = tracer.parser;
  const FillStep before{parser.GetPosition(), parser.GetPosition(), parser.GetDepth()};
  const std::uint32_t indexBefore = parser.GetIndex();
  const std::uint32_t status = SvcKivClass::FillNode(node, &parser, depth);
  if (!IsField(*node)) return status;
  FillTrace& trace = tracer.trace;
  trace.steps.push_back({before.position, parser.GetPosition(), before.depth});
  if (status == 0) return 0;
  trace.failedStep = trace.steps.size() - 1;
  trace.isShortFile = parser.GetErrorText().IsEmpty();
  trace.depthDiffered = status == SvcKivClass::kFillFailed && parser.GetIndex() == indexBefore &&
                        before.depth != depth && before.depth != ParamLineParser::kAllOnes;
  return status;
}

}  // namespace

FillTrace TraceFill(CParamNode& tree, const QCString& parameters) {
  Tracer tracer;
  tracer.trace.lineTaken = tracer.parser.SetParamLine(parameters) != 0;
  tracer.trace.line = tracer.parser.GetLine();
  if (tracer.trace.lineTaken) {
    tracer.trace.status = tree.ParseNodes(TraceNode, &tracer, 0);
  }
  return std::move(tracer.trace);
}

}  // namespace hostbench
