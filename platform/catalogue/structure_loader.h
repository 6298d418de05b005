// StructureLoader: reads enumerations and structures of a compiled catalogue into a model, each
// with all that it refers to. What it reads is checked against the layout worked out anew, so that
// a damaged file cannot place a field outside its structure.
//
// Threads: one at a time. Borrows the file, which must live longer.
// Errors: statuses of result_codes.h; the model may then hold a part. Throws std::bad_alloc only.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/sqlite_file.h"

// Reads structures out of a compiled catalogue and refuses what does not fit together.
class StructureLoader {
 public:
  // Prepares its statements.
  std::uint32_t Open(const SqliteFile& file);
  // Adds the structure with this id of the file, once per model, and answers its index in the
  // model.
  std::uint32_t LoadStructure(std::int64_t fileId, catalogue::Model& model, std::uint32_t& index);
  std::uint32_t LoadEnumeration(std::int64_t fileId, catalogue::Model& model, std::uint32_t& index);
  // Before another model is filled.
  void Forget();

 private:
  struct RawField;
  std::uint32_t ReadHead(std::int64_t fileId, catalogue::Structure& structure,
                         std::int64_t& sizeBytes);
  std::uint32_t ReadFields(std::int64_t fileId, std::vector<RawField>& fields);
  std::uint32_t ReadLengths(std::int64_t fileId, catalogue::Structure& structure);
  std::uint32_t ResolveField(RawField& raw, catalogue::Model& model);
  std::uint32_t ReadEnumerationValues(std::int64_t fileId, catalogue::Enumeration& enumeration);

  SqliteStatement structure_;
  SqliteStatement fields_;
  SqliteStatement lengths_;
  bool hasLengths_ = false;  // whether the file is of the version that has them
  SqliteStatement enumeration_;
  SqliteStatement values_;
  std::map<std::int64_t, std::uint32_t> structures_;    // file id to index in the model
  std::map<std::int64_t, std::uint32_t> enumerations_;  // likewise
  std::uint32_t depth_ = 0;                             // of structures being loaded within others
};
