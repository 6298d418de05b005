#include "link/render/row_block.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

constexpr std::int32_t kArrayOfStructures = 17;
constexpr std::size_t kMaxIndexChars = 12;  // "[4294967295]"
constexpr std::size_t kUsualRows = 64;
constexpr std::size_t kUsualChars = 512;

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
  return {bytes,
          static_cast<std::size_t>(std::min<std::uint64_t>(lengthBytes, node.GetSizeInStruct()))};
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

RowBlock::RowBlock(const RenderFlags& flags) : flags_(flags) {}

void RowBlock::AddTree(CParamNode& root) {
  rows_.reserve(kUsualRows);
  chars_.reserve(kUsualChars);
  root.ParseNodes(AddNodeOf, this, 0);
}

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
  std::uint64_t value = 0;
  if (IsArray(kind)) {
    AppendCharacters(node);
  } else if (IsSingle(kind) && node.GetValue(&value) == 0) {
    std::array<wchar_t, kMaxValueChars> digits;
    chars_.append(digits.data(), WriteValue(digits.data(), value, FormatOf(node)));
  }
  EndRow(0, {});
}

RowTexts RowBlock::GetAt(std::size_t index) const {
  const Row& row = rows_[index];
  const wchar_t* const at = chars_.data() + row.at;
  return {
      row.dots, row.name, {at, row.indexChars}, {at + row.indexChars, row.valueChars}, row.comment};
}

void RowBlock::BeginRow(std::size_t dots, std::wstring_view name) {
  open_.dots = dots;
  open_.name = name;
  open_.at = chars_.size();
}

void RowBlock::EndRow(std::size_t indexChars, std::wstring_view comment) {
  open_.indexChars = indexChars;
  open_.valueChars = chars_.size() - open_.at - indexChars;
  open_.comment = comment;
  nameWidth_ = std::max(nameWidth_, open_.dots + open_.name.size() + indexChars);
  commentChars_ += comment.size();
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
  std::array<wchar_t, kMaxIndexChars + kMaxValueChars> digits;
  rows_.reserve(rows_.size() + count);
  for (std::size_t i = 0; i < count; ++i, bytes += format.widthBytes) {
    digits[0] = L'[';
    wchar_t* at = WriteDecimal(digits.data() + 1, static_cast<std::uint32_t>(i));
    *at++ = L']';
    BeginRow(0, name);
    const auto indexChars = static_cast<std::size_t>(at - digits.data());
    at = WriteValue(at, ReadElement(bytes, format.widthBytes), format);
    chars_.append(digits.data(), at);
    EndRow(indexChars, typeName);
  }
}

void RowBlock::AddElementsInOneRow(const CParamNode& node, std::uint32_t dots,
                                   const std::uint8_t* bytes, std::size_t count) {
  const ValueFormat format = FormatOf(node);
  std::array<wchar_t, 1 + kMaxValueChars> digits;
  digits[0] = L',';
  BeginRow(dots, node.GetVariableName());
  for (std::size_t i = 0; i < count; ++i, bytes += format.widthBytes) {
    wchar_t* const end =
        WriteValue(digits.data() + 1, ReadElement(bytes, format.widthBytes), format);
    chars_.append(digits.data() + (i == 0 ? 1 : 0), end);
  }
  EndRow(0, node.GetTypeName());
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
