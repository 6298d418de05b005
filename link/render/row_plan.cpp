#include "link/render/row_plan.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "link/render/number_digits.h"
#include "link/render/table_lines.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

// Heads are copied in blocks of so many characters.
constexpr std::size_t kBlockChars = 8;
constexpr std::size_t kMaxHeadChars = 128;
// Trees beyond these are rendered without a plan, which would be a large copy of the layout.
constexpr std::size_t kMaxRows = 8192;
constexpr std::size_t kMaxRoomChars = std::size_t{1} << 24;

constexpr std::wstring_view kEquals = L" = ";
constexpr std::size_t kFootChars = 2;  // a blank and the line feed

static_assert(sizeof(RowPlan) % alignof(PlannedRow) == 0);
static_assert(sizeof(PlannedRow) % alignof(wchar_t) == 0);

bool IsSingle(std::int32_t kind) { return kind == 0 || kind == 8 || kind == 16; }
bool IsArray(std::int32_t kind) { return kind == 1 || kind == 9; }

// What the walk over the first tree of a layout finds.
struct Planner {
  std::uint32_t bodyBytes;
  bool onOneLine;
  std::vector<PlannedRow> rows = {};
  std::vector<std::wstring> names = {};
  std::wstring_view title = {};
  std::size_t nameWidth = 0;
  bool isUsable = true;
};

bool AddRow(Planner& planner, const PlannedRow& row, std::wstring name, std::size_t nameChars) {
  const std::uint64_t bytes = std::uint64_t{row.count} * row.widthBytes;
  if (row.offsetBytes + bytes > planner.bodyBytes && bytes != 0) return false;
  if (planner.rows.size() == kMaxRows) return false;
  planner.nameWidth = std::max(planner.nameWidth, nameChars);
  planner.rows.push_back(row);
  planner.names.push_back(std::move(name));
  return true;
}

std::size_t IndexChars(std::uint32_t count) { return 2 + DecimalDigits(count - 1); }

// Bytes of the node's own buffer that are its field's; 0 without a buffer.
std::uint32_t BufferBytes(CParamNode& node) {
  std::uint8_t* bytes = nullptr;
  std::uint64_t lengthBytes = 0;
  if (node.GetValueBuf(&bytes, &lengthBytes) != 0 || bytes == nullptr) return 0;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(lengthBytes, node.GetSizeInStruct()));
}

// Of a value wider than 32 bits the lower ones are shown.
void SetSign(const CParamNode& node, PlannedRow& row) {
  std::int32_t isSigned = 0;
  node.IsSignedValue(&isSigned);
  const std::uint32_t bits = 8 * std::min(row.widthBytes, 4u);
  row.mask = 0xFFFFFFFFu >> (32 - bits);
  row.signBit = isSigned != 0 ? 1u << (bits - 1) : 0;
}

// As RowBlock::AddNode, without values.
bool PlanArray(CParamNode& node, std::uint32_t dots, Planner& planner) {
  const std::uint32_t width = node.GetSizeOfDataType();
  const std::uint32_t bytes = BufferBytes(node);
  const std::wstring name = node.GetVariableName();
  std::int32_t isChar = 0;
  const bool isText = width == 1 && node.IsCharValue(&isChar) == 0 && isChar != 0;
  const bool isShown = width == 1 || width == 2 || width == 4;
  if (isShown && !isText && bytes >= width) {
    PlannedRow row{RowKind::kElements,
                   node.GetOffsetInBody(),
                   bytes / width,
                   width,
                   0,
                   0,
                   static_cast<std::uint32_t>(name.size())};
    if (planner.onOneLine) row.kind = RowKind::kElementsOnOneLine;
    SetSign(node, row);
    if (!planner.onOneLine) {
      return AddRow(planner, row, name, name.size() + IndexChars(row.count));
    }
    return AddRow(planner, row, std::wstring(dots, L'.') + name, dots + name.size());
  }
  if (name == L"struct") return true;
  const PlannedRow row{isText ? RowKind::kCharacters : RowKind::kEmpty,
                       node.GetOffsetInBody(),
                       isText ? bytes : 0,
                       1,
                       0,
                       0,
                       0};
  return AddRow(planner, row, std::wstring(dots, L'.') + name, dots + name.size());
}

