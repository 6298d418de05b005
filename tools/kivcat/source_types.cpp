// Enumerations and structures of a source.
#include <algorithm>
#include <array>
#include <set>

#include "tools/kivcat/source_checker.h"

namespace kivcat {
namespace {

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Structure;
using Need = ObjectReader::Need;
using Kind = SourceValue::Kind;

// Words of C and C++, which the generated header cannot use as names of fields. In order.
constexpr std::array<std::string_view, 93> kLanguageWords{"alignas",
                                                          "alignof",
                                                          "and",
                                                          "and_eq",
                                                          "asm",
                                                          "auto",
                                                          "bitand",
                                                          "bitor",
                                                          "bool",
                                                          "break",
                                                          "case",
                                                          "catch",
                                                          "char",
                                                          "char16_t",
                                                          "char32_t",
                                                          "char8_t",
                                                          "class",
                                                          "co_await",
                                                          "co_return",
                                                          "co_yield",
                                                          "compl",
                                                          "concept",
                                                          "const",
                                                          "const_cast",
                                                          "consteval",
                                                          "constexpr",
                                                          "constinit",
                                                          "continue",
                                                          "decltype",
                                                          "default",
                                                          "delete",
                                                          "do",
                                                          "double",
                                                          "dynamic_cast",
                                                          "else",
                                                          "enum",
                                                          "explicit",
                                                          "export",
                                                          "extern",
                                                          "false",
                                                          "float",
                                                          "for",
                                                          "friend",
                                                          "goto",
                                                          "if",
                                                          "inline",
                                                          "int",
                                                          "long",
                                                          "mutable",
                                                          "namespace",
                                                          "new",
                                                          "noexcept",
                                                          "not",
                                                          "not_eq",
                                                          "nullptr",
                                                          "operator",
                                                          "or",
                                                          "or_eq",
                                                          "private",
                                                          "protected",
                                                          "public",
                                                          "register",
                                                          "reinterpret_cast",
                                                          "requires",
                                                          "restrict",
                                                          "return",
                                                          "short",
                                                          "signed",
                                                          "sizeof",
                                                          "static",
                                                          "static_assert",
                                                          "static_cast",
                                                          "struct",
                                                          "switch",
                                                          "template",
                                                          "this",
                                                          "thread_local",
                                                          "throw",
                                                          "true",
                                                          "try",
                                                          "typedef",
                                                          "typeid",
                                                          "typename",
                                                          "union",
                                                          "unsigned",
                                                          "using",
                                                          "virtual",
                                                          "void",
                                                          "volatile",
                                                          "wchar_t",
                                                          "while",
                                                          "xor",
                                                          "xor_eq"};

// Tells of a name that a scalar or an earlier type has.
bool IsNewTypeName(const SourceValue& value, const std::string& name, const TypeNames& names,
                   Faults& faults) {
  if (name.empty()) return false;
  catalogue::Scalar scalar;
  if (!FindScalar(name, scalar) && !names.Has(name)) return true;
  faults.Error(value.place, "there is a type \"" + name + "\" already");
  return false;
}

void ReadEnumerationValue(const SourceValue& value, catalogue::Enumeration& enumeration,
                          std::set<std::string>& seen, Faults& faults) {
  ObjectReader reader(value, "a value of an enumeration", faults);
  catalogue::EnumerationValue made;
  made.name = reader.TakeIdentifier("name", catalogue::kMaxIdentifierChars);
  if (!made.name.empty() && !seen.insert(made.name).second) {
    faults.Error(value.place, "the value \"" + made.name + "\" stands twice in this enumeration");
  }
  if (const auto* number = reader.Take("value", Kind::kInteger, Need::kRequired)) {
    made.value = number->magnitude;
    if (!FitsScalar(*number, enumeration.base)) {
      faults.Error(number->place, "the value does not fit " +
                                      std::string(catalogue::ScalarName(enumeration.base)));
    }
  }
  made.text = reader.TakeText("text", Need::kOptional);
  reader.Finish();
  enumeration.values.push_back(std::move(made));
}

void ReadEnumeration(const SourceValue& value, catalogue::Model& model, TypeNames& names,
                     Faults& faults) {
  ObjectReader reader(value, "an enumeration", faults);
  if (!reader.IsObject()) return;
  catalogue::Enumeration made;
  made.name = reader.TakeIdentifier("name", catalogue::kMaxIdentifierChars);
  if (const auto* base = reader.Take("base", Kind::kText, Need::kRequired)) {
    if (!FindScalar(base->text, made.base) || made.base == catalogue::Scalar::kChar) {
      faults.Error(base->place, "\"base\" must be one of u8 u16 u32 u64 i8 i16 i32 i64");
      made.base = catalogue::Scalar::kI64;
    }
  }
  made.text = reader.TakeText("text", Need::kOptional);
  if (const auto* list = reader.Take("values", Kind::kList, Need::kRequired)) {
    std::set<std::string> seen;
    for (const SourceValue& item : list->items) ReadEnumerationValue(item, made, seen, faults);
  }
  reader.Finish();
  if (!IsNewTypeName(value, made.name, names, faults)) return;
  names.enumerations.emplace(made.name, static_cast<std::uint32_t>(model.enumerations.size()));
  model.enumerations.push_back(std::move(made));
}

// Reads the structures one by one; each is laid out and gets its defaults before the next is read.
class StructureReader {
 public:
  StructureReader(catalogue::Model& model, TypeNames& names, Faults& faults)
      : model_(model), names_(names), faults_(faults) {}

