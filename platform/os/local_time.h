// The local time as a text for logs.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

namespace os {
// "2026-01-31 23:59:59.123", the same form in every locale.
std::string LocalTimeText();
}  // namespace os
