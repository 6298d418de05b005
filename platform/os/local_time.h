// The local time, and as a text for logs.
//
// Threads: any. Errors: none.
#pragma once

#include <ctime>
#include <string>

#include "platform/platform_export.h"

namespace os {
// All zeros for a time that has no date.
KIVPLATFORM_API std::tm LocalTime(std::time_t at);
// "2026-01-31 23:59:59.123", the same form in every locale.
KIVPLATFORM_API std::string LocalTimeText();
}  // namespace os
