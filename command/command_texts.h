// Texts of the command controller that users see, exactly as scripts and hosts compare them.
#pragma once

#include <QObject>

namespace SvcKivClass {

constexpr char kCombinedRefusedText[] =
    QT_TRANSLATE_NOOP("QObject", "Morv Combined commands not supported.");
// The word stands between these two.
constexpr char kNoSuchCommandHead[] = QT_TRANSLATE_NOOP("QObject", "Command '");
constexpr char kNoSuchCommandTail[] = QT_TRANSLATE_NOOP("QObject", "' is not exist\n");
constexpr char kNotConnectedText[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute diag command. No UE is connected.\n");

}  // namespace SvcKivClass
