// Invocation: one call of kivcat, its words taken apart.
//
// Threads: one object for one thread. Borrows the outputs.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/kivcat/kivcat_program.h"

namespace kivcat {

// What the tool was called with.
struct Invocation {
  std::vector<std::string> words;              // behind the command's own
  std::map<std::string, std::string> options;  // long name to value; present when it was given
  Outputs& outputs;

  bool Has(const std::string& option) const { return options.contains(option); }

  // Adds "kivcat: REASON\n" to the error output and answers 1. Words and paths in it come from
  // outside, so what would break the line is escaped.
  int Fail(const std::string& reason);
  // What a command gives goes to the file of --output, else to standard output.
  int Deliver(const std::string& content);
};

}  // namespace kivcat
