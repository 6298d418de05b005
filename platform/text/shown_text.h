// Text as it may go to a terminal or into a log: what came from a device or from a file is never
// written raw.
//
// Control characters (C0, DEL, C1) are shown as "\x1b"; format characters that turn the direction
// of text around or are invisible as "\u202e" and "\U000e0041". The joiners U+200C and U+200D stay:
// words of some languages need them. The backslash itself stays as it is, since paths are full of
// them. The same is written to a pipe, so a captured text equals the shown one.
//
// Threads: any; no state. Errors: none; what is not UTF-8 becomes U+FFFD.
#pragma once

#include <string>
#include <string_view>

#include "platform/platform_export.h"

// UTF-8 of a wide text of any number of lines: line feeds and tabs stay.
KIVPLATFORM_API std::string ShownText(std::wstring_view text);
KIVPLATFORM_API std::string ShownUtf8(std::string_view text);
// For a text that must stay on one line: line feeds and tabs are escaped too.
KIVPLATFORM_API std::string ShownLine(std::wstring_view text);
KIVPLATFORM_API std::string ShownLine(std::string_view text);
