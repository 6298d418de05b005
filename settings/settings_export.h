// Writes key bindings, favourites and shortcut commands of one instance into an empty document.
//
// Threads: the facade's. Errors: the status of the first operation that failed; 3018 when the
// target could not be saved, and its file is then as it was.
#pragma once

#include <cstdint>

#include "settings/settings_copy.h"

namespace SvcKivClass {

// `from` is what the own document has, not memory. `target` holds its root alone; it gets one
// session and one instance with the given ids, and is saved.
std::uint32_t ExportSettings(const SettingsSide& from, std::uint32_t sessionId,
                             std::uint32_t instanceId, const TransferGroups& groups,
                             CXmlConfig& target);

}  // namespace SvcKivClass
