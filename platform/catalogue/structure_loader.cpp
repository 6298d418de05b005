#include "platform/catalogue/structure_loader.h"

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_schema.h"

using catalogue::Enumeration;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;
using catalogue::Scalar;
using catalogue::Structure;

namespace {

constexpr std::uint32_t kDamaged = result::kCatalogueDamaged;
// No honest enumeration has more named values.
constexpr std::size_t kMaxEnumerationValues = 65536;

std::uint32_t ReadVersion(const SqliteFile& file, std::int64_t& version) {
  SqliteStatement statement;
  std::uint32_t status = statement.Prepare(file, "PRAGMA user_version");
  if (status == 0) status = statement.Step();
  if (status == 0) version = statement.Number(0);
  return status == SqliteStatement::kDone ? kDamaged : status;
}

bool ScalarOf(std::string_view name, Scalar& scalar) {
  for (std::uint32_t i = 0; i < catalogue::kScalarCount; ++i) {
    scalar = static_cast<Scalar>(i);
    if (catalogue::ScalarName(scalar) == name) return true;
  }
  return false;
}

}  // namespace

// A field as it stands in the file: what it refers to is a file id yet.
struct StructureLoader::RawField {
  Field field;
  std::int64_t fileId = 0;
  std::int64_t offsetBytes = 0;
};

std::uint32_t StructureLoader::Open(const SqliteFile& file) {
  struct Row {
    SqliteStatement& statement;
    const char* sql;
  };
  const Row rows[] = {
      {structure_, "SELECT name, text, layout, size_bytes, defaults FROM structure WHERE id=?"},
      {fields_,
       "SELECT position, name, text, scalar, enumeration, nested, count, offset_bytes FROM field "
       "WHERE structure=? ORDER BY position"},
      {enumeration_, "SELECT name, base, text FROM enumeration WHERE id=?"},
      {values_,
       "SELECT position, name, value, text FROM enumeration_value WHERE enumeration=? "
       "ORDER BY position"},
  };
  for (const Row& row : rows) {
    const std::uint32_t status = row.statement.Prepare(file, row.sql);
    if (status != 0) return status;
  }
  std::int64_t version = 0;
  const std::uint32_t status = ReadVersion(file, version);
  if (status != 0) return status;
  hasLengths_ = version >= catalogue::kFormatVersionWithLengths;
  if (!hasLengths_) return 0;
  return lengths_.Prepare(
      file, "SELECT position, array FROM field_length WHERE structure=? ORDER BY position");
}

void StructureLoader::Forget() {
  structures_.clear();
  enumerations_.clear();
}

std::uint32_t StructureLoader::ReadHead(std::int64_t fileId, Structure& structure,
                                        std::int64_t& sizeBytes) {
  structure_.BindNumber(0, fileId);
  std::uint32_t status = structure_.Step();
  if (status == 0) {
    structure.name = structure_.Text(0);
    structure.text = structure_.Text(1);
    structure.natural = structure_.Text(2) == "natural";
    sizeBytes = structure_.Number(3);
    structure.defaults = structure_.Bytes(4);
  }
  structure_.Reset();
  return status == SqliteStatement::kDone ? kDamaged : status;
}

