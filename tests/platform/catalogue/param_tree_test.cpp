// The value tree: trees built by hand, walked, read and written.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/param_node.h"
#include "platform/catalogue/param_tree_builder.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

ParamNodeSpec Structure(std::uint32_t depth, const wchar_t* name, const wchar_t* type) {
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.kind = 24;
  spec.variableName = name;
  spec.typeName = type;
  return spec;
}

ParamNodeSpec Value(std::uint32_t depth, const wchar_t* name, std::uint32_t width,
                    Bytes bytes = {}) {
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.variableName = name;
  spec.typeName = L"number";
  spec.dataTypeBytes = width;
  spec.inStructBytes = width;
  spec.bytes = std::move(bytes);
  return spec;
}

ParamNodeSpec Array(std::uint32_t depth, const wchar_t* name, std::uint32_t width,
                    std::uint32_t count, Bytes bytes = {}) {
  ParamNodeSpec spec = Value(depth, name, width, std::move(bytes));
  spec.kind = 1;
  spec.inStructBytes = width * count;
  return spec;
}

// root { a, inner { b, list[2] }, c }
std::uint32_t BuildSample(CParamNode& root) {
  ParamTreeBuilder builder;
  builder.Add(Structure(0, L"struct", L"sample"));
  builder.Add(Value(1, L"a", 1, {0x81}));
  builder.Add(Structure(1, L"inner", L"inner_type"));
  builder.Add(Value(2, L"b", 4, {1, 2, 3, 4}));
  builder.Add(Array(2, L"list", 2, 2, {5, 0, 6, 0}));
  builder.Add(Value(1, L"c", 2));
  return builder.Build(root);
}

struct Visit {
  std::wstring name;
  std::uint32_t depth;
  bool operator==(const Visit&) const = default;
};

struct Visitor {
  std::vector<Visit> visits;
  std::size_t stopAt = SIZE_MAX;
  static std::uint32_t Call(CParamNode* node, void* user, std::uint32_t depth) {
    auto* self = static_cast<Visitor*>(user);
    self->visits.push_back({node->GetVariableName(), depth});
    return self->visits.size() == self->stopAt ? 77 : 0;
  }
};

TEST(ParamNode, EmptyRootIsAStructureWithoutNamesAndChildren) {
  CParamNode root;
  EXPECT_EQ(root.GetNodeType(), 24);
  EXPECT_STREQ(root.GetVariableName(), L"");
  EXPECT_STREQ(root.GetTypeName(), L"");
  EXPECT_EQ(root.GetFirstChild(), nullptr);
  EXPECT_EQ(root.GetNextNeighbor(), nullptr);
  EXPECT_EQ(root.GetParent(), nullptr);
  EXPECT_EQ(root.GetSizeOfDataType(), 0u);
  EXPECT_EQ(root.GetSizeInStruct(), 0u);
  Visitor visitor;
  EXPECT_EQ(root.ParseNodes(&Visitor::Call, &visitor, 5), 0u);
  EXPECT_EQ(visitor.visits, (std::vector<Visit>{{L"", 5}}));
}

TEST(ParamNode, WalkVisitsEveryNodeInDocumentOrderWithItsDepth) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  Visitor visitor;
  EXPECT_EQ(root.ParseNodes(&Visitor::Call, &visitor, 0), 0u);
  EXPECT_EQ(visitor.visits,
            (std::vector<Visit>{
                {L"struct", 0}, {L"a", 1}, {L"inner", 1}, {L"b", 2}, {L"list", 2}, {L"c", 1}}));
}

TEST(ParamNode, WalkOfAnInnerNodeStaysWithinIt) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  Visitor visitor;
  CParamNode* inner = root.GetFirstChild()->GetNextNeighbor();
  EXPECT_EQ(inner->ParseNodes(&Visitor::Call, &visitor, 10), 0u);
  EXPECT_EQ(visitor.visits, (std::vector<Visit>{{L"inner", 10}, {L"b", 11}, {L"list", 11}}));
}

