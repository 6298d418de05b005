// Writes the C header of a catalogue, from which a device is built. Its shape is documented in
// docs/catalogue-format.md.
//
// Threads: any. Owns nothing.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

// `header` gets the whole text. The answer is empty, or the reason why there can be no header: two
// things of the catalogue have names that C cannot tell apart.
std::string WriteHeader(const catalogue::Model& model, std::string& header);

}  // namespace kivcat
