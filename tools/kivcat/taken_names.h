// Which words a console takes for something else than a command of its catalogue.
//
// Threads: any. Owns nothing. Errors: none.
#pragma once

#include <string>
#include <string_view>

namespace kivcat {

// "a console takes \"shout\" for a shell line"; empty for a name that reaches the catalogue.
std::string WhyNameIsTaken(std::string_view name);

}  // namespace kivcat
