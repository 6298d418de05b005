#include "link/render/render.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <string>
#include <string_view>
#include <utility>

#include "link/render/number_digits.h"
#include "link/render/render_texts.h"
#include "link/render/row_block.h"
#include "link/render/row_plan.h"
#include "link/render/table_lines.h"
#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/param_codec.h"
#include "platform/text/decimal_number.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

// Statuses of the codec that are shown as a line of their own and then count as success.
struct HandledStatus {
  std::uint32_t status;
  const char* text;
};
constexpr std::array<HandledStatus, 3> kHandledStatuses{{
    {result::kNotSupported, texts::kNotSupported},
    {result::kNoFile, texts::kNoDataLibrary},
    {result::kNoMemory, texts::kNotEnoughMemory},
}};

const char* HandledText(std::uint32_t status) {
  for (const HandledStatus& handled : kHandledStatuses) {
    if (handled.status == status) return handled.text;
  }
  return nullptr;
}

bool HasNothingToShow(std::wstring_view title) {
  return QCString(title).MakeUpper().Find(L"NULL_STRU") != QCString::npos;
}

std::uint32_t DecodeTree(std::uint32_t cmdId, const ReplyDescriptor& reply, CParamNode& tree) {
  CParamCodec codec(L"");
  const std::uint32_t mode = reply.isInd != 0 ? DecodeDescriptor::kInd : DecodeDescriptor::kCnf;
  const DecodeDescriptor descriptor{cmdId, mode, reply.bodyLengthBytes};
  return codec.Decode(descriptor, reply.body, tree, CategoryIdType::Any);
}

// A text of planned rows.
QCString PlannedText(CParamNode& tree, const RowPlan& plan, const RenderFlags& flags) {
  std::wstring text(static_cast<std::size_t>(plan.roomChars), L'\0');
  const wchar_t* const end = WriteRows(plan, tree.GetBody(), flags.hexadecimal, text.data());
  text.resize(static_cast<std::size_t>(end - text.data()));
  return QCString(std::move(text));
}

RowTexts RowOf(const RenderTable& table, std::size_t index) {
  return {
      0, table.names[index].view(), {}, table.values[index].view(), table.comments[index].view()};
}

QCString FullName(const RowTexts& row) {
  std::wstring name(row.dots, L'.');
  name.append(row.name).append(row.index);
  return QCString(std::move(name));
}

// Lines of `count` rows; `rowAt` answers the texts of one.
template <typename RowAt>
void AddLines(std::wstring_view title, const LineShape& shape, std::size_t count, RowAt rowAt,
              QCList<QCString>& lines) {
  if (count == 0) return;
  std::wstring line;
  if (IsStringTitle(title)) {
    for (std::size_t i = 0; i < count; ++i) AppendStringValue(line, rowAt(i).value);
    lines.AddTail(QCString(std::move(line)));
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const RowTexts row = rowAt(i);
    line.resize(LineChars(shape, row));
    WriteLine(shape, row, line.data());
    lines.AddTail(QCString(std::wstring_view(line)));
  }
}

QCString AcknowledgedText(std::uint32_t cmdId) {
  const QString digits = QString::number(cmdId, 16).toUpper();
  return FromQString(QObject::tr(texts::kAcknowledged).arg(digits));
}

// The text of a reply whose tree has no plan of its rows, or that could not be decoded.
QCString UnplannedText(const ResultCodeTexts& client, const ReplyDescriptor& reply,
                       std::uint32_t cmdId, const RenderFlags& flags, CParamNode& tree,
                       std::uint32_t status) {
  if (status == 0) {
    RowBlock rows(flags);
    rows.AddTree(tree);
    const bool isShown = rows.GetCount() != 0 && !HasNothingToShow(rows.GetTitle());
    return isShown ? QCString(JoinedLines(rows)) : client.GetResultCodeText(reply.resultCode);
  }
  if (const char* const handled = HandledText(status)) return Translated(handled);
  return client.GetResultCodeText(reply.resultCode) + AcknowledgedText(cmdId);
}

// Room for a line feed, `lengthChars` characters and a zero; the line feed is written.
wchar_t* AllocateForView(std::size_t lengthChars) {
  auto* const forView = static_cast<wchar_t*>(PoolMalloc((lengthChars + 2) * sizeof(wchar_t)));
  if (forView != nullptr) *forView = L'\n';
  return forView;
}

}  // namespace

void RenderTable::AddRow(QCString name, QCString value, QCString comment) {
  nameWidth = std::max(nameWidth, static_cast<std::int32_t>(name.GetLength()));
  valueWidth = std::max(valueWidth, static_cast<std::int32_t>(value.GetLength()));
  names.AddTail(std::move(name));
  values.AddTail(std::move(value));
  comments.AddTail(std::move(comment));
}

