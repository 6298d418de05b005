// The codec against the C compiler: a program built from the generated header fills each structure
// and prints its bytes; the codec, given the same values, must write the same.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/bounded/pool.h"
#include "platform/catalogue/catalogue_file.h"
#include "platform/catalogue/catalogue_writer.h"
#include "platform/catalogue/param_codec.h"
#include "tests/support/sweep.h"
#include "tests/tools/kivcat_fixture.h"
#include "tests/tools/random_model.h"
#include "tools/kivcat/header_values.h"
#include "tools/kivcat/header_writer.h"

namespace {

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;
using catalogue::Structure;
using kivtest::KivcatFolder;
using Bytes = std::vector<std::uint8_t>;

// A field at the end of a path, in document order, with the value of each of its elements.
struct Leaf {
  std::uint32_t widthBytes;
  bool isArray;
  std::vector<std::uint64_t> values;  // the low widthBytes of each
};

// What goes into one structure, said twice: as values for a tree and as assignments in C.
class Filling {
 public:
  Filling(const Model& model, const Structure& structure, std::mt19937& chance)
      : model_(model), chance_(chance) {
    Fill(structure, "v.");
  }
  const std::vector<Leaf>& Leaves() const { return leaves_; }
  const std::string& Assignments() const { return assignments_; }

 private:
  void Fill(const Structure& structure, const std::string& path) {
    for (const Field& field : structure.fields) {
      if (field.kind == FieldKind::kStructure) {
        for (std::uint32_t i = 0; i < field.count; ++i) {
          const std::string at =
              field.isArray ? field.name + "[" + std::to_string(i) + "]" : field.name;
          Fill(model_.structures[field.reference], path + at + ".");
        }
      } else {
        FillLeaf(field, path + field.name);
      }
    }
  }

  void FillLeaf(const Field& field, const std::string& path) {
    Leaf leaf{field.elementBytes, field.isArray, {}};
    for (std::uint32_t i = 0; i < field.count; ++i) {
      std::array<char, 8> bytes{};
      for (std::uint32_t b = 0; b < field.elementBytes; ++b) {
        bytes[b] = static_cast<char>(chance_());
      }
      const std::uint64_t value = kivcat::LoadScalar(field.scalar, bytes.data());
      assignments_ += "  " + path + (field.isArray ? "[" + std::to_string(i) + "]" : "") + " = " +
                      kivcat::ScalarConstant(field.scalar, value) + ";\n";
      leaf.values.push_back(value & (~std::uint64_t{0} >> (64 - 8 * field.elementBytes)));
    }
    leaves_.push_back(std::move(leaf));
  }

  const Model& model_;
  std::mt19937& chance_;
  std::vector<Leaf> leaves_;
  std::string assignments_;
};

// Walks a tree beside a list of leaves and sets or compares them.
struct LeafWalk {
  const std::vector<Leaf>& leaves;
  bool compare;
  std::size_t next = 0;
  std::size_t different = 0;

  static std::uint32_t Call(CParamNode* node, void* user, std::uint32_t /*depth*/) {
    auto* self = static_cast<LeafWalk*>(user);
    if (node->GetNodeType() != 0 && node->GetNodeType() != 1) return 0;
    if (self->next == self->leaves.size()) return 1;
    const Leaf& leaf = self->leaves[self->next++];
    return leaf.isArray ? self->Array(node, leaf) : self->Single(node, leaf);
  }
  std::uint32_t Single(CParamNode* node, const Leaf& leaf) {
    if (!compare) return node->SetValue(leaf.values[0]);
    std::uint64_t value = 0;
    const std::uint32_t status = node->GetValue(&value);
    if (value != leaf.values[0]) ++different;
    return status;
  }
  std::uint32_t Array(CParamNode* node, const Leaf& leaf) {
    Bytes bytes;
    for (const std::uint64_t value : leaf.values) {
      for (std::uint32_t b = 0; b < leaf.widthBytes; ++b) {
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * b)));
      }
    }
    if (!compare) return node->SetValueBuf(bytes.data(), bytes.size());
    std::uint8_t* buffer = nullptr;
    std::uint64_t length = 0;
    const std::uint32_t status = node->GetValueBuf(&buffer, &length);
    if (status == 0 && Bytes(buffer, buffer + length) != bytes) ++different;
    return status;
  }
};

