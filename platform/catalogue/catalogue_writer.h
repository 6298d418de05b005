// Writes a catalogue as the bytes of its compiled file. The same catalogue gives the same bytes.
//
// Threads: any. Owns nothing.
// Errors: 0, or a status of result_codes.h; `bytes` is then empty.
#pragma once

#include <cstdint>
#include <string>

#include "platform/catalogue/catalogue_model.h"
#include "platform/platform_export.h"

namespace catalogue {

// What stands in command.flags of the file (catalogue_schema.h).
std::int64_t FlagsOf(const Model& model, const Command& command);

// The model is laid out and sealed.
KIVPLATFORM_API std::uint32_t WriteCatalogue(const Model& model, std::string& bytes);

}  // namespace catalogue
