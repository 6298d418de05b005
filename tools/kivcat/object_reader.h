// ObjectReader: takes the members of one object of a source by key and kind, and tells which are
// missing, of the wrong kind or unknown.
//
// Threads: one object for one thread. Borrows the value and the faults.
// Errors: told to the faults; a member that is missing or wrong reads as its default.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tools/kivcat/faults.h"
#include "tools/kivcat/source_value.h"

namespace kivcat {

// Reads the members of one JSON object and reports those it does not know.
class ObjectReader {
 public:
  enum class Need : std::uint8_t { kRequired, kOptional };

  // `what` names the object in reasons: "a field", "the catalogue".
  ObjectReader(const SourceValue& value, std::string what, Faults& faults);

  // False when the value is no object at all (told already).
  bool IsObject() const noexcept { return isObject_; }

  // The member, whatever its kind; null when it is not there.
  const SourceValue* Take(std::string_view key, Need need);
  // The member when it is of the kind, else null.
  const SourceValue* Take(std::string_view key, SourceValue::Kind kind, Need need);
  std::string TakeText(std::string_view key, Need need);
  // A name of letters, digits and "_" that does not begin with a digit, at most `maxChars` long.
  std::string TakeIdentifier(std::string_view key, std::uint32_t maxChars);
  bool TakeBoolean(std::string_view key, bool whenLeftOut);
  // 0 when it is missing or not within `min` to `max`.
  std::uint64_t TakeNumber(std::string_view key, std::uint64_t min, std::uint64_t max, Need need);

  // Tells of every member that nobody took.
  void Finish();

 private:
  const SourceValue& value_;
  std::string what_;
  Faults& faults_;
  bool isObject_;
  std::vector<std::string_view> taken_;
};

// "a text", "a list", ...
std::string KindText(SourceValue::Kind kind);
bool IsIdentifier(std::string_view text, std::uint32_t maxChars) noexcept;

}  // namespace kivcat
