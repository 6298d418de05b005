// Debug traces: lines of Qt's debug log under the category "default".
//
// A line that carries data is built by a function, which runs only when the category is enabled: a
// trace that nobody reads costs one look at a flag.
//
// Threads: any.
#pragma once

#include <QLoggingCategory>
#include <type_traits>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

inline bool IsTraceEnabled() { return QLoggingCategory::defaultCategory()->isDebugEnabled(); }

// Writes the text as it is; nothing in it acts as a format.
void WriteTrace(const QCString& text);

// A fixed text.
inline void Trace(const wchar_t* text) {
  if (IsTraceEnabled()) WriteTrace(text);
}

// `makeText` answers the QCString to write.
template <typename MakeText>
requires std::is_invocable_r_v<QCString, MakeText>
void Trace(const MakeText& makeText) {
  if (IsTraceEnabled()) WriteTrace(makeText());
}

}  // namespace SvcKivClass
