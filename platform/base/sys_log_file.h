// CSysLogFile, the system log writer, and the console printer beside it.
//
// Both take a finished wide text: callers build it with typed formatting, so a user's text never
// acts as a format. A text is cut to 255 characters (a 256-character buffer with its terminator),
// never dropped.
//
// Threads: any; a line is written whole.
// Errors: a log that cannot be written is silently not written; nothing else depends on it.
#pragma once

#include <functional>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// The log file of the configuration directory.
class KIVPLATFORM_API CSysLogFile {
 public:
  // Appends the text, with the local time in front, to "kiv.log" in the configuration directory; at
  // 4 MiB the file becomes "kiv.log.1" and a new one begins. A final line feed is added when
  // missing.
  static void Write(const QCString& text);
  // Tests see each cut text here, in the writer's thread, beside the file; empty to switch off.
  static void SetObserver(std::function<void(const QCString&)> observer);
};

// Short notices to the person at the terminal.
class KIVPLATFORM_API CConsolePrinter {
 public:
  // Writes the text, cut as above, to standard error with control characters shown escaped (a line
  // feed at its end stays).
  static void Print(const QCString& text);
};
