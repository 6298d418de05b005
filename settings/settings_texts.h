// Texts of the settings, exactly as users, hosts and scripts compare them.
#pragma once

#include <QObject>

namespace SvcKivClass {

// Messages to the view, translated.
constexpr char kNoKeysInFile[] = QT_TRANSLATE_NOOP("QObject", "No shortcut key info in the file.");
constexpr char kNoFavouritesInFile[] =
    QT_TRANSLATE_NOOP("QObject", "No favorite command info in the file.");
constexpr char kNoShortcutsInFile[] =
    QT_TRANSLATE_NOOP("QObject", "No shortcut key command info in the file.");
constexpr char kKeysConflict[] = QT_TRANSLATE_NOOP("QObject", "Shortcut key command conflict.");
constexpr char kInvalidKeys[] = QT_TRANSLATE_NOOP("QObject", "Invalid import shortcut key");

// Of the debug log.
constexpr wchar_t kNoHistoryContainer[] = L"Create HISTORY_CMD Failed.";
constexpr wchar_t kNoFavouritesContainer[] = L"Create FAVORATE_CMD Failed.";
// Of the console printer.
constexpr wchar_t kNoShortcutsContainer[] = L"Create SHORTCUTKEY_CMD Failed.\n";
constexpr wchar_t kNoIndsContainer[] = L"Create SUPPORT_IND Failed.\n";
constexpr wchar_t kNoIndEntry[] = L"Create SUPPORT_IND.CMD Failed.\n";

}  // namespace SvcKivClass
