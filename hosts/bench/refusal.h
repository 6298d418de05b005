// Refusal: where a line that the module refused went wrong, as a person would point at it.
//
// The module's reply says what is wrong, this says where: the pure parser runs again over the same
// text and the same tree, files included. Failures that no typed line can bring about (a null
// string, a null buffer) have no place here.
//
// Threads: any; no state. Errors: none; std::nullopt for a line that the parser takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "hosts/bench/fill_trace.h"
#include "hosts/bench/parameter_shape.h"
#include "hosts/bench/typed_text.h"

namespace hostbench {

// What a person would say is wrong; each is one text of the parser, or a finer cause of one.
enum class RefusalKind {
  kFirstBraceMissing,    // braces, but none in front
  kLastBraceMissing,     // at the end of what was typed
  kTextBehindLastBrace,  // something stands where the line should end
  kTextFileTagOpen,
  kBinaryFileTagOpen,
  kFileMissing,
  kFileNotOpened,
  kFileTooShort,    // the module has no text for it
  kBracketAtValue,  // "[" where one value belongs
  kLineEnded,       // a field is left and nothing for it
  kBracketMissing,  // an array without "[", or one never closed
  kTooManyElements,
  kNotANumber,
  kOpeningMissing,  // fewer braces than the field is deep
  kOpeningSurplus,
  kClosingMissing,
  kClosingSurplus,
  kOther,  // a tree that no catalogue makes
};

// A place in the typed line.
struct Refusal {
  RefusalKind kind = RefusalKind::kOther;
  std::size_t column = 0;  // in wchar_t of the typed line; its length: behind it
  std::wstring path;       // of the field, "a.b[2].c" or "table[3]"; empty: no field was come to
  std::optional<std::size_t> field;  // index into the shape's fields
};

// What is wrong, in the console's words: "not a number".
const wchar_t* RefusalText(RefusalKind kind) noexcept;

// `parameters` is the part of the typed line behind the word, without routing option. `tree` has
// its defaults and `shape` is its shape; the tree is filled.
std::optional<Refusal> FindRefusal(CParamNode& tree, const ParameterShape& shape,
                                   const TypedText& parameters);

}  // namespace hostbench
