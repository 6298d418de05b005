// Loads the catalogue that a call names, whether it is a source or a compiled one.
//
// Threads: any. Owns nothing.
// Errors: a text that is ready for standard error; empty on success.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

// A catalogue that the tool was given, compiled or as source.
struct LoadedCatalogue {
  catalogue::Model model;
  std::string warnings;  // ready for standard error
};

std::string LoadCatalogue(const std::string& path, LoadedCatalogue& loaded);
// Likewise, but only a source.
std::string LoadSourceFile(const std::string& path, LoadedCatalogue& loaded);

}  // namespace kivcat