  void Read(const SourceValue& value, bool naturalByDefault) {
    ObjectReader reader(value, "a type", faults_);
    if (!reader.IsObject()) return;
    Structure made;
    made.name = reader.TakeIdentifier("name", catalogue::kMaxIdentifierChars);
    made.text = reader.TakeText("text", Need::kOptional);
    made.natural = TakeNatural(reader, naturalByDefault, faults_);
    const SourceValue* fields = reader.Take("fields", Kind::kList, Need::kRequired);
    reader.Finish();
    const std::size_t errorsBefore = faults_.ErrorCount();
    std::vector<const SourceValue*> defaults;
    std::vector<LengthOf> lengths;
    if (fields != nullptr) ReadFields(*fields, made, defaults, lengths);
    if (faults_.ErrorCount() == errorsBefore) SetLengths(lengths, made);
    if (!IsNewTypeName(value, made.name, names_, faults_)) return;
    if (faults_.ErrorCount() != errorsBefore) {
      // Kept as a name, so that its users are not told of a type that is there.
      made.fields.clear();
      defaults.clear();
      broken_.insert(made.name);
    }
    Add(value, std::move(made), defaults);
  }

 private:
  // The array may stand behind the field that carries its length, so the name is looked up when
  // all fields are known.
  struct LengthOf {
    std::uint32_t field;      // index in the structure
    const SourceValue* name;  // of the array
  };

  void ReadFields(const SourceValue& list, Structure& made,
                  std::vector<const SourceValue*>& defaults, std::vector<LengthOf>& lengths) {
    std::set<std::string> seen;
    for (const SourceValue& item : list.items) {
      ObjectReader reader(item, "a field", faults_);
      if (!reader.IsObject()) continue;
      Field field;
      field.name = reader.TakeIdentifier("name", catalogue::kMaxIdentifierChars);
      CheckFieldName(item, field.name, seen);
      field.text = reader.TakeText("text", Need::kOptional);
      TakeType(reader, field);
      field.isArray = reader.Take("count", Need::kOptional) != nullptr;
      if (field.isArray) {
        field.count = static_cast<std::uint32_t>(
            reader.TakeNumber("count", 1, catalogue::kMaxStructureBytes, Need::kRequired));
      }
      defaults.push_back(reader.Take("default", Need::kOptional));
      if (const auto* array = reader.Take("length_of", Kind::kText, Need::kOptional)) {
        lengths.push_back({static_cast<std::uint32_t>(made.fields.size()), array});
      }
      reader.Finish();
      made.fields.push_back(std::move(field));
    }
  }

