// Text as it may go to a terminal or into a log: what came from a device or from a file is never
// written raw.
//
// Control characters (C0, DEL, C1) are shown as "\x1b"; what turns the direction of text around or
// shows nothing of itself as "\u202e" and "\U000e0041": Unicode's format controls (Cf), its
// Default_Ignorable_Code_Points (joiners, fillers and variation selectors among them, so that two
// names which look alike are alike), line and paragraph separators. unseen_table.inc has them all.
// Blanks, combining marks, private and unassigned characters stay: they show something, if only a
// box. The backslash stays too, since paths are full of them. The same is written to a pipe, so a
// captured text equals the shown one.
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