void RenderTable::Clear() {
  names.RemoveAll();
  values.RemoveAll();
  comments.RemoveAll();
  nameWidth = 0;
  valueWidth = 0;
}

void RenderReply(const ResultCodeTexts& client, QCString& text, const ReplyDescriptor& reply,
                 std::uint32_t cmdId, const RenderFlags& flags) {
  CParamNode tree;
  const std::uint32_t status = DecodeTree(cmdId, reply, tree);
  const RowPlan* const plan = status == 0 ? RowPlanOf(tree, flags) : nullptr;
  if (plan != nullptr) {
    text = PlannedText(tree, *plan, flags);
  } else {
    text = UnplannedText(client, reply, cmdId, flags, tree, status);
  }
}

bool RenderReplyForView(const ResultCodeTexts& client, const ReplyDescriptor& reply,
                        std::uint32_t cmdId, const RenderFlags& flags, wchar_t** forView) {
  CParamNode tree;
  const std::uint32_t status = DecodeTree(cmdId, reply, tree);
  const RowPlan* const plan = status == 0 ? RowPlanOf(tree, flags) : nullptr;
  if (plan == nullptr) {
    return TextForView(UnplannedText(client, reply, cmdId, flags, tree, status), forView);
  }
  *forView = AllocateForView(static_cast<std::size_t>(plan->roomChars));
  if (*forView == nullptr) return false;
  *WriteRows(*plan, tree.GetBody(), flags.hexadecimal, *forView + 1) = L'\0';
  return true;
}

bool TextForView(const QCString& text, wchar_t** forView) {
  *forView = nullptr;
  if (text.IsEmpty()) return true;
  *forView = AllocateForView(text.GetLength());
  if (*forView == nullptr) return false;
  std::wmemcpy(*forView + 1, text.c_str(), text.GetLength() + 1);
  return true;
}

std::uint32_t DecodeReply(std::uint32_t cmdId, const ReplyDescriptor& reply,
                          const RenderFlags& flags, QCList<QCString>& lines, bool& resultCodeOnly) {
  CParamNode tree;
  resultCodeOnly = false;
  const std::uint32_t status = DecodeTree(cmdId, reply, tree);
  if (status != 0) {
    const char* const handled = HandledText(status);
    if (handled == nullptr) return status;
    lines.AddTail(Translated(handled));
    return 0;
  }
  RowBlock rows(flags);
  rows.AddTree(tree);
  resultCodeOnly = HasNothingToShow(rows.GetTitle());
  if (!resultCodeOnly) {
    AddLines(
        rows.GetTitle(), {rows.GetNameWidth(), flags.showType}, rows.GetCount(),
        [&rows](std::size_t i) { return rows.GetAt(i); }, lines);
  }
  return 0;
}

std::uint32_t RenderNode(CParamNode* node, void* user, std::uint32_t /*depth*/) {
  if (user == nullptr) return 2;
  auto& table = *static_cast<RenderTable*>(user);
  std::uint32_t ancestors = 0;
  for (const CParamNode* up = node->GetParent(); up != nullptr; up = up->GetParent()) ++ancestors;
  RowBlock rows(table.flags);
  rows.AddNode(*node, ancestors);
  if (rows.HasTitle()) table.title = QCString(rows.GetTitle());
  for (std::size_t i = 0; i < rows.GetCount(); ++i) {
    const RowTexts row = rows.GetAt(i);
    table.AddRow(FullName(row), QCString(row.value), QCString(row.comment));
  }
  return 0;
}

void FormatTable(const RenderTable& table, QCList<QCString>& lines) {
  const LineShape shape{static_cast<std::size_t>(table.nameWidth), table.flags.showType};
  AddLines(
      table.title.view(), shape, table.names.GetCount(),
      [&table](std::size_t i) { return RowOf(table, i); }, lines);
}

QCString FormatNumber(std::uint32_t elementBytes, const QCString& decimalText) {
  std::array<wchar_t, kMaxValueChars> digits;
  const wchar_t* const end = WriteValue(digits.data(), ParseDecimalUint32(decimalText.view()),
                                        {elementBytes, false, true});
  return QCString(digits.data(), static_cast<std::size_t>(end - digits.data()));
}

QCString RenderTree(CParamNode& root, const RenderFlags& flags) {
  if (const RowPlan* const plan = RowPlanOf(root, flags)) return PlannedText(root, *plan, flags);
  RowBlock rows(flags);
  rows.AddTree(root);
  return QCString(JoinedLines(rows));
}

}  // namespace SvcKivClass
