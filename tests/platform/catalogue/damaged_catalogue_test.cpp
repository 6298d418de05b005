// Catalogue files that are not what they should be: each gives a status at the first call that
// meets the damage, and nothing else.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_file.h"
#include "platform/catalogue/catalogue_schema.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/catalogue/param_codec.h"
#include "platform/catalogue/sqlite_file.h"
#include "tests/platform/catalogue/catalogue_fixture.h"
#include "tests/support/sweep.h"

namespace {

using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Scalar;
using kivtest::ModelMaker;
using kivtest::WidePath;

constexpr std::uint32_t kDamaged = result::kCatalogueDamaged;

// inner { u8 a, u32 b }, outer { inner x, level y }, command 1 with outer as its request.
ModelMaker GoodModel() {
  ModelMaker maker;
  catalogue::Enumeration level{"level", Scalar::kI16, "", {{"low", 1, ""}}};
  maker.Model().enumerations.push_back(std::move(level));
  maker.Structure("inner").Scalar("a", Scalar::kU8).Scalar("b", Scalar::kU32).End();
  maker.Structure("outer").Nested("x", 0).Scalar("y", Scalar::kI16).End();
  maker.Model().structures[1].fields[1].kind = FieldKind::kEnumeration;
  maker.Command(1, "one", 1);
  maker.Command(2, "two", 0);
  return maker;
}

class DamagedCatalogue : public testing::Test {
 protected:
  std::uint32_t Query(const std::string& bytes, std::uint32_t id = 1) {
    kivtest::WriteBytes(Path(), bytes);
    CParamNode root;
    const std::uint32_t status =
        CParamCodec(WidePath(Path()).c_str()).QueryDefaultParam(id, CmdIdType::Any, root);
    if (status != 0) {
      EXPECT_EQ(root.GetFirstChild(), nullptr);
    }
    return status;
  }
  std::uint32_t Enumerate(const std::string& bytes) {
    kivtest::WriteBytes(Path(), bytes);
    QCList<CmdInfo> list;
    CCmdDatabase database(WidePath(Path()));
    const std::uint32_t status = database.EnumCommands(list, 3, 256, 0, 0);
    if (status != 0) {
      EXPECT_EQ(list.GetCount(), 0u);
    }
    return status;
  }
  std::uint32_t ReadWhole(const std::string& bytes) {
    kivtest::WriteBytes(Path(), bytes);
    catalogue::Model model;
    return catalogue::ReadCatalogue(Path(), model);
  }
  std::string Path() const { return folder_.File("c.kcat"); }

  kivtest::TempFolder folder_;
};

TEST_F(DamagedCatalogue, GoodOneIsTaken) {
  const std::string bytes = GoodModel().Bytes();
  EXPECT_EQ(Query(bytes), 0u);
  EXPECT_EQ(Enumerate(bytes), 0u);
  EXPECT_EQ(ReadWhole(bytes), 0u);
}

struct DamageRow {
  const char* name;
  std::function<void(catalogue::Model&)> damage;
};

void PrintTo(const DamageRow& row, std::ostream* stream) { *stream << row.name; }

class DamagedStructure : public DamagedCatalogue, public testing::WithParamInterface<DamageRow> {};

// The writer writes what it is given, so a model whose parts contradict each other becomes such a
// file.
TEST_P(DamagedStructure, GivesItsStatus) {
  ModelMaker maker = GoodModel();
  catalogue::Seal(maker.Model());
  GetParam().damage(maker.Model());
  std::string bytes;
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Query(bytes), kDamaged);
  EXPECT_EQ(ReadWhole(bytes), kDamaged);
  EXPECT_EQ(Enumerate(bytes), 0u);  // which needs no structure
}

INSTANTIATE_TEST_SUITE_P(
    Structures, DamagedStructure,
    testing::Values(
        DamageRow{"offset behind the end",
                  [](catalogue::Model& m) { m.structures[1].fields[1].offsetBytes = 6; }},
        DamageRow{"offset far away",
                  [](catalogue::Model& m) { m.structures[0].fields[1].offsetBytes = 0xFFFFFFFF; }},
        DamageRow{"size too large", [](catalogue::Model& m) { m.structures[1].sizeBytes = 8; }},
        DamageRow{"size too small", [](catalogue::Model& m) { m.structures[1].sizeBytes = 6; }},
        DamageRow{"layout of the other kind",
                  [](catalogue::Model& m) { m.structures[0].natural = true; }},
        DamageRow{"defaults too long",
                  [](catalogue::Model& m) { m.structures[1].defaults.assign(8, 'x'); }},
        DamageRow{"no elements",
                  [](catalogue::Model& m) {
                    m.structures[1].fields[1].isArray = true;
                    m.structures[1].fields[1].count = 0;
                  }},
        DamageRow{"more elements than there is room",
                  [](catalogue::Model& m) {
                    m.structures[1].fields[1].isArray = true;
                    m.structures[1].fields[1].count = 2;
                  }},
        DamageRow{"elements beyond every bound",
                  [](catalogue::Model& m) {
                    m.structures[1].fields[1].isArray = true;
                    m.structures[1].fields[1].count = 0xFFFFFFFF;
                  }},
        DamageRow{"within itself",
                  [](catalogue::Model& m) { m.structures[1].fields[0].reference = 1; }},
        DamageRow{"within one that comes later",
                  [](catalogue::Model& m) { m.structures[1].fields[0].reference = 2; }},
        DamageRow{"within nothing",
                  [](catalogue::Model& m) { m.structures[1].fields[0].reference = 0xFFFFFFFF; }},
        DamageRow{"an enumeration that is not there",
                  [](catalogue::Model& m) { m.structures[1].fields[1].reference = 7; }},
        DamageRow{"an enumeration of characters",
                  [](catalogue::Model& m) { m.enumerations[0].base = Scalar::kChar; }},
        DamageRow{"a structure without fields within", [](catalogue::Model& m) {
                    m.structures[0].fields.clear();
                    m.structures[0].sizeBytes = 0;
                  }}));

