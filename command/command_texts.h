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

// Of the load line.
constexpr char kNoLoadPathText[] = QT_TRANSLATE_NOOP("QObject", "Enter a file path.\n");
constexpr char kNoLoadFileText[] = QT_TRANSLATE_NOOP("QObject", "Enter a valid file path.\n");
constexpr char kLoadNotOpenedText[] =
    QT_TRANSLATE_NOOP("QObject", "Failed to open file. Check the file.\n");
constexpr char kLoadTooLargeText[] = QT_TRANSLATE_NOOP(
    "QObject", "The file size exceeds the maximum value. Select another file to load.\n");
// %1 the id in lower-case hexadecimal digits, %2 the status in decimal.
constexpr char kNoLoadCommandText[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to find cmd id=0x%1, ret=%2.\n");
constexpr char kLoadFileChangedText[] = QT_TRANSLATE_NOOP(
    "QObject", "*** The load has ended. The file was changed or removed meanwhile.\n");
constexpr char kLoadLinkLostText[] =
    QT_TRANSLATE_NOOP("QObject", "*** The load has ended. The link to the device was lost.\n");

}  // namespace SvcKivClass
