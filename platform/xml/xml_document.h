// From bytes to the XML engine's document and back.
//
// Threads: any; no state. Errors: what Parse answers; std::bad_alloc.
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace xml_document {

inline constexpr std::size_t kMaxBytes = std::size_t{16} * 1024 * 1024;

enum class Outcome { kSound, kBroken, kNoMemory };

// What became of reading.
struct ParseResult {
  Outcome outcome = Outcome::kSound;
  std::string reason;  // of kBroken: "line 3: bad tag"
};

// Reads a document with this root. Comments and processing instructions are kept. `document` is
// empty when it is not sound.
ParseResult Parse(std::string_view bytes, std::string_view rootTag, pugi::xml_document& document);

// The document as UTF-8 with its declaration, one element a line.
std::string Serialise(const pugi::xml_document& document);
// One element with all under it, without white space between; the same for equal ones.
std::string Serialise(pugi::xml_node node);

}  // namespace xml_document
