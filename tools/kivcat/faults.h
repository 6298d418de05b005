// Faults: what is wrong with a source, told as "file:line:column: reason" in order of the place.
//
// Threads: one object for one thread. Owns its texts. Errors: none.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/kivcat/source_value.h"

namespace kivcat {

// Collects what is wrong with a source, so that one run tells all of it.
class Faults {
 public:
  // The name that stands before each line.
  explicit Faults(std::string fileName) : fileName_(std::move(fileName)) {}

  void Error(SourcePlace place, std::string reason);
  void Warning(SourcePlace place, std::string reason);

  bool HasErrors() const noexcept { return errorCount_ != 0; }
  std::size_t ErrorCount() const noexcept { return errorCount_; }
  // One line each. Beyond 100 the rest is counted in a last line.
  std::string Text() const;
  // Likewise without the places, which say nothing to a reader who has no source.
  std::string TextWithoutPlaces() const;

 private:
  // One thing that is wrong, and where.
  struct Fault {
    SourcePlace place;
    std::string reason;
  };
  std::string Lines(bool withPlaces) const;

  std::string fileName_;
  std::vector<Fault> faults_;
  std::size_t errorCount_ = 0;
};

}  // namespace kivcat
