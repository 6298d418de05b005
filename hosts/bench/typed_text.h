// A typed line as the module reads it, each of its characters with the column where it was typed.
//
// The module trims a line, takes its word off, a routing option off its end, puts files into it and
// drops blanks before it looks at a single value. To say where something stands one must come back
// from there: so the same steps are taken here with the columns beside them.
//
// Columns count wchar_t from the beginning of the typed line, from 0. What a file brought in has
// the column of its reference.
//
// Threads: any; no state. Owns its text. Errors: none but PreparedAs.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace hostbench {

// A text and where its characters come from.
struct TypedText {
  std::wstring text;
  // One more than the text has: the last is that behind it.
  std::vector<std::size_t> columns = {0};

  std::size_t ColumnAt(std::size_t position) const noexcept;  // beyond the end: behind it
  TypedText Part(std::size_t from, std::size_t to = std::wstring::npos) const;
  void Add(wchar_t ch, std::size_t column);  // in front of what is behind the end
  void TrimLeft(wchar_t ch);
  void TrimRight(wchar_t ch);

  // A text typed at a line's beginning.
  static TypedText Of(std::wstring_view typed);
};

// A line in its parts.
struct TypedParts {
  TypedText word;
  TypedText rest;  // parameters and routing option; empty for a line that the module rejects
};

// As the module does: blanks and line ends at both ends, line ends within, the first blank. A line
// that begins with "at" is all word.
TypedParts SplitTyped(std::wstring_view line);
// The same for the part of a line in front of a cursor: blanks at its end stay.
TypedParts SplitTypedSoFar(std::wstring_view beforeCursor);

// The rest with the routing option taken off.
struct TypedRoute {
  TypedText parameters;  // trimmed when there is an option
  bool hasOption = false;
  TypedText path;  // behind the option, trimmed on the left; as typed, without prefixes
};

TypedRoute SplitTypedRoute(const TypedText& rest);

// How preparing a parameter text ended.
enum class PreparedAs {
  kPlain,      // no file is named
  kWithFiles,  // files were read and stand in the text
  kNotRead,    // it names files, which were not to be read
  kTagOpen,    // "$(T<" without ")"
  kFileMissing,
  kFileNotOpened,  // also a file that names itself, or too many of them
};

// What the parser has as its line (ParamLineParser::GetLine), with columns.
struct PreparedText {
  PreparedAs as = PreparedAs::kPlain;
  TypedText text;          // of the first two
  std::size_t column = 0;  // of the last three: the path, or the tag that is open
};

// Binary files are never read here: they do not come into the line.
PreparedText PrepareParameters(const TypedText& parameters, bool readFiles);

}  // namespace hostbench
