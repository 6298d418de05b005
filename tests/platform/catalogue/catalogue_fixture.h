// Catalogues for tests: described in a few lines, written to a folder that goes away with the test.
//
// Threads: one. Owns its folder. Errors: a failure to write fails the test.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/catalogue_writer.h"
#include "platform/text/qc_string.h"

namespace kivtest {

class TempFolder {
 public:
  TempFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "kiv_catalogue_XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string File(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  ASSERT_TRUE(stream.flush().good()) << path;
}

inline std::string ReadBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// A model that grows by one line a thing. Structures are laid out as they are added.
class ModelMaker {
 public:
  ModelMaker() { model_.name = "test"; }

  // The following AddField calls are its fields; EndStructure lays it out.
  ModelMaker& Structure(const std::string& name, bool natural = false) {
    catalogue::Structure structure;
    structure.name = name;
    structure.natural = natural;
    model_.structures.push_back(std::move(structure));
    return *this;
  }
  ModelMaker& Scalar(const std::string& name, catalogue::Scalar scalar, std::uint32_t count = 0) {
    catalogue::Field field;
    field.scalar = scalar;
    return Add(name, std::move(field), count);
  }
  ModelMaker& Nested(const std::string& name, std::uint32_t structure, std::uint32_t count = 0) {
    catalogue::Field field;
    field.kind = catalogue::FieldKind::kStructure;
    field.reference = structure;
    return Add(name, std::move(field), count);
  }
  // The field `length` of the structure carries the used bytes of its array `array`.
  ModelMaker& Length(std::uint32_t length, std::uint32_t array) {
    EXPECT_EQ(catalogue::SetLengthOf(model_.structures.back(), length, array), "");
    return *this;
  }
  // `defaults` may be shorter than the structure.
  ModelMaker& End(const std::string& defaults = {}) {
    const auto index = static_cast<std::uint32_t>(model_.structures.size() - 1);
    EXPECT_EQ(catalogue::LayOut(model_, index), "");
    catalogue::Structure& structure = model_.structures[index];
    structure.defaults = defaults;
    structure.defaults.resize(structure.sizeBytes, '\0');
    return *this;
  }
  catalogue::Command& Command(std::uint32_t id, const std::string& name, std::int32_t request = -1,
                              std::int32_t confirmation = -1, std::int32_t indication = -1) {
    catalogue::Command command;
    command.id = id;
    command.name = name;
    command.text = "text of " + name;
    command.group = "group";
    command.request = request;
    command.confirmation = confirmation;
    command.indication = indication;
    model_.commands.push_back(std::move(command));
    return model_.commands.back();
  }

  catalogue::Model& Model() { return model_; }

  std::string Bytes() {
    catalogue::Seal(model_);
    std::string bytes;
    EXPECT_EQ(catalogue::WriteCatalogue(model_, bytes), 0u);
    return bytes;
  }

 private:
  ModelMaker& Add(const std::string& name, catalogue::Field field, std::uint32_t count) {
    field.name = name;
    field.isArray = count != 0;
    field.count = count != 0 ? count : 1;
    model_.structures.back().fields.push_back(std::move(field));
    return *this;
  }

  catalogue::Model model_;
};

inline QCString WidePath(const std::string& path) { return QCString::FromUtf8(path); }

}  // namespace kivtest
