#include "tools/kivcat/header_writer.h"

#include <algorithm>
#include <set>

#include "tools/kivcat/header_values.h"

namespace kivcat {
namespace {

using catalogue::Command;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Scalar;
using catalogue::Structure;

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

// A description as the text of a comment: one line, and nothing that ends the comment.
std::string CommentText(const std::string& text) {
  std::string made;
  for (const char c : text) {
    const bool endsComment =
        c == '/' && !made.empty() && (made.back() == '*' || made.back() == '/');
    const bool opensComment = c == '*' && !made.empty() && made.back() == '/';
    if (endsComment || opensComment) made += ' ';
    made += static_cast<unsigned char>(c) < ' ' || c == 127 ? ' ' : c;
  }
  if (!made.empty() && made.back() == '\\') made += ' ';
  return made;
}

std::string TrailingComment(const std::string& text) {
  return text.empty() ? "" : "  /* " + CommentText(text) + " */";
}

std::string CType(Scalar scalar) {
  if (scalar == Scalar::kChar) return "char";
  return std::string(catalogue::IsSigned(scalar) ? "int" : "uint") +
         std::to_string(8 * catalogue::WidthBytes(scalar)) + "_t";
}

constexpr const char* kOpening = R"(#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define KIV_CATALOGUE_ASSERT(what, name) static_assert(what, name)
#define KIV_CATALOGUE_ALIGN8 alignas(8)
#else
#define KIV_CATALOGUE_ASSERT(what, name) _Static_assert(what, name)
#define KIV_CATALOGUE_ALIGN8 _Alignas(8)
#endif
)";

class HeaderWriter {
 public:
  explicit HeaderWriter(const catalogue::Model& model) : model_(model) {}

  std::string Write(std::string& header) {
    const std::string guard = "KIV_CATALOGUE_" + Upper(model_.name) + "_H";
    Line("/* The catalogue \"" + model_.name + "\", written by kivcat header. Do not edit. */");
    Line("#ifndef " + guard);
    Line("#define " + guard);
    Line("");
    text_ += kOpening;
    Line("");
    WriteHead();
    for (const catalogue::Enumeration& enumeration : model_.enumerations) Write(enumeration);
    for (const Structure& structure : model_.structures) Write(structure);
    for (const Command& command : model_.commands) Write(command);
    WriteCommandList();
    Line("");
    Line("#endif");
    header = std::move(text_);
    return reason_;
  }

 private:
  void Line(const std::string& line) { text_ += line + "\n"; }

  // Every name that the header gives passes here.
  const std::string& New(const std::string& name) {
    const auto [at, isNew] = given_.insert(name);
    if (!isNew && reason_.empty()) reason_ = "two things would be called " + name + " in C";
    return *at;
  }
  void Define(const std::string& name, const std::string& value) {
    Line("#define " + New(name) + " " + value);
  }

  void WriteHead() {
    Define("KIV_CATALOGUE_NAME", "\"" + model_.name + "\"");
    const std::string digits = catalogue::FingerprintText(model_.fingerprint);
    Define("KIV_CATALOGUE_FINGERPRINT", "UINT64_C(0x" + digits + ")");
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      bytes += (i == 0 ? "{0x" : ", 0x") + digits.substr(i, 2);
    }
    Define("KIV_CATALOGUE_FINGERPRINT_BYTES", bytes + "}");
    Define("KIV_CATALOGUE_COMMAND_COUNT", std::to_string(model_.commands.size()) + "u");
  }

  void WriteComment(const std::string& text) {
    Line("");
    if (!text.empty()) Line("/* " + CommentText(text) + " */");
  }

  void Write(const catalogue::Enumeration& enumeration) {
    const std::string type = "kiv_" + enumeration.name;
    WriteComment(enumeration.text);
    Line("typedef " + CType(enumeration.base) + " " + New(type) + ";");
    for (const catalogue::EnumerationValue& value : enumeration.values) {
      Line("#define " + New("KIV_" + Upper(enumeration.name + "_" + value.name)) + " ((" + type +
           ")" + ScalarConstant(enumeration.base, value.value) + ")" + TrailingComment(value.text));
    }
  }