bool PlanOther(CParamNode& node, std::uint32_t dots, Planner& planner) {
  const std::wstring name = std::wstring(dots, L'.') + node.GetVariableName();
  PlannedRow row{RowKind::kEmpty, node.GetOffsetInBody(), 0, 0, 0, 0, 0};
  if (IsSingle(node.GetNodeType())) {
    const std::uint32_t width = node.GetSizeOfDataType();
    if (width != 1 && width != 2 && width != 4 && width != 8) return false;
    if (node.GetSizeInStruct() < width) return false;
    row.kind = RowKind::kValue;
    row.count = 1;
    row.widthBytes = width;
    SetSign(node, row);
  }
  return AddRow(planner, row, name, name.size());
}

bool PlanOne(CParamNode& node, std::uint32_t dots, Planner& planner) {
  const std::int32_t kind = node.GetNodeType();
  if (kind == 17) return true;
  const bool isStructure = std::wstring_view(node.GetVariableName()) == L"struct";
  if (isStructure) planner.title = node.GetTypeName();
  if (IsArray(kind)) return PlanArray(node, dots, planner);
  return isStructure || PlanOther(node, dots, planner);
}

// For ParseNodes.
std::uint32_t PlanNode(CParamNode* node, void* user, std::uint32_t depth) {
  Planner& planner = *static_cast<Planner*>(user);
  planner.isUsable = PlanOne(*node, depth, planner);
  return planner.isUsable ? 0 : 1;
}

// The most characters that a planned row's lines have, heads copied in blocks.
std::uint64_t RoomOf(const PlannedRow& row, std::size_t strideChars) {
  const std::uint64_t lineChars = strideChars + kMaxValueChars + kFootChars;
  if (row.kind == RowKind::kElements) return row.count * lineChars;
  if (row.kind == RowKind::kElementsOnOneLine) {
    return lineChars + std::uint64_t{row.count} * (kMaxValueChars + 1);
  }
  // Decoded text has at most one character a byte.
  return lineChars + (row.kind == RowKind::kCharacters ? row.count : 0);
}

RowPlan HeadOf(const Planner& planner) {
  RowPlan plan{};
  const std::size_t headChars = planner.nameWidth + kEquals.size();
  const std::size_t strideChars = (headChars + kBlockChars - 1) / kBlockChars * kBlockChars;
  std::uint64_t roomChars = strideChars;
  for (const PlannedRow& row : planner.rows) roomChars += RoomOf(row, strideChars);
  const bool hasNothing = QCString(planner.title).MakeUpper().Find(L"NULL_STRU") != QCString::npos;
  if (!planner.isUsable || planner.rows.empty() || hasNothing || IsStringTitle(planner.title) ||
      headChars > kMaxHeadChars || roomChars > kMaxRoomChars) {
    return plan;
  }
  plan.isUsable = 1;
  plan.rowCount = static_cast<std::uint32_t>(planner.rows.size());
  plan.headChars = static_cast<std::uint32_t>(headChars);
  plan.strideChars = static_cast<std::uint32_t>(strideChars);
  plan.roomChars = roomChars;
  return plan;
}

const RowPlan* MakePlan(CParamNode& root, bool onOneLine, LayoutNote place) {
  Planner planner{root.GetBodyBytes(), onOneLine};
  root.ParseNodes(PlanNode, &planner, 0);
  const RowPlan plan = HeadOf(planner);
  std::wstring heads;
  for (std::size_t i = 0; i < plan.rowCount; ++i) {
    heads.append(planner.names[i]).resize(i * plan.strideChars + planner.nameWidth, L' ');
    heads.append(kEquals).resize((i + 1) * plan.strideChars, L' ');
  }
  const std::size_t rowsBytes = plan.rowCount * sizeof(PlannedRow);
  std::vector<std::uint8_t> note(sizeof plan + rowsBytes + heads.size() * sizeof(wchar_t));
  std::memcpy(note.data(), &plan, sizeof plan);
  if (plan.rowCount != 0) {
    std::memcpy(note.data() + sizeof plan, planner.rows.data(), rowsBytes);
    std::memcpy(note.data() + sizeof plan + rowsBytes, heads.data(),
                heads.size() * sizeof(wchar_t));
  }
  return static_cast<const RowPlan*>(root.KeepLayoutNote(place, note.data(), note.size()));
}

// Four bytes, whatever the width: behind a body there is room for that.
std::uint32_t Load(const std::uint8_t* from) {
  static_assert(CParamNode::kBodySlackBytes >= 3);
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < 4; ++i) value |= std::uint32_t{from[i]} << (8 * i);
  return value;
}

// Each of these writes something and answers its end. Ends are handed from one to the next, never
// kept in an object: what is written could then be the object's own.

inline wchar_t* WriteHead(const RowPlan& plan, const wchar_t* head, wchar_t* to) {
  for (std::size_t i = 0; i < plan.strideChars; i += kBlockChars) {
    std::memcpy(to + i, head + i, kBlockChars * sizeof(wchar_t));
  }
  return to + plan.headChars;
}

