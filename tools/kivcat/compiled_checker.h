// Whether a compiled catalogue is what kivcat would have written. It is read, said again as a
// source, and that source is checked and compiled like any other: what breaks a rule of sources, a
// fingerprint, a flag or a byte that has changed since, all show.
//
// Threads: any. Owns nothing.
// Errors: a text that is ready for standard error; empty on success.
#pragma once

#include <string>
#include <string_view>

#include "tools/kivcat/catalogue_input.h"

namespace kivcat {

// `bytes` is the content of the file at `path`. Of a file that another version of SQLite wrote only
// what its tables say is compared, since its bytes may differ.
std::string LoadCompiled(const std::string& path, std::string_view bytes, LoadedCatalogue& loaded);

}  // namespace kivcat
