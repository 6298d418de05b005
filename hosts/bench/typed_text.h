// A typed line as the module reads it, each of its characters with the column where it was typed.
//
// The module trims a line, takes its word off, a routing option off its end, puts files into it and
// drops blanks before it looks at a single value. To say where something stands one must come back
// from there: so the same steps are taken here with the columns beside them.
//
// Columns count wchar_t from the beginning of the typed line, from 0. What a file brought in has
// the column of its reference.
//
// Threads: any; no state. Owns its text. Errors: see ParameterText.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace hostbench {

// A text and where its characters come from.
struct TypedText {
  std::wstring text;
  std::vector<std::size_t> columns;  // one more than text has: the last is that behind it

  std::size_t ColumnAt(std::size_t position) const noexcept;  // beyond the end: behind it
  TypedText Part(std::size_t from, std::size_t to) const;

  // A text typed at a line's beginning.
  static TypedText Of(std::wstring_view typed);
};

// A line in its parts.
struct TypedParts {
  TypedText word;
  TypedText rest;     // parameters and routing option, trimmed at both ends
  bool isAt = false;  // a line for the AT channel, whole in `word`
};

// As the module does: blanks and line ends at both ends, line ends within, the first blank.
TypedParts SplitTyped(std::wstring_view line);

// The rest with the routing option taken off.
struct TypedRoute {
  TypedText parameters;  // trimmed
  bool hasOption = false;
  TypedText path;  // behind the option, trimmed on the left; as typed, without prefixes
};

TypedRoute SplitTypedRoute(const TypedText& rest);

// How preparing a parameter text ended.
enum class PreparedAs {
  kPlain,      // no file is named
  kWithFiles,  // files were read and stand in the text
  kRefused,    // the parser refuses it before it reads a value
  kUnknown,    // files that are too large or too nested to follow; the text is as typed
};

// What the parser has as its line (ParamLineParser::GetLine), with columns. With `readFiles` unset
// a text that names a command or text file gives kUnknown. Binary files are not read here.
PreparedAs PrepareParameters(const TypedText& parameters, bool readFiles, TypedText& prepared);

}  // namespace hostbench
