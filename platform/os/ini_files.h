// The named private-profile services: one value of an ini file by section and key.
//
// Section and key are compared without regard to case. Comments (";"), blank lines and foreign keys keep
// their place when a value is written; missing parent directories of the mapped path are created; the file
// is replaced as one (SafeFile), never left half written.
//
// Threads: any; writers of one file in one process are put in turn.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include "platform/platform_export.h"
#include "platform/os/files.h"

// Copies the value, cut to `sizeChars` - 1 characters and terminated, and answers its length in
// characters; the fallback (null: empty) when it is not there. Surrounding blanks and one pair of
// quotation marks around the value are dropped.
KIVPLATFORM_API DWORD GetPrivateProfileStringW(const wchar_t* section, const wchar_t* key,
                                               const wchar_t* fallback, wchar_t* value,
                                               DWORD sizeChars, const wchar_t* file);
// 0 on failure (GetLastError says why). A null value removes the key.
KIVPLATFORM_API BOOL WritePrivateProfileStringW(const wchar_t* section, const wchar_t* key,
                                                const wchar_t* value, const wchar_t* file);
#endif
