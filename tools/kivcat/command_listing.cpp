#include "tools/kivcat/command_listing.h"

#include <algorithm>
#include <vector>

#include "tools/kivcat/header_values.h"

namespace kivcat {
namespace {

using catalogue::Command;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Structure;
using Row = std::vector<std::string>;

// Cells one below the other, two blanks between columns, none at the end of a line.
std::string Align(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths;
  for (const Row& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
    }
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

std::string NameOf(const catalogue::Model& model, std::int32_t structure) {
  if (structure == Command::kNoStructure) return "-";
  return model.structures[static_cast<std::size_t>(structure)].name;
}

// A description as one line of a terminal.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; }, ' ');
  return text;
}

// The rows of a structure: offset, name (indented by nesting), type, default.
class StructureRows {
 public:
  explicit StructureRows(const catalogue::Model& model) : model_(model) {}

  std::string Text(const Structure& structure) {
    Add(structure, 0, 1, structure.defaults.data());
    return Align(rows_);
  }

 private:
  void Add(const Structure& structure, std::uint32_t offsetBytes, std::size_t depth,
           const char* bytes) {
    for (const Field& field : structure.fields) {
      const std::uint32_t offset = offsetBytes + field.offsetBytes;
      const bool nested = field.kind == FieldKind::kStructure;
      std::string type = TypeText(field);
      if (field.isArray) type += "[" + std::to_string(field.count) + "]";
      if (field.lengthOf != Field::kNoField) {
        type += " (length of " + structure.fields[field.lengthOf].name + ")";
      }
      rows_.push_back({"  " + std::to_string(offset), std::string(2 * depth, ' ') + field.name,
                       std::move(type),
                       nested && !field.isArray
                           ? ""
                           : "= " + FieldInitialiser(model_, field, bytes + field.offsetBytes),
                       OneLine(field.text)});
      // Of an array of structures the first element shows where the fields are.
      if (nested) {
        Add(model_.structures[field.reference], offset, depth + 1, bytes + field.offsetBytes);
      }
    }
  }

  std::string TypeText(const Field& field) const {
    switch (field.kind) {
      case FieldKind::kEnumeration: {
        const catalogue::Enumeration& enumeration = model_.enumerations[field.reference];
        std::string text =
            enumeration.name + " (" + std::string(ScalarName(enumeration.base)) + ":";
        for (const catalogue::EnumerationValue& value : enumeration.values) {
          text += " " + value.name + "=" + ScalarConstant(enumeration.base, value.value);
        }
        return text + ")";
      }
      case FieldKind::kStructure:
        return model_.structures[field.reference].name;
      case FieldKind::kScalar:
        break;
    }
    return std::string(ScalarName(field.scalar));
  }

  const catalogue::Model& model_;
  std::vector<Row> rows_;
};

std::string BodyText(const catalogue::Model& model, const char* what, std::int32_t index) {
  if (index == Command::kNoStructure) return {};
  const Structure& structure = model.structures[static_cast<std::size_t>(index)];
  return std::string(what) + " " + structure.name + ", " + std::to_string(structure.sizeBytes) +
         " bytes, " + (structure.natural ? "natural" : "packed") + "\n" +
         StructureRows(model).Text(structure);
}

std::string CombinedText(const Command& command) {
  switch (command.combined) {
    case catalogue::Combined::kAny:
      return {};
    case catalogue::Combined::kNone:
      return "combined: none\n";
    case catalogue::Combined::kListed:
      break;
  }
  std::string text = "combined:\n";
  for (const std::string& allowed : command.combinedTexts) text += "  " + OneLine(allowed) + "\n";
  return text;
}

}  // namespace

std::string ListCommands(const catalogue::Model& model) {
  std::vector<Row> rows{{"id", "name", "group", "request", "confirmation", "indication", "text"}};
  for (const Command& command : model.commands) {
    rows.push_back({HexText(command.id), command.name, OneLine(command.group),
                    NameOf(model, command.request), NameOf(model, command.confirmation),
                    NameOf(model, command.indication), OneLine(command.text)});
  }
  return model.name + ", fingerprint " + catalogue::FingerprintText(model.fingerprint) + "\n" +
         (model.text.empty() ? "" : OneLine(model.text) + "\n") + "\n" + Align(rows);
}

std::string ListCommand(const catalogue::Model& model, const Command& command) {
  std::string text = HexText(command.id) + " " + command.name + ", fingerprint " +
                     catalogue::FingerprintText(command.fingerprint) + "\n";
  if (!command.text.empty()) text += OneLine(command.text) + "\n";
  if (!command.group.empty()) text += "group: " + OneLine(command.group) + "\n";
  if (!command.listed) text += "not listed\n";
  return text + CombinedText(command) + BodyText(model, "request", command.request) +
         BodyText(model, "confirmation", command.confirmation) +
         BodyText(model, "indication", command.indication);
}

}  // namespace kivcat
