// SourceValue: a value of a catalogue source, with the place where it stands.
//
// Threads: plain values. Owns its members.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kivcat {

// Both count from 1; a column is a character, whatever its bytes.
struct SourcePlace {
  std::uint32_t line = 1;
  std::uint32_t column = 1;
};

// A JSON value that knows where it stands.
struct SourceValue {
  enum class Kind : std::uint8_t { kNull, kBoolean, kInteger, kFraction, kText, kList, kObject };

  Kind kind = Kind::kNull;
  SourcePlace place;
  bool boolean = false;
  bool negative = false;           // kInteger: `magnitude` is two's complement then
  std::uint64_t magnitude = 0;     // kInteger
  std::string text;                // kText
  std::string key;                 // of a member of an object
  SourcePlace keyPlace;            // likewise
  std::vector<SourceValue> items;  // elements of a list, members of an object

  // The member of that key, null when there is none.
  const SourceValue* Find(std::string_view name) const noexcept {
    for (const SourceValue& item : items) {
      if (item.key == name) return &item;
    }
    return nullptr;
  }
};

}  // namespace kivcat
