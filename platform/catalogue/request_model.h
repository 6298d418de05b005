// A command's request as its description: the structure with everything it refers to, texts and
// names of enumerations included. Trees and codecs do without; hosts show it to people.
//
// Threads: any. Owns nothing.
// Errors: statuses of result_codes.h: 1 the command cannot be sent, 51 no catalogue file, 500 no
// memory, 520 damaged, 521 no such command. The model is then of no use.
#pragma once

#include <cstdint>

#include "platform/catalogue/catalogue_model.h"
#include "platform/platform_export.h"

namespace catalogue {

// `cataloguePath` as for CParamCodec. `structure` is the index in `model` of the request, laid out
// as the command's value tree is; Command::kNoStructure for one that is sent without parameters.
// What the model held before is gone.
KIVPLATFORM_API std::uint32_t ReadRequest(const wchar_t* cataloguePath, std::uint32_t cmdId,
                                          Model& model, std::int32_t& structure);

}  // namespace catalogue