std::string ProgramText(const Model& model, const std::vector<Filling>& fillings) {
  std::string text = R"(#include "catalogue.h"
#include <stdio.h>
#include <string.h>

static void print(const void* bytes, size_t length) {
  const unsigned char* at = (const unsigned char*)bytes;
  for (size_t i = 0; i < length; ++i) printf("%02x", at[i]);
  printf("\n");
}

)";
  std::size_t filled = 0;
  std::string calls;
  for (const Structure& structure : model.structures) {
    if (structure.fields.empty()) continue;
    std::string upper = structure.name;
    for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    text += "static void print_" + structure.name + "(void) {\n  static kiv_" + structure.name +
            " v;\n  static const kiv_" + structure.name + " d = KIV_" + upper +
            "_DEFAULT;\n  print(&d, KIV_" + upper + "_BYTES);\n" +
            fillings[filled++].Assignments() + "  print(&v, sizeof v);\n}\n";
    calls += "  print_" + structure.name + "();\n";
  }
  return text + "int main(void) {\n" + calls + "  return 0;\n}\n";
}

// The standard output of a shell command, which must end with 0.
std::string OutputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " 2>&1").c_str(), "r"), pclose);
  std::string output;
  std::array<char, 4096> buffer{};
  for (std::size_t n = 0; (n = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;) {
    output.append(buffer.data(), n);
  }
  return output;
}

class CLayout : public testing::Test {
 protected:
  // Every structure of the model that has fields must be some command's request.
  void Check(const Model& model, std::uint32_t seed) {
    std::mt19937 chance(seed);
    std::vector<Filling> fillings;
    std::vector<std::uint32_t> structures;
    for (std::uint32_t i = 0; i < model.structures.size(); ++i) {
      if (model.structures[i].fields.empty()) continue;
      structures.push_back(i);
      fillings.emplace_back(model, model.structures[i], chance);
    }
    std::string header;
    ASSERT_EQ(kivcat::WriteHeader(model, header), "");
    folder_.Write("catalogue.h", header);
    folder_.Write("program.c", ProgramText(model, fillings));
    std::string compiled;
    ASSERT_EQ(catalogue::WriteCatalogue(model, compiled), 0u);
    const QCString path = QCString::FromUtf8(folder_.Write("catalogue.kcat", compiled));
    const std::string program = folder_.File("program");
    ASSERT_EQ(OutputOf("cc -std=c11 -Wall -Wextra -Werror -pedantic -o " + program + " " +
                       folder_.File("program.c")),
              "")
        << header;

    std::istringstream lines(OutputOf(program));
    for (std::size_t i = 0; i < structures.size(); ++i) {
      std::string defaults;
      std::string filled;
      ASSERT_TRUE(std::getline(lines, defaults) && std::getline(lines, filled));
      CheckStructure(model, path, structures[i], fillings[i].Leaves(), defaults, filled);
    }
  }

