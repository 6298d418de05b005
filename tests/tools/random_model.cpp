#include "tests/tools/random_model.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace kivtest {
namespace {

using catalogue::Field;
using catalogue::FieldKind;

class ModelByChance {
 public:
  ModelByChance(std::uint32_t seed, bool hasLengths) : chance_(seed), hasLengths_(hasLengths) {
    model_.name = "chance";
  }

  catalogue::Model Make() {
    AddEnumeration();
    const std::uint32_t structures = 2 + Below(6);
    for (std::uint32_t i = 0; i < structures; ++i) AddStructure(i);
    catalogue::Seal(model_);
    return std::move(model_);
  }

 private:
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(chance_() % limit); }

  void AddEnumeration() {
    catalogue::Enumeration enumeration;
    enumeration.name = "choice";
    enumeration.base = static_cast<catalogue::Scalar>(Below(catalogue::kScalarCount - 1));
    enumeration.values = {{"zero", 0, ""}, {"one", 1, "a text"}};
    model_.enumerations.push_back(std::move(enumeration));
  }

  void AddStructure(std::uint32_t index) {
    catalogue::Structure structure;
    structure.name = "type_" + std::to_string(index);
    structure.natural = Below(2) == 0;
    const std::uint32_t fields = 1 + Below(8);
    for (std::uint32_t i = 0; i < fields; ++i) structure.fields.push_back(MakeField(i, index));
    if (hasLengths_) AddLengths(structure);
    model_.structures.push_back(std::move(structure));
    EXPECT_EQ(catalogue::LayOut(model_, index), "");
    FillDefaults(model_.structures[index]);

    catalogue::Command command;
    command.id = index + 1;
    command.name = "command_" + std::to_string(index);
    command.request = static_cast<std::int32_t>(index);
    model_.commands.push_back(std::move(command));
  }

  // Up to three pairs behind the other fields, the array first or last.
  static void AddLength(catalogue::Structure& structure, Field array, Field length,
                        bool arrayFirst) {
    const auto first = static_cast<std::uint32_t>(structure.fields.size());
    structure.fields.push_back(arrayFirst ? array : length);
    structure.fields.push_back(arrayFirst ? length : array);
    const std::uint32_t last = first + 1;
    EXPECT_EQ(
        catalogue::SetLengthOf(structure, arrayFirst ? last : first, arrayFirst ? first : last),
        "");
  }
  void AddLengths(catalogue::Structure& structure) {
    using catalogue::Scalar;
    constexpr Scalar kBytes[] = {Scalar::kU8, Scalar::kI8, Scalar::kChar};
    constexpr Scalar kWidths[] = {Scalar::kU8, Scalar::kU16, Scalar::kU32, Scalar::kU64};
    const std::uint32_t pairs = Below(4);
    for (std::uint32_t i = 0; i < pairs; ++i) {
      Field array;
      array.name = "bytes_" + std::to_string(i);
      array.scalar = kBytes[Below(3)];
      array.isArray = true;
      array.count = 1 + Below(255);
      Field length;
      length.name = "length_" + std::to_string(i);
      length.scalar = kWidths[Below(4)];
      AddLength(structure, array, length, Below(2) == 0);
    }
  }

  Field MakeField(std::uint32_t number, std::uint32_t structuresBefore) {
    Field field;
    field.name = "field_" + std::to_string(number);
    field.isArray = Below(3) == 0;
    field.count = field.isArray ? 1 + Below(5) : 1;
    if (structuresBefore != 0 && Below(3) == 0) {
      field.kind = FieldKind::kStructure;
      field.reference = Below(structuresBefore);
    } else if (Below(6) == 0) {
      field.kind = FieldKind::kEnumeration;
      field.scalar = model_.enumerations[0].base;
    } else {
      field.scalar = static_cast<catalogue::Scalar>(Below(catalogue::kScalarCount));
    }
    return field;
  }

  // Any bytes, but only where a field is: gaps stay zero.
  void FillDefaults(catalogue::Structure& structure) {
    structure.defaults.assign(structure.sizeBytes, '\0');
    FillAt(structure, 0, structure.defaults);
  }
  void FillAt(const catalogue::Structure& structure, std::size_t offset, std::string& bytes) {
    for (const Field& field : structure.fields) {
      for (std::uint32_t i = 0; i < field.count; ++i) {
        const std::size_t at = offset + field.offsetBytes + std::size_t{i} * field.elementBytes;
        if (field.kind == FieldKind::kStructure) {
          FillAt(model_.structures[field.reference], at, bytes);
        } else if (Below(3) != 0) {
          for (std::uint32_t b = 0; b < field.elementBytes; ++b) {
            bytes[at + b] = static_cast<char>(Below(256));
          }
        }
      }
    }
  }

  std::mt19937 chance_;
  bool hasLengths_;
  catalogue::Model model_;
};

}  // namespace

catalogue::Model RandomModel(std::uint32_t seed) { return ModelByChance(seed, false).Make(); }
catalogue::Model RandomModelWithLengths(std::uint32_t seed) {
  return ModelByChance(seed, true).Make();
}

}  // namespace kivtest
