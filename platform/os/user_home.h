// The home directory that the system's user database has for the effective user.
//
// Threads: any. Errors: empty when the database does not know the user.
#pragma once

#include <string>

namespace os {
std::string HomeOfUserDatabase();
}  // namespace os
