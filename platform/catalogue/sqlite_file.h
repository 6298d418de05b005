// SqliteFile and SqliteStatement: the little of SQLite that catalogues need.
//
// A catalogue file may come from anywhere, so it is opened as data and nothing else: read-only and
// immutable, defensive, the schema not trusted, no triggers, no views, every limit as low as
// catalogues allow, and a bound on the work that one statement may do.
//
// Threads: one thread at a time for a file and all its statements.
// Owns the connection, a statement its prepared form; a statement must not outlive its file.
// Errors: statuses of result_codes.h: 51 no such file, 53 not to be opened, 500 no memory, 520
// damaged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// Where a file says which version of SQLite wrote it.
inline constexpr std::size_t kVersionOffset = 96;
inline constexpr std::size_t kVersionBytes = 4;

// A catalogue file opened for reading only, with everything switched off that a file could abuse.
class SqliteFile {
 public:
  SqliteFile() = default;
  ~SqliteFile();
  SqliteFile(const SqliteFile&) = delete;
  SqliteFile& operator=(const SqliteFile&) = delete;

  // Opens a file as said above.
  std::uint32_t OpenReadOnly(const std::string& mappedPath);
  // An empty database in memory, to be written.
  std::uint32_t OpenInMemory();
  // One or more statements that give no rows.
  std::uint32_t Run(const char* sql);
  // The whole database as the bytes of a file.
  std::uint32_t Serialize(std::string& bytes);

  sqlite3* Handle() const noexcept { return db_; }

 private:
  std::uint32_t Harden();
  sqlite3* db_ = nullptr;
};

// Call Prepare, Bind each parameter, Step row by row, then Reset for the next use.
class SqliteStatement {
 public:
  SqliteStatement() = default;
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  std::uint32_t Prepare(const SqliteFile& file, const char* sql);
  // Parameters and columns count from 0. The text or bytes must live until Reset.
  void BindNumber(int parameter, std::int64_t value);
  void BindText(int parameter, std::string_view text);
  void BindBytes(int parameter, std::string_view bytes);
  // Leaves the parameter null.
  void BindNull(int parameter);
  // 0 for a row, kDone behind the last, else a status.
  static constexpr std::uint32_t kDone = 0xFFFFFFFEu;
  std::uint32_t Step();
  // Steps a statement that gives no rows, and resets it.
  std::uint32_t Execute();
  void Reset();

  bool IsNull(int column) const;
  std::int64_t Number(int column) const;
  // Live until the next Step or Reset. Null gives the empty text.
  std::string_view Text(int column) const;
  std::string_view Bytes(int column) const;

 private:
  sqlite3_stmt* statement_ = nullptr;
  std::uint32_t bindStatus_ = 0;
};