  void SetLengths(const std::vector<LengthOf>& lengths, Structure& made) {
    for (const LengthOf& one : lengths) {
      std::uint32_t array = 0;
      while (array < made.fields.size() && made.fields[array].name != one.name->text) ++array;
      const std::string reason = array < made.fields.size()
                                     ? catalogue::SetLengthOf(made, one.field, array)
                                     : "this type has no field \"" + one.name->text + "\"";
      if (!reason.empty()) faults_.Error(one.name->place, reason);
    }
  }

  void CheckFieldName(const SourceValue& item, const std::string& name,
                      std::set<std::string>& seen) {
    if (name.empty()) return;
    if (std::binary_search(kLanguageWords.begin(), kLanguageWords.end(), name)) {
      faults_.Error(item.place, "a field cannot be called \"" + name + "\", which is a word of C");
    }
    if (!seen.insert(name).second) {
      faults_.Error(item.place, "the field \"" + name + "\" stands twice in this type");
    }
  }

  void TakeType(ObjectReader& reader, Field& field) {
    const SourceValue* type = reader.Take("type", Kind::kText, Need::kRequired);
    if (type == nullptr || FindScalar(type->text, field.scalar)) return;
    if (const auto found = names_.enumerations.find(type->text);
        found != names_.enumerations.end()) {
      field.kind = FieldKind::kEnumeration;
      field.reference = found->second;
      field.scalar = model_.enumerations[field.reference].base;
      return;
    }
    const auto found = names_.structures.find(type->text);
    if (found == names_.structures.end()) {
      faults_.Error(type->place, "there is no type \"" + type->text + "\" before this one");
      return;
    }
    field.kind = FieldKind::kStructure;
    field.reference = found->second;
    if (model_.structures[field.reference].fields.empty() && !broken_.contains(type->text)) {
      faults_.Error(type->place, "\"" + type->text + "\" has no fields, so it cannot be one");
    }
  }

  void Add(const SourceValue& value, Structure made,
           const std::vector<const SourceValue*>& defaults) {
    const auto index = static_cast<std::uint32_t>(model_.structures.size());
    names_.structures.emplace(made.name, index);
    model_.structures.push_back(std::move(made));
    const std::string reason = catalogue::LayOut(model_, index);
    Structure& structure = model_.structures[index];
    if (!reason.empty()) {
      faults_.Error(value.place, "the type \"" + structure.name + "\" " + reason);
      broken_.insert(structure.name);
      structure.fields.clear();
      catalogue::LayOut(model_, index);
      return;
    }
    structure.defaults.assign(structure.sizeBytes, '\0');
    for (std::size_t i = 0; i < structure.fields.size(); ++i) {
      FillDefault(structure.fields[i], defaults[i], structure.defaults);
    }
  }

  // First what the nested structure says of itself, then what the field says.
  void FillDefault(const Field& field, const SourceValue* value, std::string& image) {
    char* bytes = image.data() + field.offsetBytes;
    if (field.kind == FieldKind::kStructure) {
      const std::string& inner = model_.structures[field.reference].defaults;
      for (std::uint32_t i = 0; i < field.count; ++i) {
        std::copy(inner.begin(), inner.end(), bytes + std::size_t{i} * inner.size());
      }
    }
    if (value != nullptr) ApplyDefault(*value, model_, field, bytes, faults_);
  }

  catalogue::Model& model_;
  TypeNames& names_;
  Faults& faults_;
  std::set<std::string, std::less<>> broken_;
};

}  // namespace

void ReadEnumerations(const SourceValue& list, catalogue::Model& model, TypeNames& names,
                      Faults& faults) {
  for (const SourceValue& item : list.items) ReadEnumeration(item, model, names, faults);
}

void ReadStructures(const SourceValue& list, bool naturalByDefault, catalogue::Model& model,
                    TypeNames& names, Faults& faults) {
  StructureReader reader(model, names, faults);
  for (const SourceValue& item : list.items) reader.Read(item, naturalByDefault);
}

}  // namespace kivcat
