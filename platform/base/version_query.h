// The two version queries of the string-and-file library.
//
// Both answer what the bench setup fixed (bench_setup.h), else what the connected device said in
// its greeting, else the platform's configuration, else the default (variant 248, product 0).
//
// Threads: any.
#pragma once

#include <cstdint>

#include "platform/platform_export.h"

// Which protocol variant the device speaks.
class KIVPLATFORM_API CVersion {
 public:
  // The protocol variant code: 246, 248, 249, or another number for the base class of command ids.
  static std::uint32_t GetVersion();
};

// Which product the device is.
class KIVPLATFORM_API CProductVersion {
 public:
  // The product version code; 38 selects the shell's raw path.
  static std::uint32_t GetVersion();
};

namespace version_query {
// The link notes what the device's greeting said; cleared with (-1, -1) when the session ends for
// good.
KIVPLATFORM_API void NoteDevice(std::int64_t variant, std::int64_t product);
}  // namespace version_query