  void CheckStructure(const Model& model, const QCString& path, std::uint32_t structure,
                      const std::vector<Leaf>& leaves, const std::string& defaults,
                      const std::string& filled) {
    const std::uint32_t id = CommandOf(model, structure);
    SCOPED_TRACE(model.structures[structure].name);
    CParamCodec codec(path.c_str());
    CParamNode tree;
    ASSERT_EQ(codec.QueryDefaultParam(id, CmdIdType::Any, tree), 0u);
    EXPECT_EQ(EncodedHex(codec, id, tree), defaults);
    LeafWalk set{leaves, false};
    EXPECT_EQ(tree.ParseNodes(&LeafWalk::Call, &set, 0), 0u);
    EXPECT_EQ(set.next, leaves.size());
    EXPECT_EQ(EncodedHex(codec, id, tree), filled);

    const Bytes body = FromHex(filled);
    const auto length = static_cast<std::uint32_t>(body.size());
    CParamNode decoded;
    ASSERT_EQ(codec.Decode({id, DecodeDescriptor::kReq, length}, body.data(), decoded,
                           CategoryIdType::Any),
              0u);
    LeafWalk compare{leaves, true};
    EXPECT_EQ(decoded.ParseNodes(&LeafWalk::Call, &compare, 0), 0u);
    EXPECT_EQ(compare.next, leaves.size());
    EXPECT_EQ(compare.different, 0u);
    EXPECT_EQ(EncodedHex(codec, id, decoded), filled);
    for (const std::uint32_t wrong : {0u, length - 1, length + 1, 2 * length}) {
      if (wrong == length) continue;
      const Bytes other(wrong, 0);
      EXPECT_EQ(codec.Decode({id, DecodeDescriptor::kReq, wrong}, other.data(), decoded,
                             CategoryIdType::Any),
                result::kBodySize);
    }
  }

  static std::uint32_t CommandOf(const Model& model, std::uint32_t structure) {
    for (const catalogue::Command& command : model.commands) {
      if (command.request == static_cast<std::int32_t>(structure)) return command.id;
    }
    ADD_FAILURE() << "no command has it";
    return 0;
  }

  static std::string EncodedHex(CParamCodec& codec, std::uint32_t id, const CParamNode& tree) {
    std::uint32_t length = 0;
    std::uint8_t* body = nullptr;
    EXPECT_EQ(codec.Encode(id, tree, &length, &body), 0u);
    std::string text;
    for (std::uint32_t i = 0; body != nullptr && i < length; ++i) {
      text += "0123456789abcdef"[body[i] >> 4];
      text += "0123456789abcdef"[body[i] & 15];
    }
    PoolFree(body);
    return text;
  }

  static Bytes FromHex(const std::string& text) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
      bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
  }

  KivcatFolder folder_;
};

TEST_F(CLayout, EveryStructureOfTheBoardIsAsTheCompilerLaysItOut) {
  Model model;
  ASSERT_EQ(catalogue::ReadCatalogue(kivtest::BoardCompiled(), model), 0u);
  model.commands.clear();
  for (std::uint32_t i = 0; i < model.structures.size(); ++i) {
    catalogue::Command command;
    command.id = i + 1;
    command.name = "command_" + std::to_string(i);
    command.request = static_cast<std::int32_t>(i);
    model.commands.push_back(std::move(command));
  }
  catalogue::Seal(model);
  Check(model, 1);
}

TEST_F(CLayout, RandomStructuresAreAsTheCompilerLaysThemOut) {
  const std::int64_t models = kivtest::SweepCount(200);
  for (std::int64_t seed = 0; seed < models && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Check(kivtest::RandomModel(static_cast<std::uint32_t>(seed)), static_cast<std::uint32_t>(seed));
  }
}

TEST_F(CLayout, HeaderIsCPlusPlusToo) {
  const kivtest::CallResult call =
      kivtest::Kivcat({"header", kivtest::BoardSource(), "-o", folder_.File("catalogue.h")});
  ASSERT_EQ(call.status, 0) << call.errorOutput;
  folder_.Write("program.cpp",
                "#include \"catalogue.h\"\n"
                "#define ONE(name, NAME, id) +1\n"
                "static_assert(0 KIV_COMMANDS(ONE) == KIV_CATALOGUE_COMMAND_COUNT, \"count\");\n"
                "int main() { kiv_cmd_echo_all_req d = KIV_ECHO_ALL_DATA_DEFAULT;"
                " return d.u8_value == 8 ? 0 : 1; }\n");
  EXPECT_EQ(
      OutputOf("c++ -std=c++20 -Wall -Wextra -Werror -o " + folder_.File("program") + " " +
               folder_.File("program.cpp") + " && " + folder_.File("program") + " && echo good"),
      "good\n");
}

}  // namespace
