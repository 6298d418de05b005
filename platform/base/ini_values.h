// Ini values by section and key alone, and CAppPrefs, the application preferences beside them.
//
// The values are in platform.ini in the configuration directory; where there is none, in the
// shipped share/kiv/platform.ini; with neither every value has its default.
//
// Threads: any.
#pragma once

#include <cstdint>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// A decimal value (leading blanks and sign, digits; the rest is ignored); `fallback` when the key
// is not there or has no digits. Beyond 32 bits gives 4294967295; a minus wraps modulo 2 to the
// 32nd.
KIVPLATFORM_API std::uint32_t GetIniUint32(const wchar_t* section, const wchar_t* key,
                                           std::uint32_t fallback);
KIVPLATFORM_API QCString GetIniString(const wchar_t* section, const wchar_t* key,
                                      const QCString& fallback);

// Where the application keeps its files, as the bench setup has it at the call (bench_setup.h).
class KIVPLATFORM_API CAppPrefs {
 public:
  static QCString GetConfigDir();
  static QCString GetDataDir();
  static QCString GetShareDir();
};
