// Constants that the command side, its channels and tools share, and the table of error messages.
//
// One copy in each translation unit (constants at namespace scope have internal linkage). Texts
// that users see are 8-bit source texts for the translation; pass them through Translated() where
// they are used.
#pragma once

#include <QObject>
#include <cstddef>

namespace SvcKivClass {

constexpr wchar_t kTimeStampPattern[] = L"yyyymmddhhmmss";
constexpr wchar_t kStatisticsFileName[] = L"kiv_stat_info.txt";
constexpr wchar_t kHelpFileName[] = L"kiv_help.chm";
constexpr wchar_t kTextFileMarker[] = L"$(T<";
constexpr wchar_t kBinaryFileMarker[] = L"$(B<";
constexpr wchar_t kScriptFileSuffix[] = L".hcs";
// Begins a load line in any case; the catalogue's command of this name carries the chunks.
constexpr wchar_t kLoadWord[] = L"ldnv";
constexpr const wchar_t* kHelpWords[] = {L"help", L"?"};

constexpr char kHotKeyConflictWarning[] =
    QT_TRANSLATE_NOOP("QObject", "ESC(<-) conflict with hot key Cancel");
constexpr char kHelpCaption[] = QT_TRANSLATE_NOOP("QObject", "Querying All Commands");

// In the order of the table below.
enum class ErrorMessage : std::size_t {
  kExecuteTimeout,
  kBuildPacketFailed,
  kNoEnoughMemory,
  kOsFull,
  kInitialNotCorrect,
  kNotEnoughMemory,
  kNoDataLibrary,
  kNotSupported,
  kQueryDefaultsFailed,
  kNewParseObjectFailed,
};

// Misspellings and the two memory messages are kept: scripts and hosts compare these texts.
constexpr const char* kErrorMessages[] = {
    QT_TRANSLATE_NOOP("QObject", "Execute DIAG Command Timeout!"),
    QT_TRANSLATE_NOOP("QObject", "Build Command Packet failed!"),
    QT_TRANSLATE_NOOP("QObject", "No enough memory!"),
    QT_TRANSLATE_NOOP("QObject", "OS full!"),
    QT_TRANSLATE_NOOP("QObject", "Initial is not correct!"),
    QT_TRANSLATE_NOOP("QObject", "Not enough memory!"),
    QT_TRANSLATE_NOOP("QObject", "No ZEBM data library file found!"),
    QT_TRANSLATE_NOOP("QObject", "Not supported!"),
    QT_TRANSLATE_NOOP("QObject", "Query default paramters failed!"),
    QT_TRANSLATE_NOOP("QObject", "New parse object failed!"),
};

constexpr const char* MessageText(ErrorMessage message) {
  return kErrorMessages[static_cast<std::size_t>(message)];
}

}  // namespace SvcKivClass
