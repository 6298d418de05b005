// What keys do on a terminal: the ten shortcut commands on F1 to F10, and the five bindings of the
// settings' keyboard group.
//
// A shortcut that is set goes before a binding of the same key, which has it only as long as it is
// free (new settings have F2 and F3 among the bindings). A key that a terminal cannot send does
// nothing here; a key whose code is not known is looked up by its name.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "hosts/terminal/kept_commands.h"
#include "hosts/terminal/line_editor.h"
#include "svckiv/svc_kiv_config.h"

namespace kiv {

std::vector<EditorKey> KeyTable(const SvcKivSpace::KivKeyBindings& bindings,
                                const KeptCommands& kept);

// What the binding of the key F`number` does where its shortcut is not set; empty: nothing.
std::string UseOfFreeKey(const SvcKivSpace::KivKeyBindings& bindings, std::size_t number);

}  // namespace kiv