  void Write(const Structure& structure) {
    const std::string type = "kiv_" + structure.name;
    const std::string macro = "KIV_" + Upper(structure.name);
    WriteComment(structure.text);
    if (!structure.fields.empty()) {
      Line(structure.natural ? "#pragma pack(push, 8)" : "#pragma pack(push, 1)");
      Line("typedef struct " + New(type) + " {");
      for (const Field& field : structure.fields) WriteField(structure, field);
      Line("} " + type + ";");
      Line("#pragma pack(pop)");
    }
    Define(macro + "_BYTES", std::to_string(structure.sizeBytes) + "u");
    if (structure.fields.empty()) return;
    Define(macro + "_DEFAULT", StructureInitialiser(model_, structure, structure.defaults.data()));
    Line("KIV_CATALOGUE_ASSERT(sizeof(" + type + ") == " + std::to_string(structure.sizeBytes) +
         ", \"" + type + "\");");
    for (const Field& field : structure.fields) {
      Line("KIV_CATALOGUE_ASSERT(offsetof(" + type + ", " + field.name +
           ") == " + std::to_string(field.offsetBytes) + ", \"" + type + "." + field.name + "\");");
    }
  }

  void WriteField(const Structure& structure, const Field& field) {
    std::string line = "  ";
    const bool isWide = field.kind != FieldKind::kStructure && field.elementBytes == 8;
    if (structure.natural && isWide) line += "KIV_CATALOGUE_ALIGN8 ";
    line += FieldType(field) + " " + field.name;
    if (field.isArray) line += "[" + std::to_string(field.count) + "]";
    std::string comment = field.text;
    if (field.lengthOf != Field::kNoField) {
      comment = "used bytes of " + structure.fields[field.lengthOf].name +
                (comment.empty() ? "" : "; " + comment);
    }
    Line(line + ";" + TrailingComment(comment));
  }

  std::string FieldType(const Field& field) const {
    switch (field.kind) {
      case FieldKind::kEnumeration:
        return "kiv_" + model_.enumerations[field.reference].name;
      case FieldKind::kStructure:
        return "kiv_" + model_.structures[field.reference].name;
      case FieldKind::kScalar:
        break;
    }
    return CType(field.scalar);
  }

  void Write(const Command& command) {
    const std::string macro = "KIV_CMD_" + Upper(command.name);
    WriteComment(command.text);
    Define(macro, HexText(command.id) + "u");
    Define(macro + "_NAME", "\"" + command.name + "\"");
    WriteBody(command, "req", command.request);
    WriteBody(command, "cnf", command.confirmation);
    WriteBody(command, "ind", command.indication);
  }

  void WriteBody(const Command& command, const std::string& which, std::int32_t index) {
    if (index == Command::kNoStructure) return;
    const Structure& structure = model_.structures[static_cast<std::size_t>(index)];
    const std::string macro = "KIV_CMD_" + Upper(command.name + "_" + which);
    Define(macro + "_BYTES", std::to_string(structure.sizeBytes) + "u");
    if (which == "req" && catalogue::IsTextStructure(structure.name)) {
      Define(macro + "_IS_TEXT", "1");
    }
    if (structure.fields.empty()) return;
    Line("typedef kiv_" + structure.name + " " + New("kiv_cmd_" + command.name + "_" + which) +
         ";");
  }

  void WriteCommandList() {
    WriteComment("X(name, NAME, id) for each command.");
    std::string list = "#define " + New("KIV_COMMANDS") + "(X)";
    for (const Command& command : model_.commands) {
      list += " \\\n  X(" + command.name + ", " + Upper(command.name) + ", " + HexText(command.id) +
              "u)";
    }
    Line(list);
  }

  const catalogue::Model& model_;
  std::string text_;
  std::string reason_;
  std::set<std::string> given_;
};

}  // namespace

std::string WriteHeader(const catalogue::Model& model, std::string& header) {
  return HeaderWriter(model).Write(header);
}

}  // namespace kivcat
