// Shows a catalogue to a person: all commands as a table, or one command with its structures.
//
// Threads: any. Owns nothing. Errors: none.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

// One line a command.
std::string ListCommands(const catalogue::Model& model);
// Offsets, types and defaults of all that the command carries.
std::string ListCommand(const catalogue::Model& model, const catalogue::Command& command);

}  // namespace kivcat
