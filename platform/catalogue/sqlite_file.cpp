#include "platform/catalogue/sqlite_file.h"

#include <sqlite3.h>

#include <iterator>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_model.h"

namespace {

std::uint32_t StatusOf(int code) {
  switch (code & 0xFF) {
    case SQLITE_OK:
      return result::kOk;
    case SQLITE_NOMEM:
      return result::kNoMemory;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return result::kFileUnusable;
    default:
      return result::kCatalogueDamaged;
  }
}

struct LimitRow {
  int limit;
  int value;
};

constexpr LimitRow kLimits[] = {
    {SQLITE_LIMIT_LENGTH, static_cast<int>(catalogue::kMaxStructureBytes) + 4096},
    {SQLITE_LIMIT_SQL_LENGTH, 16384},
    {SQLITE_LIMIT_COLUMN, 64},
    {SQLITE_LIMIT_EXPR_DEPTH, 32},
    {SQLITE_LIMIT_COMPOUND_SELECT, 2},
    {SQLITE_LIMIT_VDBE_OP, 5000},
    {SQLITE_LIMIT_FUNCTION_ARG, 8},
    {SQLITE_LIMIT_ATTACHED, 0},
    {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 64},
    {SQLITE_LIMIT_VARIABLE_NUMBER, 32},
    {SQLITE_LIMIT_TRIGGER_DEPTH, 1},
    {SQLITE_LIMIT_WORKER_THREADS, 0},
};

struct SwitchRow {
  int option;
  int on;
};

constexpr SwitchRow kSwitches[] = {
    {SQLITE_DBCONFIG_DEFENSIVE, 1},      {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
    {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0}, {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
    {SQLITE_DBCONFIG_ENABLE_FKEY, 0},    {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
    {SQLITE_DBCONFIG_DQS_DML, 0},        {SQLITE_DBCONFIG_DQS_DDL, 0},
};

// Statements of a catalogue take a handful of instructions a row. One that takes more than this
// between two rows runs in a circle of a damaged file.
constexpr int kMaxInstructions = 10'000'000;

// The path as an URI: what has a meaning in one is escaped.
std::string UriOf(const std::string& path) {
  std::string uri = path.starts_with('/') ? "file://" : "file:";  // with an empty host
  for (const char c : path) {
    if (c == '?' || c == '#' || c == '%') {
      const auto byte = static_cast<unsigned char>(c);
      uri += '%';
      uri += "0123456789ABCDEF"[byte >> 4];
      uri += "0123456789ABCDEF"[byte & 15];
    } else {
      uri += c;
    }
  }
  return uri + "?mode=ro&immutable=1";
}

}  // namespace

SqliteFile::~SqliteFile() { sqlite3_close_v2(db_); }

std::uint32_t SqliteFile::OpenReadOnly(const std::string& mappedPath) {
  const int code = sqlite3_open_v2(
      UriOf(mappedPath).c_str(), &db_,
      SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE,
      nullptr);
  if (code != SQLITE_OK) return StatusOf(code);
  return Harden();
}

std::uint32_t SqliteFile::Harden() {
  for (const LimitRow& row : kLimits) sqlite3_limit(db_, row.limit, row.value);
  for (const SwitchRow& row : kSwitches) {
    const int code = sqlite3_db_config(db_, row.option, row.on, nullptr);
    if (code != SQLITE_OK) return StatusOf(code);
  }
  sqlite3_progress_handler(
      db_, kMaxInstructions, [](void*) { return 1; }, nullptr);
  // A catalogue is stepped once and then asked for single rows: a small cache is enough.
  return Run(
      "PRAGMA cell_size_check=ON; PRAGMA mmap_size=0; PRAGMA query_only=ON; "
      "PRAGMA cache_size=-256;");
}

std::uint32_t SqliteFile::OpenInMemory() {
  return StatusOf(sqlite3_open_v2(
      ":memory:", &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr));
}

std::uint32_t SqliteFile::Run(const char* sql) {
  return StatusOf(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr));
}

std::uint32_t SqliteFile::Serialize(std::string& bytes) {
  sqlite3_int64 lengthBytes = 0;
  unsigned char* copy = sqlite3_serialize(db_, "main", &lengthBytes, 0);
  if (copy == nullptr) return result::kNoMemory;
  const std::unique_ptr<unsigned char, decltype(&sqlite3_free)> owned(copy, &sqlite3_free);
  bytes.assign(reinterpret_cast<const char*>(copy), static_cast<std::size_t>(lengthBytes));
  // The version that wrote it, big-endian, where SQLite itself puts it in a file: not in memory.
  const auto version = static_cast<std::uint32_t>(sqlite3_libversion_number());
  for (std::size_t i = 0; i < kVersionBytes && kVersionOffset + i < bytes.size(); ++i) {
    bytes[kVersionOffset + i] = static_cast<char>(version >> (24 - 8 * i));
  }
  return result::kOk;
}

SqliteStatement::~SqliteStatement() { sqlite3_finalize(statement_); }

std::uint32_t SqliteStatement::Prepare(const SqliteFile& file, const char* sql) {
  return StatusOf(
      sqlite3_prepare_v3(file.Handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &statement_, nullptr));
}

void SqliteStatement::BindNumber(int parameter, std::int64_t value) {
  const int code = sqlite3_bind_int64(statement_, parameter + 1, value);
  if (code != SQLITE_OK) bindStatus_ = StatusOf(code);
}

void SqliteStatement::BindText(int parameter, std::string_view text) {
  const int code =
      sqlite3_bind_text64(statement_, parameter + 1, text.data() != nullptr ? text.data() : "",
                          text.size(), SQLITE_STATIC, SQLITE_UTF8);
  if (code != SQLITE_OK) bindStatus_ = StatusOf(code);
}

void SqliteStatement::BindBytes(int parameter, std::string_view bytes) {
  const int code =
      sqlite3_bind_blob64(statement_, parameter + 1, bytes.data() != nullptr ? bytes.data() : "",
                          bytes.size(), SQLITE_STATIC);
  if (code != SQLITE_OK) bindStatus_ = StatusOf(code);
}

void SqliteStatement::BindNull(int parameter) { sqlite3_bind_null(statement_, parameter + 1); }

std::uint32_t SqliteStatement::Step() {
  if (bindStatus_ != 0) return bindStatus_;
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return result::kOk;
  return code == SQLITE_DONE ? kDone : StatusOf(code);
}

std::uint32_t SqliteStatement::Execute() {
  const std::uint32_t status = Step();
  Reset();
  return status == kDone ? result::kOk : status;
}

void SqliteStatement::Reset() {
  sqlite3_reset(statement_);
  bindStatus_ = 0;
}

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::Number(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string_view SqliteStatement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string_view SqliteStatement::Bytes(int column) const {
  const void* bytes = sqlite3_column_blob(statement_, column);
  if (bytes == nullptr) return {};
  return {static_cast<const char*>(bytes),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}
