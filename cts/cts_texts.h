// The test-case channel's texts, exactly as they must be: logs of test runs are searched for them,
// misprints included ("#t" and the last "n" of the usages, the four asterisks). Translate at the
// point of use, never before; %1, %2, ... are places for the user's own words.
//
// Threads: constants.
#pragma once

#include <QtGlobal>

namespace SvcKivClass::texts {

inline constexpr char kConfigPathMissing[] =
    QT_TRANSLATE_NOOP("QObject", "***error: config path not found: %1");
inline constexpr char kCurrentConfig[] =
    QT_TRANSLATE_NOOP("QObject", "config path: %1\nlog file: %2");
inline constexpr char kConfigUsage[] =
    QT_TRANSLATE_NOOP("QObject",
                      "****error: fail to set config path.\n"
                      "usage    : ctscfg <config path>\n"
                      "example  : ctscfg D:\\work\\app\\cts\\config");

inline constexpr char kFilterOn[] = QT_TRANSLATE_NOOP("QObject", "Filter out other messages.");
inline constexpr char kFilterOff[] =
    QT_TRANSLATE_NOOP("QObject", "Do not filter out other messages.");

inline constexpr char kNoArgument[] = QT_TRANSLATE_NOOP(
    "QObject",
    "***error: no input parameter.\n"
    "usage         : cts <config name> <index>\n"
    "example       : cts cts_DW_MDM_NM_GetAddr 0 #tfunction entry: cts_DW_MDM_NM_GetAddr_0; "
    "config file: cts_DW_MDM_NM_GetAddr.pcfgn");
inline constexpr char kNoIndex[] = QT_TRANSLATE_NOOP(
    "QObject",
    "***error: no input index parameter.\n"
    "usage         : cts <config name> <index>\n"
    "example       : cts cts_DW_MDM_NM_GetAddr 0 #tfunction entry: cts_DW_MDM_NM_GetAddr_0; "
    "config file: cts_DW_MDM_NM_GetAddr.pcfgn");
inline constexpr char kCtsNotConnected[] =
    QT_TRANSLATE_NOOP("QObject", "*** Failed to execute cts command. No UE is connected.");
inline constexpr char kNoConfigPath[] = QT_TRANSLATE_NOOP(
    "QObject", "***error: failed to find config path. Use ctscfg <path> to set cts config path.");
inline constexpr char kNoConfigFile[] =
    QT_TRANSLATE_NOOP("QObject", "***error: failed to find parameter config file: %1");
inline constexpr char kNotCompiled[] = QT_TRANSLATE_NOOP(
    "QObject",
    "***error: failed to run parameter config file. Compile it by Kestrax. config file: %1, "
    "rts file:%2");
inline constexpr char kNoMemory[] = QT_TRANSLATE_NOOP("QObject", "***error: no more memory");
// Of a refused post as well.
inline constexpr char kReadFailed[] =
    QT_TRANSLATE_NOOP("QObject", "***error: failed to read file: %1");
inline constexpr char kSentParameters[] = QT_TRANSLATE_NOOP("QObject",
                                                            "send to UE... \n"
                                                            "test entry name       : %1\n"
                                                            "test parameter length : %2B\n"
                                                            "config file           : %3");
inline constexpr char kSentToUe[] = QT_TRANSLATE_NOOP("QObject", "\nSent to UE successfully");

}  // namespace SvcKivClass::texts
