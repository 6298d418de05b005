// The texts of rendering that users see. Hosts compare them: they stay as they are. Translate at
// the point of use (Translated), never before.
//
// Threads: constants.
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

inline constexpr char kNotSupported[] = QT_TRANSLATE_NOOP("QObject", "Not supported!");
inline constexpr char kNoDataLibrary[] =
    QT_TRANSLATE_NOOP("QObject", "No ZEBM data library file found!");
inline constexpr char kNotEnoughMemory[] = QT_TRANSLATE_NOOP("QObject", "Not enough memory!");
// Behind a result code's text; the marker is the command id in upper-case hexadecimal digits.
inline constexpr char kAcknowledged[] = QT_TRANSLATE_NOOP("QObject", " [ack(0x%1)]");

}  // namespace SvcKivClass::texts