inline wchar_t* WriteFoot(wchar_t* to) {
  to[0] = L' ';
  to[1] = L'\n';
  return to + kFootChars;
}

// The kind of a value decides nothing here but masks, so that the processor has no more to guess
// than how long the numbers are.
template <bool kHexadecimal>
inline wchar_t* WriteOne(const std::uint8_t* from, const PlannedRow& row, wchar_t* to) {
  const std::uint32_t bits = ((Load(from) & row.mask) ^ row.signBit) - row.signBit;
  if (kHexadecimal) return WriteValue(to, bits, {row.widthBytes, row.signBit != 0, true});
  const std::uint32_t isNegative = row.signBit != 0 ? bits >> 31 : 0;
  *to = L'-';
  return WriteDecimalInRoom(to + isNegative, (bits ^ (0u - isNegative)) + isNegative);
}

// One line for each element. Their heads differ in the index alone, which is written over what the
// padding holds.
template <bool kHexadecimal>
wchar_t* WriteElements(const RowPlan& plan, const PlannedRow& row, const wchar_t* head,
                       const std::uint8_t* from, wchar_t* to) {
  for (std::uint32_t i = 0; i < row.count; ++i, from += row.widthBytes) {
    wchar_t* const index = to + row.nameChars;
    to = WriteHead(plan, head, to);
    *index = L'[';
    *WriteDecimal(index + 1, i) = L']';
    to = WriteFoot(WriteOne<kHexadecimal>(from, row, to));
  }
  return to;
}

// Up to the first zero byte.
wchar_t* WriteCharacters(const std::uint8_t* from, std::uint32_t lengthBytes, wchar_t* to) {
  const std::string_view bytes(reinterpret_cast<const char*>(from), lengthBytes);
  const std::string_view text = bytes.substr(0, bytes.find('\0'));
  const auto isAscii = [](char ch) { return static_cast<unsigned char>(ch) < 0x80; };
  if (std::all_of(text.begin(), text.end(), isAscii)) {
    return std::copy(text.begin(), text.end(), to);
  }
  const QCString decoded = QCString::FromUtf8(text);
  return std::copy(decoded.view().begin(), decoded.view().end(), to);
}

// The value of a row that is neither empty nor a single number.
template <bool kHexadecimal>
wchar_t* WriteOther(const PlannedRow& row, const std::uint8_t* from, wchar_t* to) {
  if (row.kind == RowKind::kCharacters) return WriteCharacters(from, row.count, to);
  for (std::uint32_t i = 0; i < row.count; ++i, from += row.widthBytes) {
    if (i != 0) *to++ = L',';
    to = WriteOne<kHexadecimal>(from, row, to);
  }
  return to;
}

template <bool kHexadecimal>
wchar_t* WriteAll(const RowPlan& plan, const std::uint8_t* body, wchar_t* to) {
  const PlannedRow* const end = plan.Rows() + plan.rowCount;
  const wchar_t* head = plan.Heads();
  for (const PlannedRow* row = plan.Rows(); row != end; ++row, head += plan.strideChars) {
    const std::uint8_t* const from = body + row->offsetBytes;
    if (row->kind == RowKind::kElements) {
      to = WriteElements<kHexadecimal>(plan, *row, head, from, to);
      continue;
    }
    to = WriteHead(plan, head, to);
    if (row->kind == RowKind::kValue) {
      to = WriteOne<kHexadecimal>(from, *row, to);
    } else if (row->kind != RowKind::kEmpty) {
      to = WriteOther<kHexadecimal>(*row, from, to);
    }
    to = WriteFoot(to);
  }
  return to;
}

}  // namespace

const RowPlan* RowPlanOf(CParamNode& root, const RenderFlags& flags) {
  if (flags.showType) return nullptr;
  const LayoutNote place = flags.oneLineArrays ? LayoutNote::kRowsOnOneLine : LayoutNote::kRows;
  auto* plan = static_cast<const RowPlan*>(root.GetLayoutNote(place));
  if (plan == nullptr) plan = MakePlan(root, flags.oneLineArrays, place);
  return plan != nullptr && plan->isUsable != 0 ? plan : nullptr;
}

wchar_t* WriteRows(const RowPlan& plan, const std::uint8_t* body, bool hexadecimal, wchar_t* to) {
  return hexadecimal ? WriteAll<true>(plan, body, to) : WriteAll<false>(plan, body, to);
}

}  // namespace SvcKivClass
