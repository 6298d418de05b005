// The text channels' own texts, exactly as they must be: scripts and hosts compare them, misprints
// included. Translate at the point of use, never before.
//
// Threads: constants.
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

// The ".n" was meant as a line feed; logs are searched for it as it is.
inline constexpr char kNoInput[] = QT_TRANSLATE_NOOP("QObject", "***error: no input parameter.n");
inline constexpr char kAtNotConnected[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute AT Command. No UE is connected.\n");
// HCI says "shell" too.
inline constexpr char kShellNotConnected[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute shell command. No UE is connected.");
// The text that could not be sent stands in place of "%ls".
inline constexpr char kSendFailed[] = QT_TRANSLATE_NOOP("QObject", "***error: failed to send: %ls");

}  // namespace SvcKivClass::texts
