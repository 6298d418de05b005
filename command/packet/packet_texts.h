// The texts of building and posting a diagnostic packet that users see. Scripts and hosts compare
// them: they stay as they are. Translate at the point of use (Translated), never before.
//
// Threads: constants.
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

// %1 the id in lower-case hexadecimal digits, %2 the status in decimal.
inline constexpr char kNoValidPacket[] = QT_TRANSLATE_NOOP(
    "QObject",
    "*** Failed to find valid packet (id=0x%1, ret=%2). Maybe the parameter is invalid or the ID "
    "does not exist. \n");
// No line feed of its own: the parser's text follows at once.
inline constexpr char kLineNotParsed[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to parse the diag command parameters (1).");
inline constexpr char kTreeNotFilled[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to parse the diag command parameters (2).\n");
inline constexpr char kInputParametersHead[] =
    QT_TRANSLATE_NOOP("QObject", "Input Parameters:\n********************");
inline constexpr char kInputParametersFoot[] =
    QT_TRANSLATE_NOOP("QObject", "\n********************\n");
inline constexpr char kNotEncoded[] = QT_TRANSLATE_NOOP(
    "QObject", "*** Failed to execute diag command. Build diag command packet error. ErrNum =%1\n");

inline constexpr char kLinkDown[] = QT_TRANSLATE_NOOP(
    "QObject", "*** Failed to execute diag command. Connect UE before using any commands.\n");
inline constexpr char kBadMacPath[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute diag command. Check MAC path.\n");
inline constexpr char kPostFailed[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute diag command, ret=%1\n");

}  // namespace SvcKivClass::texts
