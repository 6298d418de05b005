#include "link/render/render.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "link/render/number_digits.h"
#include "link/render/render_texts.h"
#include "link/render/row_block.h"
#include "link/render/table_lines.h"
#include "platform/base/result_codes.h"
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

// A body on its way to lines.
struct Decoded {
  explicit Decoded(const RenderFlags& flags) : rows(flags) {}
  CParamNode tree;  // the rows refer into it
  RowBlock rows;
  const char* handledText = nullptr;  // the one line instead of rows; not yet translated
  bool resultCodeOnly = false;
};

bool HasNothingToShow(std::wstring_view title) {
  return QCString(title).MakeUpper().Find(L"NULL_STRU") != QCString::npos;
}

std::uint32_t DecodeRows(std::uint32_t cmdId, const ReplyDescriptor& reply, Decoded& decoded) {
  CParamCodec codec(L"");
  const std::uint32_t mode = reply.isInd != 0 ? DecodeDescriptor::kInd : DecodeDescriptor::kCnf;
  const DecodeDescriptor descriptor{cmdId, mode, reply.bodyLengthBytes};
  const std::uint32_t status =
      codec.Decode(descriptor, reply.body, decoded.tree, CategoryIdType::Any);
  if (status != 0) {
    decoded.handledText = HandledText(status);
    return decoded.handledText != nullptr ? 0 : status;
  }
  decoded.rows.AddTree(decoded.tree);
  decoded.resultCodeOnly = HasNothingToShow(decoded.rows.GetTitle());
  return 0;
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
  Decoded decoded(flags);
  const std::uint32_t status = DecodeRows(cmdId, reply, decoded);
  if (decoded.handledText != nullptr) {
    text = Translated(decoded.handledText);
  } else if (!decoded.resultCodeOnly && decoded.rows.GetCount() != 0) {
    text = QCString(JoinedLines(decoded.rows));
  } else {
    text = client.GetResultCodeText(reply.resultCode);
    if (status != 0) text += AcknowledgedText(cmdId);
  }
}

std::uint32_t DecodeReply(std::uint32_t cmdId, const ReplyDescriptor& reply,
                          const RenderFlags& flags, QCList<QCString>& lines, bool& resultCodeOnly) {
  Decoded decoded(flags);
  const std::uint32_t status = DecodeRows(cmdId, reply, decoded);
  resultCodeOnly = decoded.resultCodeOnly;
  if (decoded.handledText != nullptr) {
    lines.AddTail(Translated(decoded.handledText));
  } else if (!resultCodeOnly) {
    const RowBlock& rows = decoded.rows;
    AddLines(
        rows.GetTitle(), {rows.GetNameWidth(), flags.showType}, rows.GetCount(),
        [&rows](std::size_t i) { return rows.GetAt(i); }, lines);
  }
  return status;
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
  RowBlock rows(flags);
  rows.AddTree(root);
  return QCString(JoinedLines(rows));
}

}  // namespace SvcKivClass
