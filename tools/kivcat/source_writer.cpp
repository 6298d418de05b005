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

// Defaults as a source says them: only what differs from the structure's own, or from zero.
class DefaultReader {
 public:
  explicit DefaultReader(const catalogue::Model& model) : model_(model) {}

  // Null when the field is at its default anyway. `bytes` is the whole field.
  Json ReadField(const Field& field, const char* bytes) const {
    if (!field.isArray) return ReadElement(field, bytes, false);
    std::size_t used = field.count;
    while (used > 0 &&
           ReadElement(field, bytes + (used - 1) * field.elementBytes, false).is_null()) {
      --used;
    }
    if (used == 0) return nullptr;
    if (field.kind == FieldKind::kScalar && field.scalar == Scalar::kChar &&
        IsUtf8({bytes, used})) {
      return std::string(bytes, used);
    }
    Json list = Json::array();
    for (std::size_t i = 0; i < used; ++i) {
      list.push_back(ReadElement(field, bytes + i * field.elementBytes, true));
    }
    return list;
  }

 private:
  // With `always` an element at its default is written, too: it holds a place in a list.
  Json ReadElement(const Field& field, const char* bytes, bool always) const {
    if (field.kind == FieldKind::kStructure) {
      return ReadStructure(model_.structures[field.reference], bytes, always);
    }
    const std::uint64_t value = LoadScalar(field.scalar, bytes);
    if (value == 0 && !always) return nullptr;
    if (field.kind == FieldKind::kEnumeration) {
      for (const catalogue::EnumerationValue& known : model_.enumerations[field.reference].values) {
        if (known.value == value) return known.name;
      }
    }
    return Integer(field.scalar, value);
  }

  Json ReadStructure(const Structure& structure, const char* bytes, bool always) const {
    Json object = Json::object();
    for (const Field& field : structure.fields) {
      const char* own = structure.defaults.data() + field.offsetBytes;
      const char* here = bytes + field.offsetBytes;
      if (std::equal(here, here + field.SizeBytes(), own)) continue;
      object[field.name] = Whole(field, here);
    }
    return object.empty() && !always ? Json(nullptr) : object;
  }

  // Every element, since a list that ends early would leave the structure's own values behind it.
  Json Whole(const Field& field, const char* bytes) const {
    if (!field.isArray) return ReadElement(field, bytes, true);
    Json list = Json::array();
    for (std::uint32_t i = 0; i < field.count; ++i) {
      list.push_back(ReadElement(field, bytes + std::size_t{i} * field.elementBytes, true));
    }
    return list;
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
    Json value = defaults.ReadField(field, structure.defaults.data() + field.offsetBytes);
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