TEST(ParamNode, WalkEndsWithTheFirstNonZeroAnswer) {
  for (std::size_t stop = 1; stop <= 6; ++stop) {
    CParamNode root;
    ASSERT_EQ(BuildSample(root), 0u);
    Visitor visitor;
    visitor.stopAt = stop;
    EXPECT_EQ(root.ParseNodes(&Visitor::Call, &visitor, 0), 77u);
    EXPECT_EQ(visitor.visits.size(), stop);
  }
}

TEST(ParamNode, LinksLeadUpDownAndOn) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  CParamNode* a = root.GetFirstChild();
  CParamNode* inner = a->GetNextNeighbor();
  CParamNode* b = inner->GetFirstChild();
  CParamNode* list = b->GetNextNeighbor();
  CParamNode* c = inner->GetNextNeighbor();
  EXPECT_STREQ(a->GetVariableName(), L"a");
  EXPECT_STREQ(inner->GetTypeName(), L"inner_type");
  EXPECT_STREQ(b->GetVariableName(), L"b");
  EXPECT_STREQ(list->GetVariableName(), L"list");
  EXPECT_STREQ(c->GetVariableName(), L"c");
  EXPECT_EQ(c->GetNextNeighbor(), nullptr);
  EXPECT_EQ(list->GetNextNeighbor(), nullptr);
  EXPECT_EQ(a->GetFirstChild(), nullptr);
  EXPECT_EQ(a->GetParent(), &root);
  EXPECT_EQ(list->GetParent(), inner);
  EXPECT_EQ(inner->GetParent(), &root);
  EXPECT_EQ(root.GetParent(), nullptr);
  EXPECT_EQ(root.GetNextNeighbor(), nullptr);
  const CParamNode& constRoot = root;
  EXPECT_EQ(constRoot.GetFirstChild()->GetNextNeighbor()->GetFirstChild()->GetParent(), inner);
}

TEST(ParamNode, ValuesAreLittleEndianAndZeroExtended) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  std::uint64_t value = 0;
  EXPECT_EQ(root.GetFirstChild()->GetValue(&value), 0u);
  EXPECT_EQ(value, 0x81u);
  CParamNode* b = root.GetFirstChild()->GetNextNeighbor()->GetFirstChild();
  EXPECT_EQ(b->GetValue(&value), 0u);
  EXPECT_EQ(value, 0x04030201u);
}

TEST(ParamNode, SetValueKeepsTheLowBytesOfEachWidth) {
  for (const std::uint32_t width : {1u, 2u, 4u, 8u}) {
    ParamTreeBuilder builder;
    builder.Add(Structure(0, L"struct", L"t"));
    builder.Add(Value(1, L"before", 1, {0xAA}));
    builder.Add(Value(1, L"v", width));
    builder.Add(Value(1, L"after", 1, {0xBB}));
    CParamNode root;
    ASSERT_EQ(builder.Build(root), 0u);
    CParamNode* before = root.GetFirstChild();
    CParamNode* node = before->GetNextNeighbor();
    EXPECT_EQ(node->SetValue(0xFFEEDDCCBBAA9988u), 0u);
    std::uint64_t value = 0;
    EXPECT_EQ(node->GetValue(&value), 0u);
    EXPECT_EQ(value, 0xFFEEDDCCBBAA9988u & (~std::uint64_t{0} >> (64 - 8 * width)));
    EXPECT_EQ(before->GetValue(&value), 0u);
    EXPECT_EQ(value, 0xAAu);
    EXPECT_EQ(node->GetNextNeighbor()->GetValue(&value), 0u);
    EXPECT_EQ(value, 0xBBu);
  }
}