std::uint32_t StructureLoader::ReadFields(std::int64_t fileId, std::vector<RawField>& fields) {
  fields_.BindNumber(0, fileId);
  std::uint32_t status = 0;
  while ((status = fields_.Step()) == 0) {
    RawField raw;
    raw.field.name = fields_.Text(1);
    raw.field.text = fields_.Text(2);
    raw.offsetBytes = fields_.Number(7);
    raw.field.isArray = !fields_.IsNull(6);
    const std::int64_t count = raw.field.isArray ? fields_.Number(6) : 1;
    bool good = fields_.Number(0) == static_cast<std::int64_t>(fields.size()) + 1 && count >= 1 &&
                count <= catalogue::kMaxStructureBytes && fields.size() < catalogue::kMaxFields;
    raw.field.count = static_cast<std::uint32_t>(count);
    if (!fields_.IsNull(5)) {
      raw.field.kind = FieldKind::kStructure;
      raw.fileId = fields_.Number(5);
      good = good && raw.fileId >= 1 && raw.fileId < fileId;  // to earlier ones only: no circles
    } else if (!fields_.IsNull(4)) {
      raw.field.kind = FieldKind::kEnumeration;
      raw.fileId = fields_.Number(4);
    } else {
      good = good && ScalarOf(fields_.Text(3), raw.field.scalar);
    }
    if (!good) {
      status = kDamaged;
      break;
    }
    fields.push_back(std::move(raw));
  }
  fields_.Reset();
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t StructureLoader::ReadLengths(std::int64_t fileId, Structure& structure) {
  if (!hasLengths_) return 0;
  const auto count = static_cast<std::int64_t>(structure.fields.size());
  lengths_.BindNumber(0, fileId);
  std::uint32_t status = 0;
  while ((status = lengths_.Step()) == 0) {
    const std::int64_t length = lengths_.Number(0);
    const std::int64_t array = lengths_.Number(1);
    const bool good = length >= 1 && length <= count && array >= 1 && array <= count &&
                      catalogue::SetLengthOf(structure, static_cast<std::uint32_t>(length - 1),
                                             static_cast<std::uint32_t>(array - 1))
                          .empty();
    if (!good) {
      status = kDamaged;
      break;
    }
  }
  lengths_.Reset();
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t StructureLoader::ResolveField(RawField& raw, Model& model) {
  Field& field = raw.field;
  if (field.kind == FieldKind::kScalar) return 0;
  if (field.kind == FieldKind::kEnumeration) {
    const std::uint32_t status = LoadEnumeration(raw.fileId, model, field.reference);
    if (status == 0) field.scalar = model.enumerations[field.reference].base;
    return status;
  }
  // A chain that is too long is refused on the way in, before the calls are as deep as it.
  if (depth_ >= catalogue::kMaxNesting) return kDamaged;
  ++depth_;
  const std::uint32_t status = LoadStructure(raw.fileId, model, field.reference);
  --depth_;
  if (status != 0) return status;
  return model.structures[field.reference].fields.empty() ? kDamaged : 0;
}

std::uint32_t StructureLoader::LoadStructure(std::int64_t fileId, Model& model,
                                             std::uint32_t& index) {
  if (const auto known = structures_.find(fileId); known != structures_.end()) {
    index = known->second;
    return 0;
  }
  Structure structure;
  std::vector<RawField> raws;
  std::int64_t sizeBytes = 0;
  std::uint32_t status = ReadHead(fileId, structure, sizeBytes);
  if (status == 0) status = ReadFields(fileId, raws);
  for (std::size_t i = 0; status == 0 && i < raws.size(); ++i) {
    status = ResolveField(raws[i], model);
    structure.fields.push_back(raws[i].field);
  }
  if (status == 0) status = ReadLengths(fileId, structure);
  if (status != 0) return status;

  index = static_cast<std::uint32_t>(model.structures.size());
  model.structures.push_back(std::move(structure));
  if (!catalogue::LayOut(model, index).empty()) return kDamaged;
  Structure& made = model.structures[index];
  if (made.sizeBytes != sizeBytes || made.defaults.size() > made.sizeBytes) return kDamaged;
  for (std::size_t i = 0; i < raws.size(); ++i) {
    if (made.fields[i].offsetBytes != raws[i].offsetBytes) return kDamaged;
  }
  made.defaults.resize(made.sizeBytes, '\0');
  structures_.emplace(fileId, index);
  return 0;
}

std::uint32_t StructureLoader::ReadEnumerationValues(std::int64_t fileId,
                                                     Enumeration& enumeration) {
  values_.BindNumber(0, fileId);
  std::uint32_t status = 0;
  while ((status = values_.Step()) == 0) {
    if (enumeration.values.size() >= kMaxEnumerationValues) {
      status = kDamaged;
      break;
    }
    enumeration.values.push_back({std::string(values_.Text(1)),
                                  static_cast<std::uint64_t>(values_.Number(2)),
                                  std::string(values_.Text(3))});
  }
  values_.Reset();
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t StructureLoader::LoadEnumeration(std::int64_t fileId, Model& model,
                                               std::uint32_t& index) {
  if (const auto known = enumerations_.find(fileId); known != enumerations_.end()) {
    index = known->second;
    return 0;
  }
  Enumeration enumeration;
  enumeration_.BindNumber(0, fileId);
  std::uint32_t status = enumeration_.Step();
  if (status == 0) {
    enumeration.name = enumeration_.Text(0);
    enumeration.text = enumeration_.Text(2);
    const bool good = ScalarOf(enumeration_.Text(1), enumeration.base);
    status = good && enumeration.base != Scalar::kChar ? 0 : kDamaged;
  } else if (status == SqliteStatement::kDone) {
    status = kDamaged;
  }
  enumeration_.Reset();
  if (status == 0) status = ReadEnumerationValues(fileId, enumeration);
  if (status != 0) return status;
  index = static_cast<std::uint32_t>(model.enumerations.size());
  model.enumerations.push_back(std::move(enumeration));
  enumerations_.emplace(fileId, index);
  return 0;
}
