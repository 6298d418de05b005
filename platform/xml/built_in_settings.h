// The text of data/kiv.xml, which the build puts into the library.
//
// Threads: any.
#pragma once

namespace built_in_settings {
extern const char* const kText;
}  // namespace built_in_settings
