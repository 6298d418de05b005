#include "hosts/bench/command_description.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "command/packet/diag_packet.h"
#include "hosts/bench/caret_line.h"
#include "hosts/bench/command_index.h"
#include "hosts/bench/field_help.h"
#include "platform/base/result_codes.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/request_model.h"

namespace hostbench {
namespace {

// Cells that a column of the field table takes at most; a longer text moves the rest of its row.
constexpr std::size_t kMaxPathCells = 40;
constexpr std::size_t kMaxTypeCells = 24;
constexpr std::size_t kMaxDefaultCells = 24;

// A catalogue's text in a row: what would begin another row, or move the columns, as ShownLine
// shows it.
std::wstring InRow(std::wstring_view text) {
  std::wstring row;
  for (const wchar_t ch : text) {
    if (ch == L'\n') {
      row += L"\\x0a";
    } else if (ch == L'\t') {
      row += L"\\x09";
    } else {
      row += ch;
    }
  }
  return row;
}

std::wstring TypeText(const ParameterField& field) {
  return field.IsArray() ? field.type + L"[" + std::to_wstring(field.count) + L"]" : field.type;
}

// One field's row, its cells as texts.
struct Row {
  std::wstring path, type, value, rest;
};

Row RowOf(const ParameterShape& shape, const ParameterField& field) {
  const TypedRange range = RangeOf(field);
  Row row{InRow(field.path), InRow(TypeText(field)), InRow(DefaultsText(shape, field)),
          range.lowest + L" to " + range.highest};
  if (!field.text.empty()) row.rest += L"  " + InRow(field.text);
  return row;
}

void Pad(std::wstring& line, const std::wstring& text, std::size_t cells) {
  line += text;
  const std::size_t width = CellWidth(text);
  line.append(width < cells ? cells - width + 2 : 2, L' ');
}

std::size_t ColumnCells(const std::vector<Row>& rows, std::wstring Row::*text, std::size_t most) {
  std::size_t cells = 0;
  for (const Row& row : rows) cells = std::max(cells, CellWidth(row.*text));
  return std::min(cells, most);
}

void AppendChoices(std::wstring& lines, const ParameterField& field, std::size_t indentCells) {
  if (field.choices == nullptr) return;
  for (const Choice& choice : *field.choices) {
    lines.append(indentCells, L' ') += choice.typed + L" " + InRow(choice.name);
    if (!choice.text.empty()) lines += L": " + InRow(choice.text);
    lines += L'\n';
  }
}

void AppendFields(std::wstring& lines, const ParameterShape& shape) {
  std::vector<Row> rows;
  for (const ParameterField& field : shape.Fields()) rows.push_back(RowOf(shape, field));
  const std::size_t pathCells = ColumnCells(rows, &Row::path, kMaxPathCells);
  const std::size_t typeCells = ColumnCells(rows, &Row::type, kMaxTypeCells);
  const std::size_t valueCells = ColumnCells(rows, &Row::value, kMaxDefaultCells);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::wstring line = L"  ";
    Pad(line, rows[i].path, pathCells);
    Pad(line, rows[i].type, typeCells);
    Pad(line, rows[i].value, valueCells);
    lines += line + rows[i].rest + L"\n";
    AppendChoices(lines, shape.Fields()[i], 2 + pathCells + 2);
  }
}

void SetLine(CommandDescription& description, const QCString& cataloguePath) {
  description.line = description.name;
  const std::wstring parameters =
      description.takesText ? std::wstring() : description.shape.DefaultLine();
  if (parameters.empty()) return;
  CCmdDatabase database(cataloguePath);
  const std::wstring id = CommandIdText(description.id);
  description.lineAllowed = database.IsCmdIdCombinedInWhiteList(id.c_str(), parameters.c_str());
  if (!description.lineAllowed) return;
  description.line += L" " + parameters;
  description.lineFits = parameters.size() <= kMaxParameterChars;
}

}  // namespace

std::uint32_t Describe(const CmdInfo& command, const QCString& cataloguePath,
                       CommandDescription& description) {
  description = {};
  description.id = command.GetId();
  description.name = command.GetName();
  description.text = command.GetDescription().str();
  description.group = command.GetGroup().str();
  SvcKivClass::DiagPacket packet(description.id, cataloguePath);
  std::uint32_t status = packet.QueryDefaults();
  description.isSendable = status != result::kNotSupported;
  if (!description.isSendable) return result::kOk;
  if (status != 0) return status;
  catalogue::Model model;
  std::int32_t structure = catalogue::Command::kNoStructure;
  status = catalogue::ReadRequest(cataloguePath.c_str(), description.id, model, structure);
  if (status != 0) return status;
  description.takesText = packet.IsStringTyped();
  description.shape =
      structure == catalogue::Command::kNoStructure
          ? ParameterShape(packet.Tree())
          : ParameterShape(packet.Tree(), &model, static_cast<std::uint32_t>(structure));
  SetLine(description, cataloguePath);
  return 0;
}

std::wstring DescriptionText(const CommandDescription& description) {
  std::wstring lines = description.name + L" (" + CommandIdText(description.id) + L")";
  if (!description.group.empty()) lines += L", " + InRow(description.group);
  lines += L'\n';
  if (!description.text.empty()) lines += L"  " + InRow(description.text) + L"\n";
  if (!description.isSendable) return lines + L"  is not sent: it comes as an indication\n";
  if (description.takesText) return lines + L"  takes its text as it is typed\n";
  if (description.shape.Fields().empty()) return lines + L"  takes no parameters\n";
  lines += InRow(description.shape.TypeName()) + L":";
  if (!description.shape.Text().empty()) lines += L" " + InRow(description.shape.Text());
  lines += L'\n';
  AppendFields(lines, description.shape);
  if (!description.lineAllowed) lines += L"not to be sent with parameters; without them:\n";
  if (!description.lineFits) {
    return lines + L"too many defaults for one line; without parameters it sends the same:\n" +
           description.name + L"\n";
  }
  return lines + description.line + L"\n";
}

}  // namespace hostbench
