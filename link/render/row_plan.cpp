#include "link/render/row_plan.h"

#include <algorithm>
#include <array>
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

// As RowBlock::AddNode, without values.
bool PlanArray(CParamNode& node, std::uint32_t dots, Planner& planner) {
  const std::uint32_t width = node.GetSizeOfDataType();
  const std::uint32_t bytes = BufferBytes(node);
  const std::wstring name = node.GetVariableName();
  std::int32_t isChar = 0;
  std::int32_t isSigned = 0;
  node.IsSignedValue(&isSigned);
  const bool isText = width == 1 && node.IsCharValue(&isChar) == 0 && isChar != 0;
  const bool isShown = width == 1 || width == 2 || width == 4;
  if (isShown && !isText && bytes >= width) {
    PlannedRow row{planner.onOneLine ? RowKind::kElementsOnOneLine : RowKind::kElements,
                   node.GetOffsetInBody(),
                   bytes / width,
                   width,
                   isSigned != 0 ? 1u : 0u,
                   static_cast<std::uint32_t>(name.size())};
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
                       0};
  return AddRow(planner, row, std::wstring(dots, L'.') + name, dots + name.size());
}

bool PlanOther(CParamNode& node, std::uint32_t dots, Planner& planner) {
  const std::wstring name = std::wstring(dots, L'.') + node.GetVariableName();
  PlannedRow row{RowKind::kEmpty, node.GetOffsetInBody(), 0, 0, 0, 0};
  if (IsSingle(node.GetNodeType())) {
    const std::uint32_t width = node.GetSizeOfDataType();
    if (width != 1 && width != 2 && width != 4 && width != 8) return false;
    if (node.GetSizeInStruct() < width) return false;
    std::int32_t isSigned = 0;
    node.IsSignedValue(&isSigned);
    row.kind = RowKind::kValue;
    row.count = 1;
    row.widthBytes = width;
    row.isSigned = isSigned != 0 ? 1 : 0;
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

template <std::uint32_t kWidth>
std::uint32_t Load(const std::uint8_t* from) {
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < kWidth; ++i) value |= std::uint32_t{from[i]} << (8 * i);
  return value;
}

// The low 32 bits of a value, with the sign of its own width.
std::uint32_t ReadBits(const std::uint8_t* from, std::uint32_t widthBytes, bool isSigned) {
  if (widthBytes == 1) {
    const std::uint32_t bits = from[0];
    return isSigned ? (bits ^ 0x80u) - 0x80u : bits;
  }
  if (widthBytes == 2) {
    const std::uint32_t bits = Load<2>(from);
    return isSigned ? (bits ^ 0x8000u) - 0x8000u : bits;
  }
  return Load<4>(from);
}

// Writes the lines of one tree.
class RowWriter {
 public:
  RowWriter(const RowPlan& plan, const std::uint8_t* body, bool hexadecimal, wchar_t* to)
      : plan_(plan), body_(body), hexadecimal_(hexadecimal), to_(to) {}

  wchar_t* Run() {
    const PlannedRow* const rows = plan_.Rows();
    const wchar_t* head = plan_.Heads();
    for (std::uint32_t i = 0; i < plan_.rowCount; ++i, head += plan_.strideChars) {
      const PlannedRow& row = rows[i];
      if (row.kind == RowKind::kElements) {
        Elements(row, head);
        continue;
      }
      Head(head);
      if (row.kind == RowKind::kValue) {
        Value(body_ + row.offsetBytes, row);
      } else if (row.kind != RowKind::kEmpty) {
        Other(row);
      }
      Foot();
    }
    return to_;
  }

 private:
  void Head(const wchar_t* head) {
    for (std::size_t i = 0; i < plan_.strideChars; i += kBlockChars) {
      std::memcpy(to_ + i, head + i, kBlockChars * sizeof(wchar_t));
    }
    to_ += plan_.headChars;
  }
  void Foot() {
    to_[0] = L' ';
    to_[1] = L'\n';
    to_ += kFootChars;
  }
  void Value(const std::uint8_t* from, const PlannedRow& row) {
    const bool isSigned = row.isSigned != 0;
    const std::uint32_t bits = ReadBits(from, row.widthBytes, isSigned);
    if (hexadecimal_) {
      to_ = WriteValue(to_, bits, {row.widthBytes, isSigned, true});
      return;
    }
    const bool isNegative = isSigned && (bits & 0x80000000u) != 0;
    if (isNegative) *to_++ = L'-';
    to_ = WriteDecimal(to_, isNegative ? 0u - bits : bits);
  }
  // One line for each element, all with the same name. The head is written once and its index
  // counted on: as long as that grows no longer, only its digits change.
  void Elements(const PlannedRow& row, const wchar_t* head) {
    std::array<wchar_t, kMaxHeadChars + kBlockChars> own;
    std::copy(head, head + plan_.strideChars, own.data());
    wchar_t* const index = own.data() + row.nameChars;
    *index = L'[';
    const std::uint8_t* from = body_ + row.offsetBytes;
    for (std::uint32_t i = 0; i < row.count; ++i, from += row.widthBytes) {
      *WriteDecimal(index + 1, i) = L']';
      Head(own.data());
      Value(from, row);
      Foot();
    }
  }
  void Other(const PlannedRow& row) {
    const std::uint8_t* from = body_ + row.offsetBytes;
    if (row.kind == RowKind::kCharacters) return Characters(from, row.count);
    for (std::uint32_t i = 0; i < row.count; ++i, from += row.widthBytes) {
      if (i != 0) *to_++ = L',';
      Value(from, row);
    }
  }
  // Up to the first zero byte.
  void Characters(const std::uint8_t* from, std::uint32_t lengthBytes) {
    const std::string_view bytes(reinterpret_cast<const char*>(from), lengthBytes);
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    const auto isAscii = [](char ch) { return static_cast<unsigned char>(ch) < 0x80; };
    if (std::all_of(text.begin(), text.end(), isAscii)) {
      to_ = std::copy(text.begin(), text.end(), to_);
      return;
    }
    const QCString decoded = QCString::FromUtf8(text);
    to_ = std::copy(decoded.view().begin(), decoded.view().end(), to_);
  }

  const RowPlan& plan_;
  const std::uint8_t* const body_;
  const bool hexadecimal_;
  wchar_t* to_;
};

}  // namespace

const RowPlan* RowPlanOf(CParamNode& root, const RenderFlags& flags) {
  if (flags.showType) return nullptr;
  const LayoutNote place = flags.oneLineArrays ? LayoutNote::kRowsOnOneLine : LayoutNote::kRows;
  auto* plan = static_cast<const RowPlan*>(root.GetLayoutNote(place));
  if (plan == nullptr) plan = MakePlan(root, flags.oneLineArrays, place);
  return plan != nullptr && plan->isUsable != 0 ? plan : nullptr;
}

wchar_t* WriteRows(const RowPlan& plan, const std::uint8_t* body, bool hexadecimal, wchar_t* to) {
  return RowWriter(plan, body, hexadecimal, to).Run();
}

}  // namespace SvcKivClass