// outer { u8 data[2], u8 length, u8 other, i8 third }
class DamagedLength : public DamagedCatalogue, public testing::WithParamInterface<DamageRow> {};

TEST_P(DamagedLength, GivesItsStatus) {
  ModelMaker maker;
  maker.Structure("outer").Scalar("data", Scalar::kU8, 2).Scalar("length", Scalar::kU8);
  maker.Scalar("other", Scalar::kU8).Scalar("third", Scalar::kI8).Length(1, 0).End();
  maker.Command(1, "one", 0);
  catalogue::Seal(maker.Model());
  std::string bytes;
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Query(bytes), 0u);
  EXPECT_EQ(ReadWhole(bytes), 0u);
  GetParam().damage(maker.Model());
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Query(bytes), kDamaged);
  EXPECT_EQ(ReadWhole(bytes), kDamaged);
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, DamagedLength,
    testing::Values(
        DamageRow{"of no field",
                  [](catalogue::Model& m) { m.structures[0].fields[1].lengthOf = 4; }},
        DamageRow{"of a field before the first",
                  [](catalogue::Model& m) { m.structures[0].fields[1].lengthOf = 0xFFFFFFFE; }},
        DamageRow{"of itself", [](catalogue::Model& m) { m.structures[0].fields[1].lengthOf = 1; }},
        DamageRow{"of a single value",
                  [](catalogue::Model& m) { m.structures[0].fields[1].lengthOf = 2; }},
        DamageRow{"two of one array",
                  [](catalogue::Model& m) { m.structures[0].fields[2].lengthOf = 0; }},
        DamageRow{"a signed one", [](catalogue::Model& m) {
                    m.structures[0].fields[1].lengthOf = Field::kNoField;
                    m.structures[0].fields[3].lengthOf = 0;
                  }}));

TEST_F(DamagedCatalogue, CommandWithAStructureThatIsNotThere) {
  ModelMaker maker = GoodModel();
  maker.Structure("gone").Scalar("x", Scalar::kU8).End();
  maker.Command(3, "three", 2);
  catalogue::Seal(maker.Model());
  maker.Model().structures.pop_back();
  std::string bytes;
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Query(bytes, 3), kDamaged);
  EXPECT_EQ(Query(bytes, 1), 0u);
  EXPECT_EQ(ReadWhole(bytes), kDamaged);
}

TEST_F(DamagedCatalogue, CommandsOutOfOrder) {
  ModelMaker maker = GoodModel();
  catalogue::Seal(maker.Model());
  std::swap(maker.Model().commands[0], maker.Model().commands[1]);
  std::string bytes;
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Enumerate(bytes), kDamaged);
  EXPECT_EQ(ReadWhole(bytes), kDamaged);
}

// A chain of structures, each within the next, longer than any that a source may have.
TEST_F(DamagedCatalogue, NestingWithoutEndIsRefusedBeforeItIsFollowed) {
  ModelMaker maker;
  maker.Structure("s0").Scalar("a", Scalar::kU8).End();
  for (std::uint32_t i = 1; i < 20000; ++i) {
    catalogue::Structure next = maker.Model().structures[0];
    next.fields[0].kind = FieldKind::kStructure;
    next.fields[0].reference = i - 1;
    maker.Model().structures.push_back(std::move(next));
  }
  maker.Model().commands.resize(1);
  maker.Model().commands[0].id = 1;
  maker.Model().commands[0].request = 19999;
  std::string bytes;
  ASSERT_EQ(catalogue::WriteCatalogue(maker.Model(), bytes), 0u);
  EXPECT_EQ(Query(bytes), kDamaged);
  EXPECT_EQ(ReadWhole(bytes), kDamaged);
}

