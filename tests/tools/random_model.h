// Catalogues made by chance, the same for the same seed: every scalar, enumerations, arrays,
// structures within structures, packed and natural ones side by side.
//
// Threads: one. Owns nothing.
#pragma once

#include <cstdint>

#include "platform/catalogue/catalogue_model.h"

namespace kivtest {

// Each structure is the request of a command of its own: id and index are one more than its own
// index.
catalogue::Model RandomModel(std::uint32_t seed);
// The same, and each structure may have arrays whose used bytes another field carries.
catalogue::Model RandomModelWithLengths(std::uint32_t seed);

}  // namespace kivtest
