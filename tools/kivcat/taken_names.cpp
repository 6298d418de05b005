#include "tools/kivcat/taken_names.h"

#include <algorithm>

namespace kivcat {
namespace {

enum class Match : std::uint8_t { kExact, kAnyCase, kStart };

struct TakenRow {
  Match match;
  std::string_view word;  // lower case, but for kExact
  std::string_view takenFor;
};

// In the order in which a console asks. The words of HCI are no row: where the product has that
// channel it takes every line.
constexpr TakenRow kTaken[] = {
    {Match::kExact, "help", "its list of commands"},
    {Match::kExact, "?", "its list of commands"},
    {Match::kAnyCase, "cts", "a test-case line"},
    {Match::kAnyCase, "ctscfg", "a test-case line"},
    {Match::kAnyCase, "ctsftl", "a test-case line"},
    {Match::kAnyCase, "at", "an AT line"},
    {Match::kStart, "sh", "a shell line"},
};
constexpr std::string_view kLoad = "ldnv";

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

bool Matches(const TakenRow& row, std::string_view name, std::string_view lower) {
  switch (row.match) {
    case Match::kExact:
      return name == row.word;
    case Match::kAnyCase:
      return lower == row.word;
    case Match::kStart:
      return lower.starts_with(row.word);
  }
  return false;
}

std::string TakenFor(std::string_view name, std::string_view what) {
  return "a console takes \"" + std::string(name) + "\" for " + std::string(what);
}

}  // namespace

std::string WhyNameIsTaken(std::string_view name) {
  const std::string lower = LowerAscii(name);
  // The command of that very name carries the parts of the files that the console loads.
  if (lower == kLoad && name != kLoad) return TakenFor(name, "a file to load");
  for (const TakenRow& row : kTaken) {
    if (Matches(row, name, lower)) return TakenFor(name, row.takenFor);
  }
  // Such a line is kept whole, as an AT line is, so it is looked up together with its parameters.
  if (lower.starts_with("at")) {
    return "a console finds \"" + std::string(name) +
           "\" only without parameters, since it begins with \"at\"";
  }
  return {};
}

}  // namespace kivcat
