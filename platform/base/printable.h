// Texts made fit for a terminal or a log line.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <string>

#include "platform/text/qc_string.h"

// The first 255 characters: what fits a 256-character buffer with its terminator.
QCString CutToLogBuffer(const QCString& text);
// UTF-8 with every control character as "\xNN" but a line feed at the end, so that a text can
// neither steer a terminal nor pass for several lines.
std::string Printable(const QCString& text);
