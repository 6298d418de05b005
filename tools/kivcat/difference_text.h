// DifferenceText: the lines of a comparison.
//
// Threads: one object for one thread. Owns its text. Errors: none.
#pragma once

#include <string>
#include <string_view>

namespace kivcat {

// Collects what differs, each under the thing that it belongs to.
class DifferenceText {
 public:
  void Added(const std::string& what, const std::string& how);
  void Removed(const std::string& what, const std::string& how);
  // A line only when they differ.
  void Compare(const std::string& what, const std::string& older, const std::string& newer);
  // The same of descriptions, which are quoted.
  void CompareTexts(const std::string& what, std::string_view older, std::string_view newer);

  const std::string& Text() const noexcept { return text_; }

 private:
  void Line(char mark, const std::string& what, const std::string& how);

  std::string text_;
};

}  // namespace kivcat
