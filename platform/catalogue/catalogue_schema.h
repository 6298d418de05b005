// The tables of a compiled catalogue, as they stand in the file. docs/catalogue-format.md says what
// the columns mean.
//
// Threads: constants.
#pragma once

#include <cstdint>

namespace catalogue {

inline constexpr std::int32_t kApplicationId = 0x4B495643;  // "KIVC"
// user_version. A catalogue is written in the lowest version that can say it, so that consoles
// which know only that one go on opening what they can show.
inline constexpr std::int32_t kFormatVersion = 1;
inline constexpr std::int32_t kFormatVersionWithLengths = 2;  // with kLengthTable

// A table of the compiled file and the statement that makes it.
struct TableRow {
  const char* name;
  const char* sql;  // as SQLite keeps it, so that it can be compared
};

// A file whose tables differ from these by a letter is refused: nothing that a schema can hide
// (virtual tables, generated columns) gets a chance to run.
inline constexpr TableRow kTables[] = {
    {"about",
     "CREATE TABLE about(name TEXT NOT NULL, text TEXT NOT NULL, fingerprint TEXT NOT NULL, "
     "commands INTEGER NOT NULL) STRICT"},
    {"enumeration",
     "CREATE TABLE enumeration(id INTEGER PRIMARY KEY, name TEXT NOT NULL, base TEXT NOT NULL, "
     "text TEXT NOT NULL) STRICT"},
    {"enumeration_value",
     "CREATE TABLE enumeration_value(enumeration INTEGER NOT NULL, position INTEGER NOT NULL, "
     "name TEXT NOT NULL, value INTEGER NOT NULL, text TEXT NOT NULL, "
     "PRIMARY KEY(enumeration, position)) STRICT, WITHOUT ROWID"},
    {"structure",
     "CREATE TABLE structure(id INTEGER PRIMARY KEY, name TEXT NOT NULL, text TEXT NOT NULL, "
     "layout TEXT NOT NULL, size_bytes INTEGER NOT NULL, defaults BLOB NOT NULL) STRICT"},
    {"field",
     "CREATE TABLE field(structure INTEGER NOT NULL, position INTEGER NOT NULL, "
     "name TEXT NOT NULL, text TEXT NOT NULL, scalar TEXT, enumeration INTEGER, nested INTEGER, "
     "count INTEGER, offset_bytes INTEGER NOT NULL, PRIMARY KEY(structure, position)) "
     "STRICT, WITHOUT ROWID"},
    {"command",
     "CREATE TABLE command(position INTEGER PRIMARY KEY, id INTEGER NOT NULL, name TEXT NOT NULL, "
     "text TEXT NOT NULL, in_group TEXT NOT NULL, flags INTEGER NOT NULL, request INTEGER, "
     "confirmation INTEGER, indication INTEGER, fingerprint TEXT NOT NULL) STRICT"},
    {"command_by_id", "CREATE INDEX command_by_id ON command(id, position)"},
    {"combined_text",
     "CREATE TABLE combined_text(command INTEGER NOT NULL, position INTEGER NOT NULL, "
     "text TEXT NOT NULL, PRIMARY KEY(command, position)) STRICT, WITHOUT ROWID"},
    {"host_word", "CREATE TABLE host_word(word TEXT PRIMARY KEY) STRICT, WITHOUT ROWID"},
    {"command_search",
     "CREATE VIRTUAL TABLE command_search USING fts5(name, text, content='command', "
     "content_rowid='position')"},
};

// In files of version 2 only.
inline constexpr TableRow kLengthTable = {
    "field_length",
    "CREATE TABLE field_length(structure INTEGER NOT NULL, position INTEGER NOT NULL, "
    "array INTEGER NOT NULL, PRIMARY KEY(structure, position)) STRICT, WITHOUT ROWID"};

// Bits of command.flags.
inline constexpr std::uint32_t kFlagListed = 1;
inline constexpr std::uint32_t kFlagSendable = 2;
inline constexpr std::uint32_t kFlagCombinedNone = 4;
inline constexpr std::uint32_t kFlagCombinedListed = 8;
inline constexpr std::uint32_t kShiftCnfKind = 4;  // two bits each
inline constexpr std::uint32_t kShiftIndKind = 6;
inline constexpr std::uint32_t kKnownFlags = 0xFF;

}  // namespace catalogue
