#include "platform/catalogue/catalogue_file.h"

#include <cerrno>
#include <new>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_schema.h"
#include "platform/catalogue/catalogue_writer.h"
#include "platform/catalogue/structure_loader.h"
#include "platform/os/file_stamp.h"

namespace catalogue {
namespace {

constexpr std::uint32_t kDamaged = result::kCatalogueDamaged;

std::uint32_t StatusOfSystem(int error) {
  switch (error) {
    case 0:
      return result::kOk;
    case ENOENT:
    case ENOTDIR:
      return result::kNoFile;
    case ENOMEM:
      return result::kNoMemory;
    default:
      return result::kFileUnusable;
  }
}

// The first row of a statement without parameters, as a number.
std::uint32_t ReadNumber(const SqliteFile& file, const char* sql, std::int64_t& number) {
  SqliteStatement statement;
  std::uint32_t status = statement.Prepare(file, sql);
  if (status == 0) status = statement.Step();
  if (status == 0) number = statement.Number(0);
  return status == SqliteStatement::kDone ? kDamaged : status;
}

std::uint32_t CheckTable(SqliteStatement& table, const TableRow& row) {
  table.BindText(0, row.name);
  std::uint32_t status = table.Step();
  if (status == 0 && table.Text(0) != row.sql) status = kDamaged;
  if (status == 0 && table.Step() != SqliteStatement::kDone) status = kDamaged;
  table.Reset();
  return status == SqliteStatement::kDone ? kDamaged : status;
}

// Every table is there with our own text, and nothing runs by itself.
std::uint32_t CheckTables(const SqliteFile& file, std::int64_t version) {
  std::int64_t active = 0;
  std::uint32_t status = ReadNumber(
      file, "SELECT count(*) FROM sqlite_schema WHERE type IN ('trigger', 'view')", active);
  if (status != 0) return status;
  if (active != 0) return kDamaged;
  SqliteStatement table;
  status = table.Prepare(file, "SELECT sql FROM sqlite_schema WHERE name=?");
  for (const TableRow& row : kTables) {
    if (status == 0) status = CheckTable(table, row);
  }
  if (status == 0 && version == kFormatVersionWithLengths) status = CheckTable(table, kLengthTable);
  return status;
}

bool ParseFingerprint(std::string_view digits, std::uint64_t& fingerprint) {
  if (digits.size() != 16) return false;
  fingerprint = 0;
  for (const char c : digits) {
    const std::size_t digit = std::string_view("0123456789abcdef").find(c);
    if (digit == std::string_view::npos) return false;
    fingerprint = fingerprint << 4 | digit;
  }
  return true;
}

std::uint32_t ReadAbout(const SqliteFile& file, Model& model) {
  SqliteStatement about;
  std::uint32_t status = about.Prepare(file, "SELECT name, text, fingerprint FROM about");
  if (status == 0) status = about.Step();
  if (status == SqliteStatement::kDone) return kDamaged;
  if (status != 0) return status;
  model.name = about.Text(0);
  model.text = about.Text(1);
  return ParseFingerprint(about.Text(2), model.fingerprint) ? 0 : kDamaged;
}

// Ids of enumerations and structures count from 1 without a hole, so a count is enough to know
// them.
std::uint32_t ReadTypes(const SqliteFile& file, Model& model) {
  StructureLoader loader;
  std::int64_t enumerations = 0;
  std::int64_t structures = 0;
  std::uint32_t status = loader.Open(file);
  if (status == 0) status = ReadNumber(file, "SELECT count(*) FROM enumeration", enumerations);
  if (status == 0) status = ReadNumber(file, "SELECT count(*) FROM structure", structures);
  for (std::int64_t id = 1; status == 0 && id <= enumerations; ++id) {
    std::uint32_t index = 0;
    status = loader.LoadEnumeration(id, model, index);
  }
  for (std::int64_t id = 1; status == 0 && id <= structures; ++id) {
    std::uint32_t index = 0;
    status = loader.LoadStructure(id, model, index);
  }
  return status;
}

Combined CombinedOf(std::int64_t flags) {
  if ((flags & kFlagCombinedNone) != 0) return Combined::kNone;
  return (flags & kFlagCombinedListed) != 0 ? Combined::kListed : Combined::kAny;
}

bool ReadStructureIndex(const SqliteStatement& row, int column, const Model& model,
                        std::int32_t& index) {
  if (row.IsNull(column)) return true;
  const std::int64_t id = row.Number(column);
  if (id < 1 || id > static_cast<std::int64_t>(model.structures.size())) return false;
  index = static_cast<std::int32_t>(id - 1);
  return true;
}

bool ReadCommandRow(const SqliteStatement& row, Model& model) {
  Command command;
  const std::int64_t id = row.Number(1);
  const std::int64_t flags = row.Number(5);
  command.id = static_cast<std::uint32_t>(id);
  command.name = row.Text(2);
  command.text = row.Text(3);
  command.group = row.Text(4);
  command.listed = (flags & kFlagListed) != 0;
  command.combined = CombinedOf(flags);
  const std::uint32_t lastId = model.commands.empty() ? 0 : model.commands.back().id;
  const bool good =
      row.Number(0) == static_cast<std::int64_t>(model.commands.size()) + 1 && id >= lastId &&
      id <= INT64_C(0xFFFFFFFF) && ReadStructureIndex(row, 6, model, command.request) &&
      ReadStructureIndex(row, 7, model, command.confirmation) &&
      ReadStructureIndex(row, 8, model, command.indication) &&
      ParseFingerprint(row.Text(9), command.fingerprint) && flags == FlagsOf(model, command);
  if (good) model.commands.push_back(std::move(command));
  return good;
}

std::uint32_t ReadCommands(const SqliteFile& file, Model& model) {
  SqliteStatement rows;
  std::uint32_t status =
      rows.Prepare(file,
                   "SELECT position, id, name, text, in_group, flags, request, confirmation, "
                   "indication, fingerprint FROM command");
  while (status == 0 && (status = rows.Step()) == 0) {
    if (!ReadCommandRow(rows, model)) return kDamaged;
  }
  if (status != SqliteStatement::kDone) return status;
  std::int64_t count = 0;
  status = ReadNumber(file, "SELECT commands FROM about", count);
  if (status != 0) return status;
  return count == static_cast<std::int64_t>(model.commands.size()) ? 0 : kDamaged;
}

std::uint32_t ReadCombinedTexts(const SqliteFile& file, Model& model) {
  SqliteStatement rows;
  std::uint32_t status =
      rows.Prepare(file, "SELECT command, text FROM combined_text ORDER BY command, position");
  while (status == 0 && (status = rows.Step()) == 0) {
    const std::int64_t command = rows.Number(0);
    if (command < 1 || command > static_cast<std::int64_t>(model.commands.size())) return kDamaged;
    model.commands[static_cast<std::size_t>(command - 1)].combinedTexts.emplace_back(rows.Text(1));
  }
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t ReadModel(const std::string& mappedPath, Model& model) {
  SqliteFile file;
  std::uint64_t fingerprint = 0;
  std::uint32_t status = OpenCatalogueFile(mappedPath, file, fingerprint);
  if (status == 0) status = ReadAbout(file, model);
  if (status == 0) status = ReadTypes(file, model);
  if (status == 0) status = ReadCommands(file, model);
  if (status == 0) status = ReadCombinedTexts(file, model);
  if (status == 0) status = ReadHostWords(file, model.hostWords);
  return status;
}

}  // namespace

std::uint32_t OpenCatalogueFile(const std::string& mappedPath, SqliteFile& file,
                                std::uint64_t& fingerprint) {
  os::FileStamp stamp;
  std::uint32_t status = StatusOfSystem(os::StampOf(mappedPath, stamp));
  if (status == 0) status = file.OpenReadOnly(mappedPath);
  std::int64_t application = 0;
  std::int64_t version = 0;
  if (status == 0) status = ReadNumber(file, "PRAGMA application_id", application);
  if (status == 0) status = ReadNumber(file, "PRAGMA user_version", version);
  if (status == 0 && (application != kApplicationId || version < kFormatVersion ||
                      version > kFormatVersionWithLengths)) {
    status = kDamaged;
  }
  if (status == 0) status = CheckTables(file, version);
  Model about;
  if (status == 0) status = ReadAbout(file, about);
  fingerprint = about.fingerprint;
  return status;
}

std::uint32_t ReadHostWords(const SqliteFile& file, std::vector<std::string>& words) {
  SqliteStatement rows;
  std::uint32_t status = rows.Prepare(file, "SELECT word FROM host_word ORDER BY word");
  while (status == 0 && (status = rows.Step()) == 0) {
    // In strictly ascending order, so a file that leads in a circle ends here.
    if (!words.empty() && rows.Text(0) <= words.back()) return kDamaged;
    words.emplace_back(rows.Text(0));
  }
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t ReadCatalogue(const std::string& mappedPath, Model& model) {
  try {
    model = Model();
    return ReadModel(mappedPath, model);
  } catch (const std::bad_alloc&) {
    return result::kNoMemory;
  }
}

}  // namespace catalogue