TEST(ParamNode, EveryKindCodeOfARoleTakesWhatTheRoleTakes) {
  for (const std::int32_t kind : {0, 1, 5, 8, 9, 16, 17, 24, 25, 32, 33, -3}) {
    ParamTreeBuilder builder;
    builder.Add(Structure(0, L"struct", L"t"));
    ParamNodeSpec spec = Array(1, L"n", 2, 2, {1, 2, 3, 4});
    spec.kind = kind;
    builder.Add(spec);
    CParamNode root;
    ASSERT_EQ(builder.Build(root), 0u);
    CParamNode* node = root.GetFirstChild();
    EXPECT_EQ(node->GetNodeType(), kind);
    const bool single = kind == 0 || kind == 8 || kind == 16;
    const bool structure = kind == 17 || kind == 24 || kind == 25 || kind == 32 || kind == 33;
    std::uint64_t value = 0;
    EXPECT_EQ(node->GetValue(&value) == 0, single) << kind;
    EXPECT_EQ(node->SetValue(1) == 0, single) << kind;
    std::uint8_t* buffer = nullptr;
    std::uint64_t length = 0;
    EXPECT_EQ(node->GetValueBuf(&buffer, &length) == 0, !single && !structure) << kind;
    const Bytes bytes{9, 9, 9, 9};
    EXPECT_EQ(node->SetValueBuf(bytes.data(), bytes.size()) == 0, !single && !structure) << kind;
  }
}

TEST(ParamNode, BufferIsTheNodesOwnAndWritableInPlace) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  CParamNode* list = root.GetFirstChild()->GetNextNeighbor()->GetFirstChild()->GetNextNeighbor();
  std::uint8_t* buffer = nullptr;
  std::uint64_t length = 0;
  ASSERT_EQ(list->GetValueBuf(&buffer, &length), 0u);
  ASSERT_EQ(length, 4u);
  EXPECT_EQ(Bytes(buffer, buffer + length), (Bytes{5, 0, 6, 0}));
  buffer[3] = 7;
  std::uint8_t* again = nullptr;
  ASSERT_EQ(list->GetValueBuf(&again, &length), 0u);
  EXPECT_EQ(again, buffer);
  EXPECT_EQ(again[3], 7);
}

TEST(ParamNode, SetValueBufFillsShortDataWithZerosAndRefusesLongData) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  CParamNode* list = root.GetFirstChild()->GetNextNeighbor()->GetFirstChild()->GetNextNeighbor();
  std::uint8_t* buffer = nullptr;
  std::uint64_t length = 0;
  ASSERT_EQ(list->GetValueBuf(&buffer, &length), 0u);
  const Bytes data{1, 2, 3, 4, 5};
  EXPECT_EQ(list->SetValueBuf(data.data(), 5), result::kBodySize);
  EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{5, 0, 6, 0}));
  EXPECT_EQ(list->SetValueBuf(data.data(), 4), 0u);
  EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(list->SetValueBuf(data.data() + 4, 1), 0u);
  EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{5, 0, 0, 0}));
  EXPECT_EQ(list->SetValueBuf(nullptr, 2), result::kNotSupported);
}

TEST(ParamNode, NullOutParametersGiveAStatus) {
  CParamNode root;
  ASSERT_EQ(BuildSample(root), 0u);
  CParamNode* a = root.GetFirstChild();
  std::uint8_t* buffer = nullptr;
  std::uint64_t length = 0;
  EXPECT_NE(a->GetValue(nullptr), 0u);
  EXPECT_NE(a->IsSignedValue(nullptr), 0u);
  EXPECT_NE(a->IsCharValue(nullptr), 0u);
  EXPECT_NE(a->GetValueBuf(nullptr, &length), 0u);
  EXPECT_NE(a->GetValueBuf(&buffer, nullptr), 0u);
  EXPECT_NE(root.ParseNodes(nullptr, nullptr, 0), 0u);
}

TEST(ParamTreeBuilder, NodeWithoutBufferStillTakesBytes) {
  ParamTreeBuilder builder;
  builder.Add(Structure(0, L"struct", L"t"));
  ParamNodeSpec spec = Array(1, L"n", 1, 2);
  spec.hasBuffer = false;
  builder.Add(spec);
  CParamNode root;
  ASSERT_EQ(builder.Build(root), 0u);
  std::uint8_t* buffer = nullptr;
  std::uint64_t length = 0;
  EXPECT_NE(root.GetFirstChild()->GetValueBuf(&buffer, &length), 0u);
  const Bytes bytes{1, 2};
  EXPECT_EQ(root.GetFirstChild()->SetValueBuf(bytes.data(), 2), 0u);
}

