// The system's own words for its error numbers, in English whatever the locale.
//
// Threads: any.
#pragma once

#include <string>

#include "platform/platform_export.h"

namespace os {
KIVPLATFORM_API std::string ErrorText(int error);
}  // namespace os
