// Whether bytes are a well-formed XML 1.0 document within this program's limits.
//
// The XML engine is lenient: it takes broken UTF-8, cuts a text at "&#0;", keeps unknown entities
// as they are and lets much else pass that it then writes differently. Nothing of a user's file may
// change without a word, so the engine only gets what this strict check has passed.
//
// Taken: UTF-8 with or without its byte order mark, an XML declaration of version 1.0, comments,
// processing instructions, CDATA. Refused beside what XML refuses: a document type, other
// encodings.
//
// Threads: any; no state. Errors: only what FindFault answers.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace well_formed {

inline constexpr std::size_t kMaxLevels = 64;

// The first thing that is wrong.
struct Fault {
  std::size_t line;    // from 1
  const char* reason;  // a few words, lower case, no full stop
};

// Unset when the document is sound. Linear in its length.
std::optional<Fault> FindFault(std::string_view document);

// Whether the text (UTF-8) may be the name of an element or attribute that this program adds: an
// XML name without colons, and without U+FFFD, which stands for what a wide text could not say.
bool IsPlainName(std::string_view name);

}  // namespace well_formed
