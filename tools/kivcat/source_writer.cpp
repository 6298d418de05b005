#include "tools/kivcat/source_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/kivcat/header_values.h"

namespace kivcat {
namespace {

using catalogue::Command;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Scalar;
using catalogue::Structure;
using Json = nlohmann::ordered_json;

Json Integer(Scalar scalar, std::uint64_t value) {
  return catalogue::IsSigned(scalar) ? Json(static_cast<std::int64_t>(value)) : Json(value);
}

void PutText(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

bool IsUtf8(std::string_view bytes) {
  try {
    Json(bytes).dump();
    return true;
  } catch (const Json::type_error&) {
    return false;
  }
}

// Defaults as a source says them: what differs from the bytes that stand there without it, `base`.
class DefaultReader {
 public:
  explicit DefaultReader(const catalogue::Model& model) : model_(model) {}

  // Null when nothing has to be said. `bytes` and `base` are the whole field.
  Json ReadField(const Field& field, const char* bytes, const char* base) const {
    if (std::equal(bytes, bytes + field.SizeBytes(), base)) return nullptr;
    if (!field.isArray) return ReadElement(field, bytes, base);
    std::size_t used = field.count;
    while (used > 0 && Equal(field, bytes, base, used - 1)) --used;
    if (field.kind == FieldKind::kScalar && field.scalar == Scalar::kChar &&
        IsUtf8({bytes, used})) {
      return std::string(bytes, used);
    }
    Json list = Json::array();
    for (std::size_t i = 0; i < used; ++i) {
      const std::size_t offset = i * field.elementBytes;
      list.push_back(ReadElement(field, bytes + offset, base + offset));
    }
    return list;
  }

  // What stands in a field that says nothing: zeros, or what its own structure says.
  std::string BaseOf(const Field& field) const {
    if (field.kind != FieldKind::kStructure) return std::string(field.SizeBytes(), '\0');
    std::string base;
    base.reserve(field.SizeBytes());
    for (std::uint32_t i = 0; i < field.count; ++i) {
      base += model_.structures[field.reference].defaults;
    }
    return base;
  }

 private:
  static bool Equal(const Field& field, const char* bytes, const char* base, std::size_t index) {
    const std::size_t offset = index * field.elementBytes;
    return std::equal(bytes + offset, bytes + offset + field.elementBytes, base + offset);
  }

  Json ReadElement(const Field& field, const char* bytes, const char* base) const {
    if (field.kind == FieldKind::kStructure) {
      return ReadStructure(model_.structures[field.reference], bytes, base);
    }
    const std::uint64_t value = LoadScalar(field.scalar, bytes);
    if (field.kind == FieldKind::kEnumeration) {
      for (const catalogue::EnumerationValue& known : model_.enumerations[field.reference].values) {
        if (known.value == value) return known.name;
      }
    }
    return Integer(field.scalar, value);
  }

  Json ReadStructure(const Structure& structure, const char* bytes, const char* base) const {
    Json object = Json::object();
    for (const Field& field : structure.fields) {
      Json value = ReadField(field, bytes + field.offsetBytes, base + field.offsetBytes);
      if (!value.is_null()) object[field.name] = std::move(value);
    }
    return object;
  }

  const catalogue::Model& model_;
};

Json Describe(const catalogue::Enumeration& enumeration) {
  Json made;
  made["name"] = enumeration.name;
  made["base"] = catalogue::ScalarName(enumeration.base);
  PutText(made, "text", enumeration.text);
  made["values"] = Json::array();
  for (const catalogue::EnumerationValue& value : enumeration.values) {
    Json row;
    row["name"] = value.name;
    row["value"] = Integer(enumeration.base, value.value);
    PutText(row, "text", value.text);
    made["values"].push_back(std::move(row));
  }
  return made;
}

std::string_view TypeName(const catalogue::Model& model, const Field& field) {
  switch (field.kind) {
    case FieldKind::kEnumeration:
      return model.enumerations[field.reference].name;
    case FieldKind::kStructure:
      return model.structures[field.reference].name;
    case FieldKind::kScalar:
      break;
  }
  return catalogue::ScalarName(field.scalar);
}

Json Describe(const catalogue::Model& model, const Structure& structure) {
  const DefaultReader defaults(model);
  Json made;
  made["name"] = structure.name;
  PutText(made, "text", structure.text);
  if (structure.natural) made["layout"] = "natural";
  made["fields"] = Json::array();
  for (const Field& field : structure.fields) {
    Json row;
    row["name"] = field.name;
    row["type"] = TypeName(model, field);
    if (field.isArray) row["count"] = field.count;
    if (field.lengthOf != Field::kNoField) row["length_of"] = structure.fields[field.lengthOf].name;
    const std::string base = defaults.BaseOf(field);
    Json value =
        defaults.ReadField(field, structure.defaults.data() + field.offsetBytes, base.data());
    if (!value.is_null()) row["default"] = std::move(value);
    PutText(row, "text", field.text);
    made["fields"].push_back(std::move(row));
  }
  return made;
}

void PutStructure(Json& object, const char* key, const catalogue::Model& model,
                  std::int32_t structure) {
  if (structure == Command::kNoStructure) return;
  object[key] = model.structures[static_cast<std::size_t>(structure)].name;
}

Json Describe(const catalogue::Model& model, const Command& command) {
  Json made;
  made["id"] = HexText(command.id);
  made["name"] = command.name;
  PutText(made, "text", command.text);
  PutText(made, "group", command.group);
  PutStructure(made, "request", model, command.request);
  PutStructure(made, "confirmation", model, command.confirmation);
  PutStructure(made, "indication", model, command.indication);
  if (!command.listed) made["listed"] = false;
  if (command.combined == catalogue::Combined::kNone) made["combined"] = "none";
  if (command.combined == catalogue::Combined::kListed) made["combined"] = command.combinedTexts;
  return made;
}

}  // namespace

std::string WriteSource(const catalogue::Model& model) {
  Json made;
  made["format"] = 1;
  made["name"] = model.name;
  PutText(made, "text", model.text);
  for (const catalogue::Enumeration& enumeration : model.enumerations) {
    made["enumerations"].push_back(Describe(enumeration));
  }
  made["types"] = Json::array();
  for (const Structure& structure : model.structures) {
    made["types"].push_back(Describe(model, structure));
  }
  made["commands"] = Json::array();
  for (const Command& command : model.commands) {
    made["commands"].push_back(Describe(model, command));
  }
  if (!model.hostWords.empty()) made["host_words"] = model.hostWords;
  return made.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace kivcat
