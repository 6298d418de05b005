// A packet body as text: a reply of the module tests' catalogue, or a tree of any shape over any
// bytes. The text made in one piece and the one made row by row through a render table are the
// same.
//
// Input: a byte of flags; with its top bit clear a command (two bytes) and a body, else a tree's
// shape (three bytes a node).
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "link/render/render.h"
#include "platform/base/bench_setup.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/param_tree_builder.h"

using SvcKivClass::DecodeReply;
using SvcKivClass::FormatTable;
using SvcKivClass::RenderFlags;
using SvcKivClass::RenderNode;
using SvcKivClass::RenderReply;
using SvcKivClass::RenderTable;
using SvcKivClass::RenderTree;
using SvcKivClass::ReplyDescriptor;

namespace {

constexpr std::array<std::int32_t, 11> kKinds = {0, 1, 24, 17, 8, 16, 9, 25, 32, 33, 5};
constexpr std::array<std::uint32_t, 6> kWidths = {1, 2, 4, 8, 3, 0};
constexpr std::array<const wchar_t*, 4> kTypeNames = {L"u8", L"dbk_str_type", L"a_Null_Stru", L""};

std::vector<std::uint32_t> commandIds;

void Require(bool holds) {
  if (!holds) std::abort();
}

class NumberTexts : public SvcKivClass::ResultCodeTexts {
 public:
  QCString GetResultCodeText(std::uint32_t resultCode) const override {
    return QCString(std::to_wstring(resultCode));
  }
};

QCString Joined(const QCList<QCString>& lines) {
  QCString text;
  for (const QCString& line : lines) text += line;
  return text;
}

// The input from front to back; zeros behind its end.
class Bytes {
 public:
  Bytes(const uint8_t* data, size_t lengthBytes) : at_(data), left_(lengthBytes) {}
  std::uint8_t Next() {
    if (left_ == 0) return 0;
    --left_;
    return *at_++;
  }
  const std::uint8_t* Rest() const { return at_; }
  std::size_t Left() const { return left_; }

 private:
  const std::uint8_t* at_;
  std::size_t left_;
};

ParamNodeSpec NextNode(Bytes& input, std::uint32_t& depth) {
  const std::uint8_t form = input.Next();
  const std::uint8_t size = input.Next();
  const std::uint8_t fill = input.Next();
  ParamNodeSpec spec;
  spec.depth = depth;
  spec.kind = kKinds[form % kKinds.size()];
  spec.variableName = form >= 250 ? L"struct" : L"field";
  spec.typeName = kTypeNames[size % kTypeNames.size()];
  spec.dataTypeBytes = kWidths[(form / kKinds.size()) % kWidths.size()];
  spec.inStructBytes = spec.kind == 1 || spec.kind == 9 ? size : spec.dataTypeBytes;
  spec.isSigned = fill % 2 != 0;
  spec.isChar = size % 3 == 0;
  spec.bytes.assign(spec.inStructBytes, fill);
  spec.hasBuffer = fill % 7 != 0;
  if (size >= 224) ++depth;
  if (size < 16 && depth > 1) --depth;
  return spec;
}

void CheckTree(Bytes input, const RenderFlags& flags) {
  ParamTreeBuilder builder;
  builder.Add({.depth = 0, .kind = 24, .variableName = L"struct", .typeName = L"any"});
  std::uint32_t depth = 1;
  while (input.Left() != 0) builder.Add(NextNode(input, depth));
  CParamNode root;
  Require(builder.Build(root) == 0);
  RenderTable table;
  table.flags = flags;
  Require(root.ParseNodes(RenderNode, &table, 0) == 0);
  QCList<QCString> lines;
  FormatTable(table, lines);
  Require(Joined(lines) == RenderTree(root, flags));
}

void CheckReply(Bytes input, const RenderFlags& flags) {
  const std::uint8_t kind = input.Next();
  const std::uint8_t which = input.Next();
  // A copy of its own lets the address sanitizer see one byte too far.
  const std::vector<std::uint8_t> body(input.Rest(), input.Rest() + input.Left());
  ReplyDescriptor reply;
  reply.cmdId = kind == 255 ? which : commandIds[which % commandIds.size()];
  reply.body = body.data();
  reply.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
  reply.isInd = kind % 2;
  QCString text;
  RenderReply(NumberTexts(), text, reply, reply.cmdId, flags);
  QCList<QCString> lines;
  bool resultCodeOnly = false;
  DecodeReply(reply.cmdId, reply, flags, lines, resultCodeOnly);
  if (!lines.IsEmpty()) Require(text == Joined(lines));
  if (resultCodeOnly) Require(text == L"0");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  bench::Setup setup;
  setup.catalogue = QCString::FromUtf8(KIV_TEST_CATALOGUE);
  bench::SetSetup(setup);
  CCmdDatabase database;
  QCList<CmdInfo> commands;
  Require(database.EnumCommands(commands, 3, 256, 0, 0) == 0 && !commands.IsEmpty());
  for (const CmdInfo& command : commands) commandIds.push_back(command.GetId());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t lengthBytes) {
  Bytes input(data, lengthBytes);
  const std::uint8_t bits = input.Next();
  const RenderFlags flags{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0};
  if (bits >= 128) {
    CheckTree(input, flags);
  } else {
    CheckReply(input, flags);
  }
  return 0;
}
