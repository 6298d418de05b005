// The named private-profile services: one value of an ini file by section and key.
//
// Section and key are compared without regard to case. Comments (";"), blank lines and foreign keys
// keep their place when a value is written; missing parent directories of the mapped path are
// created; the file is replaced as one (SafeFile), never left half written.
//
// The other sense of these services, lists of all sections or keys for a null section or key, is
// left out: a null section, key or file answers the fallback, and nothing is written.
//
// Threads: any; writers in one process are put in turn.
// Errors: GetLastError, ERROR_FILE_NOT_FOUND when file, section or key is not there, 0 when it is.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include "platform/os/files.h"
#include "platform/platform_export.h"

// Copies the value, cut to `sizeChars` - 1 characters and terminated, and answers its length in
// characters; the fallback (null: empty) when it is not there. Surrounding blanks and one pair of
// quotation marks around the value are dropped.
KIVPLATFORM_API DWORD GetPrivateProfileStringW(const wchar_t* section, const wchar_t* key,
                                               const wchar_t* fallback, wchar_t* value,
                                               DWORD sizeChars, const wchar_t* file);
// Non-zero on success. A null value removes the key; a null key removes the section. The value is
// written as it is (reading drops surrounding blanks and one pair of quotation marks); names and
// values that could not be read back as one line are refused with ERROR_INVALID_PARAMETER, a file
// that the user may not write with ERROR_ACCESS_DENIED.
KIVPLATFORM_API BOOL WritePrivateProfileStringW(const wchar_t* section, const wchar_t* key,
                                                const wchar_t* value, const wchar_t* file);
#endif
