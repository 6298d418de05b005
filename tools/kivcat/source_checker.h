// From the values of a catalogue source to the catalogue they describe, with every fault told at
// the place where it stands.
//
// Threads: any. Owns nothing. Errors: told to `faults`.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "platform/catalogue/catalogue_model.h"
#include "tools/kivcat/faults.h"
#include "tools/kivcat/object_reader.h"
#include "tools/kivcat/source_value.h"

namespace kivcat {

// Reads the JSON and checks it. The model is complete (laid out and sealed) when the answer is
// true.
bool LoadSource(std::string_view json, catalogue::Model& model, Faults& faults);

// The names that a field's type may have, beside those of the scalars.
struct TypeNames {
  std::map<std::string, std::uint32_t, std::less<>> enumerations;  // name to index in the model
  std::map<std::string, std::uint32_t, std::less<>> structures;

  bool Has(std::string_view name) const {
    return enumerations.contains(name) || structures.contains(name);
  }
};

// The scalar of that name.
bool FindScalar(std::string_view name, catalogue::Scalar& scalar) noexcept;
// Whether the integer lies in the scalar's range.
bool FitsScalar(const SourceValue& integer, catalogue::Scalar scalar) noexcept;

// The parts of LoadSource, each for one list of the source.
void ReadEnumerations(const SourceValue& list, catalogue::Model& model, TypeNames& names,
                      Faults& faults);
void ReadStructures(const SourceValue& list, bool naturalByDefault, catalogue::Model& model,
                    TypeNames& names, Faults& faults);
void ReadCommands(const SourceValue& list, catalogue::Model& model, const TypeNames& names,
                  Faults& faults);
// "packed" or "natural" under "layout".
bool TakeNatural(ObjectReader& reader, bool whenLeftOut, Faults& faults);

// Writes a default into `bytes`, which has the field's size and holds what stands there without it.
void ApplyDefault(const SourceValue& value, const catalogue::Model& model,
                  const catalogue::Field& field, char* bytes, Faults& faults);

}  // namespace kivcat