// Tables as they should be, but for what `change` does to the statement that makes one.
std::string FileOf(const std::function<std::string(const std::string&, std::string)>& change,
                   const std::string& more = {}) {
  SqliteFile file;
  EXPECT_EQ(file.OpenInMemory(), 0u);
  EXPECT_EQ(
      file.Run(("PRAGMA application_id=" + std::to_string(catalogue::kApplicationId)).c_str()), 0u);
  EXPECT_EQ(file.Run("PRAGMA user_version=1"), 0u);
  for (const catalogue::TableRow& table : catalogue::kTables) {
    const std::string sql = change(table.name, table.sql);
    if (!sql.empty()) {
      EXPECT_EQ(file.Run(sql.c_str()), 0u) << sql;
    }
  }
  EXPECT_EQ(file.Run("INSERT INTO about VALUES('n', '', '0123456789abcdef', 0)"), 0u);
  if (!more.empty()) {
    EXPECT_EQ(file.Run(more.c_str()), 0u) << more;
  }
  std::string bytes;
  EXPECT_EQ(file.Serialize(bytes), 0u);
  return bytes;
}

std::string AsItIs(const std::string& /*name*/, std::string sql) { return sql; }

TEST_F(DamagedCatalogue, TablesMustBeThereAndWrittenExactlySo) {
  EXPECT_EQ(Enumerate(FileOf(AsItIs)), 0u);
  for (const char* name :
       {"enumeration", "field", "combined_text", "host_word", "command_by_id", "command_search"}) {
    EXPECT_EQ(Enumerate(FileOf([&](const std::string& table, std::string sql) {
                return table == name ? std::string() : sql;
              })),
              kDamaged)
        << name;
  }
  EXPECT_EQ(Enumerate(FileOf([](const std::string& table, std::string sql) {
              return table == "host_word"
                         ? "CREATE TABLE host_word(word TEXT, made TEXT AS (upper(word)))"
                         : sql;
            })),
            kDamaged);
  EXPECT_EQ(Enumerate(FileOf([](const std::string& table, std::string sql) {
              return table == "host_word" ? "CREATE VIRTUAL TABLE host_word USING fts5(word)" : sql;
            })),
            kDamaged);
}

TEST_F(DamagedCatalogue, TriggersAndViewsAreRefused) {
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "CREATE VIEW v AS SELECT 1")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs,
                             "CREATE TRIGGER t AFTER INSERT ON host_word BEGIN "
                             "DELETE FROM about; END")),
            kDamaged);
}

TEST_F(DamagedCatalogue, OtherFormatsAreRefused) {
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "PRAGMA user_version=0")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "PRAGMA user_version=3")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "PRAGMA application_id=1")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "DELETE FROM about")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "UPDATE about SET fingerprint='0123'")), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "UPDATE about SET fingerprint='0123456789ABCDEF'")), kDamaged);
}

TEST_F(DamagedCatalogue, VersionTwoHasTheTableOfLengthsExactlySo) {
  const std::string two = "PRAGMA user_version=2;";
  EXPECT_EQ(Enumerate(FileOf(AsItIs, two)), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, two + catalogue::kLengthTable.sql)), 0u);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, two + "CREATE VIRTUAL TABLE field_length USING fts5(array)")),
            kDamaged);
}

TEST_F(DamagedCatalogue, RowsThatContradictEachOtherAreRefused) {
  const auto command = [](const std::string& values) {
    return "INSERT INTO command VALUES(" + values + ", NULL, NULL, NULL, '0123456789abcdef')";
  };
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("1, 5, 'a', '', '', 3"))), 0u);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("2, 5, 'a', '', '', 3"))), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("1, -1, 'a', '', '', 3"))), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("1, 4294967296, 'a', '', '', 3"))), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("1, 5, 'a', '', '', 256"))), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, command("1, 5, 'a', '', '', -1"))), kDamaged);
  EXPECT_EQ(Enumerate(FileOf(AsItIs, "INSERT INTO combined_text VALUES(1, 1, 'x')")), kDamaged);
}

// Whatever bytes are cut off or changed, the answers are statuses.
TEST_F(DamagedCatalogue, TruncatedAndFlippedFilesGiveStatuses) {
  const std::string good = GoodModel().Bytes();
  const auto tryAll = [&](const std::string& bytes) {
    kivtest::WriteBytes(Path(), bytes);
    QCList<CmdInfo> list;
    CCmdDatabase(WidePath(Path())).EnumCommands(list, 3, 256, 0, 0);
    CParamCodec codec(WidePath(Path()).c_str());
    for (const std::uint32_t id : {1u, 2u, 3u}) {
      CParamNode root;
      codec.QueryDefaultParam(id, CmdIdType::Any, root);
    }
    catalogue::Model model;
    catalogue::ReadCatalogue(Path(), model);
  };
  for (std::size_t length = 0; length < good.size(); length += 997) {
    tryAll(good.substr(0, length));
  }
  const std::int64_t flips = kivtest::SweepCount(5000);
  for (std::int64_t i = 0; i < flips; ++i) {
    std::string bytes = good;
    const auto at = static_cast<std::size_t>(i * 7919 % static_cast<std::int64_t>(bytes.size()));
    bytes[at] = static_cast<char>(bytes[at] ^ (1 << (i % 8)));
    tryAll(bytes);
  }
}

}  // namespace
