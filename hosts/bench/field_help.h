// FieldHelp: what the place behind a half-typed parameter text takes.
//
// It is read from a run of the module's own parser over the text so far, closed as it stands
// (fill_trace.h); files are not read while somebody types.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/bench/parameter_shape.h"
#include "hosts/bench/refusal.h"
#include "hosts/bench/typed_text.h"

namespace hostbench {

enum class HelpState {
  kNoParameters,  // the command takes none
  kText,          // the command takes any text as it is
  kField,         // a value of `field` is typed here, after `opens`
  kBehind,        // the value is ended by its bracket or brace: `follows` comes next
  kComplete,      // every field has its value
  kFilePath,      // a path up to ")", or after "@" to the line's end
  kFromFile,      // what a file brings decides; it is not read here
  kRoutePath,     // behind a routing option: hops, or a number behind "-d "
  kRefused,  // the parser refuses what stands already: `refusal`. So does this where the parser
             // would drop what stands in front of a bracket or brace that may still come.
};

// Something that can be typed at the place.
struct FieldCandidate {
  std::wstring typed;  // takes the place of what stands from `from` to the cursor
  std::wstring note;   // "NAME: text" of an enumeration's value, what an option does
};

// All that can be said about one place.
struct FieldHelp {
  HelpState state = HelpState::kNoParameters;
  // Index into the shape's fields. kBehind: the one that comes next, unset behind the last;
  // kFilePath: the array that a binary file fills.
  std::optional<std::size_t> field;
  std::optional<std::uint32_t> element;  // within an array's brackets
  std::wstring opens;           // kField: what must be typed in front of the value: "{{", "[", "{["
  bool bracesOptional = false;  // kField with nothing typed: without "{" the line is a flat one
  // What comes behind this value: "," "}," "},{" "]" "]}}". Behind the last value of the line, what
  // closes it. In an array that may have more elements: ",", and `closes` ends it early.
  std::wstring follows;
  std::wstring closes;
  std::size_t fieldsLeft = 0;      // behind this one
  std::uint32_t elementsLeft = 0;  // of the array, behind this element
  std::size_t from = 0;            // column where the value begins that stands before the cursor
  std::wstring typed;              // that value
  // Whether the parser takes this value as it stands: not for "0x", "-", a name, or where `opens`
  // is still to come. An empty one stays at its default.
  bool isTaken = true;
  // Whether the parser takes the whole line as it stands, so that it could be sent now. Unset where
  // a file decides.
  bool sendsNow = true;
  std::vector<FieldCandidate> candidates;  // of the value; those that fit what is typed
  std::vector<FieldCandidate> options;     // routing options that can stand from `from` on
  std::optional<Refusal> refusal;
};

// `beforeCursor` is the part of the typed line behind the word, up to the cursor, blanks at its end
// included. `tree` has its defaults and `shape` is its shape; the tree is filled.
FieldHelp HelpAt(CParamNode& tree, const ParameterShape& shape, const TypedText& beforeCursor);

// One line for people: "period_ms: u32, default 1000, 0 to 4294967295; then \",\", 1 field left".
std::wstring HelpText(const FieldHelp& help, const ParameterShape& shape);

// "3 (all)" for an enumeration's number that has a name.
std::wstring WithChoiceName(const ParameterField& field, const std::wstring& number);
// Of a whole field: "7", "all 0", "1, 2, 3", or a text in quotes.
std::wstring DefaultsText(const ParameterShape& shape, const ParameterField& field);

}  // namespace hostbench
