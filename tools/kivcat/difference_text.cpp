#include "tools/kivcat/difference_text.h"

#include "platform/text/shown_text.h"

namespace kivcat {

void DifferenceText::Line(char mark, const std::string& what, const std::string& how) {
  text_ += mark + (" " + what) + ": " + how + "\n";
}

void DifferenceText::Added(const std::string& what, const std::string& how) {
  Line('+', what, how);
}

void DifferenceText::Removed(const std::string& what, const std::string& how) {
  Line('-', what, how);
}

void DifferenceText::Compare(const std::string& what, const std::string& older,
                             const std::string& newer) {
  if (older != newer) Line('~', what, older + " -> " + newer);
}

void DifferenceText::CompareTexts(const std::string& what, std::string_view older,
                                  std::string_view newer) {
  if (older != newer) {
    Line('~', what, "\"" + ShownLine(older) + "\" -> \"" + ShownLine(newer) + "\"");
  }
}

}  // namespace kivcat
