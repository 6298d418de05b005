#include "params/fill_plan.h"

#include <cstring>
#include <vector>

namespace SvcKivClass {
namespace {

// A plan is a copy of the layout in memory; a tree with more values is filled by the walk.
constexpr std::size_t kMaxSteps = 16384;

static_assert(sizeof(FillPlan) % alignof(FillStep) == 0);

// Steps as they are found, and whether the tree is one of the usual kind.
struct Planner {
  std::uint32_t bodyBytes;
  std::vector<FillStep> steps = {};
  bool isUsable = true;
};

bool IsUsualWidth(std::uint32_t widthBytes) {
  return widthBytes == 1 || widthBytes == 2 || widthBytes == 4 || widthBytes == 8;
}

// The elements that the node's own buffer takes; 0 when it has none, or one of another size.
std::uint32_t CapacityOf(CParamNode& node, std::uint32_t widthBytes) {
  std::uint8_t* own = nullptr;
  std::uint64_t ownBytes = 0;
  if (node.GetValueBuf(&own, &ownBytes) != 0 || own == nullptr) return 0;
  return ownBytes == node.GetSizeInStruct() ? node.GetSizeInStruct() / widthBytes : 0;
}

bool AddStep(CParamNode& node, std::uint32_t depth, bool isArray, Planner& planner) {
  const std::uint32_t widthBytes = node.GetSizeOfDataType();
  if (depth == 0 || !IsUsualWidth(widthBytes) || node.GetSizeInStruct() < widthBytes) return false;
  const std::uint32_t capacity = isArray ? CapacityOf(node, widthBytes) : 0;
  if (isArray && capacity == 0) return false;
  const std::uint64_t endBytes =
      node.GetOffsetInBody() + std::uint64_t{isArray ? capacity : 1} * widthBytes;
  if (endBytes > planner.bodyBytes || planner.steps.size() == kMaxSteps) return false;
  planner.steps.push_back({node.GetOffsetInBody(), capacity, depth, widthBytes});
  return true;
}

// For ParseNodes: the same kinds as FillNode.
std::uint32_t PlanNode(CParamNode* node, void* user, std::uint32_t depth) {
  Planner& planner = *static_cast<Planner*>(user);
  switch (node->GetNodeType()) {
    case 0:
    case 8:
    case 16:
      planner.isUsable = AddStep(*node, depth, false, planner);
      break;
    case 1:
    case 9:
      planner.isUsable = AddStep(*node, depth, true, planner);
      break;
    case 17:
    case 24:
    case 25:
    case 32:
    case 33:
      break;
    default:
      planner.isUsable = false;
      break;
  }
  return planner.isUsable ? 0 : 1;
}

const FillPlan* MakePlan(CParamNode& root) {
  Planner planner{root.GetBodyBytes()};
  root.ParseNodes(PlanNode, &planner, 0);
  if (!planner.isUsable) planner.steps.clear();
  const FillPlan plan{static_cast<std::uint32_t>(planner.steps.size()), planner.isUsable ? 1u : 0u};
  const std::size_t stepsBytes = planner.steps.size() * sizeof(FillStep);
  std::vector<std::uint8_t> note(sizeof plan + stepsBytes);
  std::memcpy(note.data(), &plan, sizeof plan);
  if (stepsBytes != 0) std::memcpy(note.data() + sizeof plan, planner.steps.data(), stepsBytes);
  return static_cast<const FillPlan*>(
      root.KeepLayoutNote(LayoutNote::kFill, note.data(), note.size()));
}

}  // namespace

const FillPlan* FillPlanOf(CParamNode& root) {
  auto* plan = static_cast<const FillPlan*>(root.GetLayoutNote(LayoutNote::kFill));
  if (plan == nullptr) plan = MakePlan(root);
  return plan != nullptr && plan->isUsable != 0 ? plan : nullptr;
}

}  // namespace SvcKivClass
