// The local time as a text for logs.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

#include "platform/platform_export.h"

namespace os {
// "2026-01-31 23:59:59.123", the same form in every locale.
KIVPLATFORM_API std::string LocalTimeText();
}  // namespace os
