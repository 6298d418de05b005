// Defaults of a source, written as the bytes of the structure that they stand in.
#include <cstring>

#include "tools/kivcat/source_checker.h"

namespace kivcat {
namespace {

using catalogue::Field;
using catalogue::FieldKind;
using Kind = SourceValue::Kind;

void StoreLittleEndian(std::uint64_t value, std::uint32_t widthBytes, char* bytes) {
  for (std::uint32_t i = 0; i < widthBytes; ++i) {
    bytes[i] = static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
  }
}

class DefaultWriter {
 public:
  DefaultWriter(const catalogue::Model& model, Faults& faults) : model_(model), faults_(faults) {}

  void WriteField(const SourceValue& value, const Field& field, char* bytes) {
    if (!field.isArray) {
      WriteElement(value, field, bytes);
    } else if (value.kind == Kind::kList) {
      WriteList(value, field, bytes);
    } else if (value.kind == Kind::kText && field.kind == FieldKind::kScalar &&
               field.scalar == catalogue::Scalar::kChar) {
      WriteText(value, field, bytes);
    } else {
      faults_.Error(value.place, "the default of the array \"" + field.name +
                                     "\" must be a list, not " + KindText(value.kind));
    }
  }

 private:
  void WriteList(const SourceValue& list, const Field& field, char* bytes) {
    if (list.items.size() > field.count) {
      faults_.Error(list.place, "the default of \"" + field.name + "\" has more than " +
                                    std::to_string(field.count) + " elements");
      return;
    }
    for (std::size_t i = 0; i < list.items.size(); ++i) {
      WriteElement(list.items[i], field, bytes + i * field.elementBytes);
    }
  }

  void WriteText(const SourceValue& value, const Field& field, char* bytes) {
    if (value.text.size() > field.count) {
      faults_.Error(value.place, "the default of \"" + field.name + "\" is longer than " +
                                     std::to_string(field.count) + " bytes");
      return;
    }
    std::memcpy(bytes, value.text.data(), value.text.size());
  }

  void WriteElement(const SourceValue& value, const Field& field, char* bytes) {
    if (field.kind == FieldKind::kStructure) {
      WriteStructure(value, model_.structures[field.reference], bytes);
    } else if (value.kind == Kind::kInteger) {
      WriteInteger(value, field, bytes);
    } else if (value.kind == Kind::kText) {
      WriteNamed(value, field, bytes);
    } else {
      faults_.Error(value.place, "the default of \"" + field.name + "\" must be an integer, not " +
                                     KindText(value.kind));
    }
  }

  void WriteInteger(const SourceValue& value, const Field& field, char* bytes) {
    if (FitsScalar(value, field.scalar)) {
      StoreLittleEndian(value.magnitude, field.elementBytes, bytes);
      return;
    }
    faults_.Error(value.place, "the default of \"" + field.name + "\" does not fit " +
                                   std::string(catalogue::ScalarName(field.scalar)));
  }

  // A text: the name of an enumeration's value, or one character.
  void WriteNamed(const SourceValue& value, const Field& field, char* bytes) {
    if (field.kind == FieldKind::kEnumeration) {
      const catalogue::Enumeration& enumeration = model_.enumerations[field.reference];
      for (const catalogue::EnumerationValue& known : enumeration.values) {
        if (known.name != value.text) continue;
        StoreLittleEndian(known.value, field.elementBytes, bytes);
        return;
      }
      faults_.Error(value.place,
                    "\"" + enumeration.name + "\" has no value \"" + value.text + "\"");
    } else if (field.scalar == catalogue::Scalar::kChar && value.text.size() == 1) {
      *bytes = value.text[0];
    } else if (field.scalar == catalogue::Scalar::kChar) {
      faults_.Error(value.place, "the default of \"" + field.name + "\" must be one byte");
    } else {
      faults_.Error(value.place,
                    "the default of \"" + field.name + "\" must be an integer, not a text");
    }
  }

  void WriteStructure(const SourceValue& value, const catalogue::Structure& structure,
                      char* bytes) {
    if (value.kind != Kind::kObject) {
      faults_.Error(value.place, "the default of a \"" + structure.name +
                                     "\" must be an object, not " + KindText(value.kind));
      return;
    }
    for (const SourceValue& member : value.items) {
      const Field* field = FindField(structure, member.key);
      if (field == nullptr) {
        faults_.Error(member.keyPlace,
                      "\"" + structure.name + "\" has no field \"" + member.key + "\"");
      } else {
        WriteField(member, *field, bytes + field->offsetBytes);
      }
    }
  }

  static const Field* FindField(const catalogue::Structure& structure, std::string_view name) {
    for (const Field& field : structure.fields) {
      if (field.name == name) return &field;
    }
    return nullptr;
  }

  const catalogue::Model& model_;
  Faults& faults_;
};

}  // namespace

void ApplyDefault(const SourceValue& value, const catalogue::Model& model,
                  const catalogue::Field& field, char* bytes, Faults& faults) {
  DefaultWriter(model, faults).WriteField(value, field, bytes);
}

}  // namespace kivcat
