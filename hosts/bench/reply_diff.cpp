#include "hosts/bench/reply_diff.h"

#include <algorithm>
#include <utility>

#include "platform/base/result_codes.h"
#include "platform/catalogue/param_codec.h"

namespace hostbench {
namespace {

bool IsText(const ParameterField& field) { return field.isChar && field.IsArray(); }

std::wstring ValueOf(const ParameterShape& shape, const ParameterField& field,
                     std::uint32_t element) {
  if (IsText(field)) return L"\"" + shape.DefaultText(field) + L"\"";
  return shape.DefaultOf(field, element);
}

void Add(ReplyChanges& changes, const ParameterField& field, std::uint32_t element,
         std::wstring before, std::wstring after) {
  if (before == after) return;
  ++changes.count;
  if (changes.fields.size() == ReplyChanges::kMaxFields) return;
  std::wstring path = field.path;
  if (field.IsArray() && !IsText(field)) path += L"[" + std::to_wstring(element) + L"]";
  changes.fields.push_back({std::move(path), std::move(before), std::move(after)});
}

// Bytes that both bodies have and that are equal need no look at the values.
bool AreBytesEqual(const ParameterShape& before, const ParameterShape& after,
                   const ParameterField& field) {
  const std::size_t lengthBytes =
      std::size_t{field.elementBytes} * std::max<std::uint32_t>(field.count, 1);
  const auto& older = before.DefaultBody();
  const auto& newer = after.DefaultBody();
  const std::size_t from = field.offsetBytes;
  if (from + lengthBytes > older.size() || from + lengthBytes > newer.size()) return false;
  return std::equal(older.data() + from, older.data() + from + lengthBytes, newer.data() + from);
}

void CompareField(const ParameterShape& before, const ParameterShape& after,
                  const ParameterField& field, ReplyChanges& changes) {
  if (AreBytesEqual(before, after, field)) return;
  const std::uint32_t values = IsText(field) ? 1 : std::max<std::uint32_t>(field.count, 1);
  for (std::uint32_t i = 0; i < values; ++i) {
    Add(changes, field, i, ValueOf(before, field, i), ValueOf(after, field, i));
  }
}

std::uint32_t Read(std::uint32_t cmdId, std::span<const std::uint8_t> body, ParameterShape& shape) {
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{cmdId, DecodeDescriptor::kCnf,
                                    static_cast<std::uint32_t>(body.size())};
  const std::uint32_t status = codec.Decode(descriptor, body.data(), tree, CategoryIdType::Any);
  if (status == result::kOk) shape = ParameterShape(tree);
  return status;
}

}  // namespace

ReplyChanges CompareShapes(const ParameterShape& before, const ParameterShape& after) {
  ReplyChanges changes;
  const std::size_t both = std::min(before.Fields().size(), after.Fields().size());
  for (std::size_t i = 0; i < both; ++i) {
    CompareField(before, after, after.Fields()[i], changes);
  }
  return changes;
}

std::uint32_t CompareReplies(std::uint32_t cmdId, std::span<const std::uint8_t> before,
                             std::span<const std::uint8_t> after, ReplyChanges& changes) {
  changes = {};
  ParameterShape older;
  ParameterShape newer;
  std::uint32_t status = Read(cmdId, before, older);
  if (status == result::kOk) status = Read(cmdId, after, newer);
  if (status == result::kOk) changes = CompareShapes(older, newer);
  return status;
}

}  // namespace hostbench
