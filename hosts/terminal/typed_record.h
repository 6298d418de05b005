// Typed lines as the lists of the settings hold them: NAME is the first word, PARA what stands
// behind the blank that ends it.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <string>
#include <string_view>

#include "svckiv/svc_kiv_config.h"

namespace kiv {

// Blanks in front of the first word are not kept.
SvcKivSpace::KivCommandRecord RecordOf(std::wstring_view line);
std::wstring LineOf(const SvcKivSpace::KivCommandRecord& record);

// Whether the record is within the limits of a list: anything else would be taken out again by the
// next load.
bool CanBeKept(const SvcKivSpace::KivCommandRecord& record);
// Whether the document gives it back as it is. Three texts have another meaning there, which
// other readers of the file rely on.
bool ComesBackUnchanged(const SvcKivSpace::KivCommandRecord& record);

// How a line that went to the module was typed: one that begins with a colon has a second one.
std::wstring AsTyped(const std::wstring& line);

}  // namespace kiv