TEST(ParamTreeBuilder, BufferMayReportAnotherLengthThanTheFields) {
  for (const std::uint64_t reported : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{100}}) {
    ParamTreeBuilder builder;
    builder.Add(Structure(0, L"struct", L"t"));
    ParamNodeSpec spec = Array(1, L"n", 1, 2);
    spec.bufferBytes = reported;
    builder.Add(spec);
    CParamNode root;
    ASSERT_EQ(builder.Build(root), 0u);
    std::uint8_t* buffer = nullptr;
    std::uint64_t length = 7;
    ASSERT_EQ(root.GetFirstChild()->GetValueBuf(&buffer, &length), 0u);
    EXPECT_EQ(length, reported);
    for (std::uint64_t i = 0; i < length; ++i) buffer[i] = 1;  // all of it is the node's
  }
}

TEST(ParamTreeBuilder, DepthsThatAreNoTreeGiveAStatusAndAnEmptyRoot) {
  const std::vector<std::vector<std::uint32_t>> wrong{{},        {1},    {0, 2},
                                                      {0, 1, 3}, {0, 0}, {0, 1, 0}};
  for (const auto& depths : wrong) {
    ParamTreeBuilder builder;
    for (const std::uint32_t depth : depths) builder.Add(Structure(depth, L"x", L"x"));
    CParamNode root;
    ASSERT_EQ(BuildSample(root), 0u);
    EXPECT_EQ(builder.Build(root), result::kNotSupported);
    EXPECT_EQ(root.GetFirstChild(), nullptr);
    EXPECT_STREQ(root.GetVariableName(), L"");
  }
}

TEST(ParamTreeBuilder, SignAndCharacterFlagsAreThoseOfTheSpec) {
  ParamTreeBuilder builder;
  builder.Add(Structure(0, L"struct", L"t"));
  ParamNodeSpec spec = Value(1, L"n", 1);
  spec.isSigned = true;
  builder.Add(spec);
  spec.isSigned = false;
  spec.isChar = true;
  builder.Add(spec);
  CParamNode root;
  ASSERT_EQ(builder.Build(root), 0u);
  std::int32_t flag = 7;
  CParamNode* first = root.GetFirstChild();
  EXPECT_EQ(first->IsSignedValue(&flag), 0u);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(first->IsCharValue(&flag), 0u);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(first->GetNextNeighbor()->IsSignedValue(&flag), 0u);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(first->GetNextNeighbor()->IsCharValue(&flag), 0u);
  EXPECT_EQ(flag, 1);
}

TEST(ParamTreeBuilder, BuiltAgainReplacesTheTreeAndLeaksNothing) {
  const std::uint64_t before = pool::LiveBlocks();
  {
    CParamNode root;
    for (int i = 0; i < 3; ++i) ASSERT_EQ(BuildSample(root), 0u);
    EXPECT_STREQ(root.GetTypeName(), L"sample");
    EXPECT_EQ(pool::LiveBlocks(), before + 1);
  }
  EXPECT_EQ(pool::LiveBlocks(), before);
}

TEST(ParamTreeBuilder, NoMemoryGivesItsStatusAndAnEmptyRoot) {
  CParamNode root;
  pool::FailNth(1);
  EXPECT_EQ(BuildSample(root), result::kNoMemory);
  EXPECT_TRUE(pool::Failed());
  pool::FailNth(0);
  EXPECT_EQ(root.GetFirstChild(), nullptr);
  EXPECT_EQ(BuildSample(root), 0u);
}

TEST(ParamTreeBuilder, DeepTreesAreWalkedWithoutRecursion) {
  ParamTreeBuilder builder;
  constexpr std::uint32_t kDepth = 200000;
  for (std::uint32_t i = 0; i < kDepth; ++i) builder.Add(Structure(i, L"n", L"t"));
  CParamNode root;
  ASSERT_EQ(builder.Build(root), 0u);
  Visitor visitor;
  EXPECT_EQ(root.ParseNodes(&Visitor::Call, &visitor, 0), 0u);
  ASSERT_EQ(visitor.visits.size(), kDepth);
  EXPECT_EQ(visitor.visits.back().depth, kDepth - 1);
}

}  // namespace
