// The link client's own text for users. Result codes bring theirs (platform/base/result_codes.h).
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

// A result code without a text.
inline constexpr char kUnknownResult[] = QT_TRANSLATE_NOOP("QObject", "result %1");

}  // namespace SvcKivClass::texts
