// A compiled catalogue from anywhere: whatever stands in the file, opening, listing, encoding and
// decoding end with a status. An input is either a whole file or, since a file that is wrong
// everywhere is refused at once, a list of changes to a good one: three bytes of offset and the new
// byte.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/bounded/pool.h"
#include "platform/catalogue/catalogue_file.h"
#include "platform/catalogue/catalogue_writer.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/param_codec.h"

namespace {

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;

void AddStructure(Model& model, const char* name, bool natural, std::vector<Field> fields) {
  catalogue::Structure structure;
  structure.name = name;
  structure.natural = natural;
  structure.fields = std::move(fields);
  if (structure.fields.size() > 3 && !catalogue::SetLengthOf(structure, 2, 3).empty()) std::abort();
  model.structures.push_back(std::move(structure));
  const auto index = static_cast<std::uint32_t>(model.structures.size() - 1);
  if (!catalogue::LayOut(model, index).empty()) std::abort();
  model.structures[index].defaults.assign(model.structures[index].sizeBytes, '\x01');
}

Field MakeField(const char* name, FieldKind kind, std::uint32_t reference, std::uint32_t count) {
  Field field;
  field.name = name;
  field.kind = kind;
  field.reference = reference;
  field.scalar = catalogue::Scalar::kI16;
  field.isArray = count != 0;
  field.count = count != 0 ? count : 1;
  return field;
}

Field MakeByteField(const char* name, std::uint32_t count) {
  Field field = MakeField(name, FieldKind::kScalar, 0, count);
  field.scalar = catalogue::Scalar::kU8;
  return field;
}

std::string GoodFile() {
  Model model;
  model.name = "fuzz";
  model.enumerations.push_back({"level", catalogue::Scalar::kI16, "", {{"low", 1, ""}}});
  AddStructure(model, "point", true,
               {MakeField("x", FieldKind::kScalar, 0, 0),
                MakeField("level", FieldKind::kEnumeration, 0, 0)});
  AddStructure(model, "outer", false,
               {MakeField("list", FieldKind::kScalar, 0, 3),
                MakeField("points", FieldKind::kStructure, 0, 2), MakeByteField("length", 0),
                MakeByteField("bytes", 5)});
  for (std::uint32_t id = 0; id < 4; ++id) {
    catalogue::Command command;
    command.id = id;
    command.name = "command" + std::to_string(id);
    command.request = 1;
    command.confirmation = 0;
    command.combined = catalogue::Combined::kListed;
    command.combinedTexts = {"1"};
    model.commands.push_back(std::move(command));
  }
  model.hostWords = {"dir"};
  catalogue::Seal(model);
  std::string bytes;
  if (catalogue::WriteCatalogue(model, bytes) != 0) std::abort();
  return bytes;
}

std::string FileOf(const std::uint8_t* data, std::size_t lengthBytes) {
  static const std::string good = GoodFile();
  const std::string_view input(reinterpret_cast<const char*>(data), lengthBytes);
  if (input.starts_with("SQLite format 3")) return std::string(input);
  std::string file = good;
  for (std::size_t i = 0; i + 4 <= lengthBytes; i += 4) {
    const std::size_t offset = data[i] | data[i + 1] << 8 | data[i + 2] << 16;
    file[offset % file.size()] = static_cast<char>(data[i + 3]);
  }
  return file;
}

// One file, removed when the process ends.
class ScratchFile {
 public:
  ScratchFile()
      : path_((std::filesystem::temp_directory_path() /
               ("kiv_catalogue_fuzz_" + std::to_string(getpid()) + ".kcat"))
                  .string()) {}
  ~ScratchFile() { std::filesystem::remove(path_); }
  const std::string& Write(const std::string& bytes) {
    // A new file each time: rewriting one in place waits for the disk on some file systems.
    std::filesystem::remove(path_);
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
    return path_;
  }

 private:
  std::string path_;
};

// Bytes set as a block may bring their number into another field.
std::uint32_t SetBytes(CParamNode* node, void* /*user*/, std::uint32_t /*depth*/) {
  static const std::vector<std::uint8_t> bytes(64, 7);
  const std::uint32_t length = node->GetSizeInStruct() / 2;
  if (length <= bytes.size()) node->SetValueBuf(bytes.data(), length);
  return 0;
}

void Exercise(CParamCodec& codec, std::uint32_t id) {
  CParamNode root;
  if (codec.QueryDefaultParam(id, CmdIdType::Any, root) != 0) return;
  root.ParseNodes(&SetBytes, nullptr, 0);
  std::uint32_t lengthBytes = 0;
  std::uint8_t* body = nullptr;
  if (codec.Encode(id, root, &lengthBytes, &body) != 0) std::abort();
  CParamNode copy;
  const DecodeDescriptor descriptor{id, DecodeDescriptor::kReq, lengthBytes};
  if (codec.Decode(descriptor, body, copy, CategoryIdType::Any) != 0) std::abort();
  PoolFree(body);
  CParamNode reply;
  const std::vector<std::uint8_t> zeros(64);
  for (std::uint32_t length = 0; length <= zeros.size(); length += 2) {
    codec.Decode({id, DecodeDescriptor::kCnf, length}, zeros.data(), reply, CategoryIdType::Any);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t lengthBytes) {
  static ScratchFile scratch;
  const std::string& path = scratch.Write(FileOf(data, lengthBytes));
  const QCString widePath = QCString::FromUtf8(path);
  CCmdDatabase database(widePath);
  QCList<CmdInfo> list;
  database.EnumCommands(list, 3, 256, 0, 0);
  database.IsCmdIdCombinedInWhiteList(L"0x1", L"1");
  database.VerifyDosCommand(L"dir");
  CParamCodec codec(widePath.c_str());
  for (std::uint32_t id = 0; id < 5; ++id) Exercise(codec, id);
  for (std::size_t i = 0; i < list.GetCount() && i < 16; ++i) Exercise(codec, list[i].GetId());
  Model model;
  catalogue::ReadCatalogue(path, model);
  return 0;
}
