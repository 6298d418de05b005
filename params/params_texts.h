// The texts of the parameter language that users see. Scripts and hosts compare them: they stay as
// they are, oddities included. Translate at the point of use (Translated), never before; what the
// user typed is put beside a text, not into it.
//
// Threads: constants.
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

inline constexpr char kLineEmpty[] =
    QT_TRANSLATE_NOOP("QObject", "The parameters line is empty.\n");
inline constexpr char kLastBraceMissing[] =
    QT_TRANSLATE_NOOP("QObject", "the last '}' is missing.\n");
inline constexpr char kOutermostBraceMissing[] =
    QT_TRANSLATE_NOOP("QObject", "The outermost '{' or '}' is missing.\n");
inline constexpr char kTextFileTagOpen[] =
    QT_TRANSLATE_NOOP("QObject", "Cannot find the text file name finish tag ')'.\n");
inline constexpr char kBinFileTagOpen[] =
    QT_TRANSLATE_NOOP("QObject", "Cannot find the bin file name finish tag ')'.\n");
// Behind a path.
inline constexpr char kDoesNotExist[] = QT_TRANSLATE_NOOP("QObject", " does not exist.\n");
// In front of a path and a line feed.
inline constexpr char kFailedToOpen[] = QT_TRANSLATE_NOOP("QObject", "Failed to open ");
inline constexpr char kBracketForSingleValue[] =
    QT_TRANSLATE_NOOP("QObject", "Value type does not match, meeting the '[' for single value.\n");
// Neither a full stop nor a line feed: the index line follows at once.
inline constexpr char kLineEnd[] = QT_TRANSLATE_NOOP("QObject", "The parameters line is end");
inline constexpr char kBracketsMisplaced[] =
    QT_TRANSLATE_NOOP("QObject", "The position of '[' or ']' is incorrect.\n");
inline constexpr char kTooManyElements[] = QT_TRANSLATE_NOOP(
    "QObject", "The number of array parameters is bigger than that of the default.\n");
inline constexpr char kNullNumber[] =
    QT_TRANSLATE_NOOP("QObject", "Failed to translate string to wexUint32. valStr is nullptr.");
// Around the text that is no number.
inline constexpr char kNotANumberHead[] = QT_TRANSLATE_NOOP("QObject", "Failed to translate ");
inline constexpr char kNotANumberTail[] = QT_TRANSLATE_NOOP("QObject", " to wexUint32.\n");

inline constexpr char kDepthMismatch[] = QT_TRANSLATE_NOOP(
    "QObject",
    "The depth of the parameters line does not match that of the default parameters tree.\n");
// Shown as it stands, "%d" and all: it has no marker for a number, and scripts know it so.
inline constexpr char kIndexLine[] =
    QT_TRANSLATE_NOOP("QObject", "The index of current parameter is %d.\n");
inline constexpr char kArrayIndexLine[] =
    QT_TRANSLATE_NOOP("QObject", "The index of current parameter is %1.\n");

}  // namespace SvcKivClass::texts
