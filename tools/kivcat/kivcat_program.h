// kivcat as a function: the arguments of one call in, what it prints out.
//
// Threads: one call at a time; encode and decode set the catalogue of the process.
// Owns nothing.
// Errors: the exit status: 0 done, 1 failed (`errorOutput` says why), 2 wrong usage.
#pragma once

#include <string>
#include <vector>

namespace kivcat {

// Where the tool writes, so that tests can look.
struct Outputs {
  std::string output;       // for standard output
  std::string errorOutput;  // for standard error
};

// Without the program's own name. Texts are UTF-8.
int RunKivcat(const std::vector<std::string>& arguments, Outputs& outputs);

}  // namespace kivcat
