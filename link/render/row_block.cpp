#include "link/render/row_block.h"

#include <algorithm>
#include <cstring>

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

constexpr std::int32_t kArrayOfStructures = 17;

bool IsSingle(std::int32_t kind) { return kind == 0 || kind == 8 || kind == 16; }
bool IsArray(std::int32_t kind) { return kind == 1 || kind == 9; }

bool IsCharArray(const CParamNode& node) {
  std::int32_t isChar = 0;
  return node.GetSizeOfDataType() == 1 && node.IsCharValue(&isChar) == 0 && isChar != 0;
}

// The node's bytes, never more than its field has.
struct FieldBytes {
  const std::uint8_t* bytes = nullptr;
  std::size_t lengthBytes = 0;
};

FieldBytes BytesOf(CParamNode& node) {
  std::uint8_t* bytes = nullptr;
  std::uint64_t lengthBytes = 0;
  if (node.GetValueBuf(&bytes, &lengthBytes) != 0 || bytes == nullptr) return {};
  return {bytes, static_cast<std::size_t>(
                     std::min<std::uint64_t>(lengthBytes, node.GetSizeInStruct()))};
}

std::uint32_t ReadElement(const std::uint8_t* bytes, std::uint32_t widthBytes) {
  std::uint32_t value = 0;
  for (std::uint32_t i = widthBytes; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

std::uint32_t AddNodeOf(CParamNode* node, void* rows, std::uint32_t depth) {
  static_cast<RowBlock*>(rows)->AddNode(*node, depth);
  return 0;
}

}  // namespace

void RowBlock::AddTree(CParamNode& root) { root.ParseNodes(AddNodeOf, this, 0); }

void RowBlock::AddNode(CParamNode& node, std::uint32_t ancestors) {
  const std::int32_t kind = node.GetNodeType();
  if (kind == kArrayOfStructures) return;
  const std::wstring_view name = node.GetVariableName();
  const bool isStructure = name == L"struct";
  if (isStructure) {
    title_ = node.GetTypeName();
    hasTitle_ = true;
  }
  if (IsArray(kind) && AddElements(node, ancestors)) return;
  if (isStructure) return;
  BeginRow(ancestors, name);
  BeginValue();
  std::uint64_t value = 0;
  if (IsArray(kind)) {
    AppendCharacters(node);
  } else if (IsSingle(kind) && node.GetValue(&value) == 0) {
    AppendValue(chars_, value, FormatOf(node));
  }
  EndRow({});
}

RowTexts RowBlock::GetAt(std::size_t index) const {
  const Row& row = rows_[index];
  const std::wstring_view chars = chars_;
  return {chars.substr(row.nameAt, row.nameChars),
          chars.substr(row.nameAt + row.nameChars, row.valueChars), row.comment};
}

void RowBlock::BeginRow(std::uint32_t dots, std::wstring_view name) {
  open_.nameAt = chars_.size();
  chars_.append(dots, L'.').append(name);
}

void RowBlock::BeginValue() {
  open_.nameChars = chars_.size() - open_.nameAt;
  nameWidth_ = std::max(nameWidth_, open_.nameChars);
}

void RowBlock::EndRow(std::wstring_view comment) {
  open_.valueChars = chars_.size() - open_.nameAt - open_.nameChars;
  open_.comment = comment;
  rows_.push_back(open_);
}

bool RowBlock::AddElements(CParamNode& node, std::uint32_t dots) {
  const std::uint32_t width = node.GetSizeOfDataType();
  if ((width != 1 && width != 2 && width != 4) || IsCharArray(node)) return false;
  const FieldBytes field = BytesOf(node);
  const std::size_t count = field.lengthBytes / width;
  if (count == 0) return false;
  if (flags_.oneLineArrays) {
    AddElementsInOneRow(node, dots, field.bytes, count);
  } else {
    AddElementRows(node, field.bytes, count);
  }
  return true;
}

// Without the dots that every other row has: scripts look for these names.
void RowBlock::AddElementRows(const CParamNode& node, const std::uint8_t* bytes,
                              std::size_t count) {
  const ValueFormat format = FormatOf(node);
  const std::wstring_view name = node.GetVariableName();
  const std::wstring_view typeName = node.GetTypeName();
  for (std::size_t i = 0; i < count; ++i, bytes += format.widthBytes) {
    BeginRow(0, name);
    chars_.push_back(L'[');
    AppendDecimal(chars_, static_cast<std::uint32_t>(i));
    chars_.push_back(L']');
    BeginValue();
    AppendValue(chars_, ReadElement(bytes, format.widthBytes), format);
    EndRow(typeName);
  }
}

void RowBlock::AddElementsInOneRow(const CParamNode& node, std::uint32_t dots,
                                   const std::uint8_t* bytes, std::size_t count) {
  const ValueFormat format = FormatOf(node);
  BeginRow(dots, node.GetVariableName());
  BeginValue();
  for (std::size_t i = 0; i < count; ++i, bytes += format.widthBytes) {
    if (i != 0) chars_.push_back(L',');
    AppendValue(chars_, ReadElement(bytes, format.widthBytes), format);
  }
  EndRow(node.GetTypeName());
}

// Up to the first zero byte; nothing for arrays that cannot be shown.
void RowBlock::AppendCharacters(CParamNode& node) {
  if (!IsCharArray(node)) return;
  const FieldBytes field = BytesOf(node);
  if (field.bytes == nullptr) return;
  const std::string_view bytes(reinterpret_cast<const char*>(field.bytes), field.lengthBytes);
  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  const auto isAscii = [](char ch) { return static_cast<unsigned char>(ch) < 0x80; };
  if (std::all_of(text.begin(), text.end(), isAscii)) {
    chars_.append(text.begin(), text.end());
  } else {
    chars_.append(QCString::FromUtf8(text).view());
  }
}

ValueFormat RowBlock::FormatOf(const CParamNode& node) const {
  std::int32_t isSigned = 0;
  if (node.IsSignedValue(&isSigned) != 0) isSigned = 0;
  return {node.GetSizeOfDataType(), isSigned != 0, flags_.hexadecimal};
}

}  // namespace SvcKivClass
