// Writes a catalogue as a source: what `kivcat build` reads again to the same catalogue.
//
// Threads: any. Owns nothing. Errors: none.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

std::string WriteSource(const catalogue::Model& model);

}  // namespace kivcat
