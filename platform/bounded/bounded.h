// Bounds-checked memory functions with the error returns of ISO/IEC 9899:2011 Annex K.
//
// A non-zero return is EINVAL (null pointer) or ERANGE (a size beyond the destination, or beyond
// kRsizeMax). On a failed memcpy_s the destination, where it can be written at all, is zeroed
// whole; on a failed memset_s with a count beyond the destination the destination is filled whole.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/platform_export.h"

namespace bounded {
inline constexpr std::size_t kRsizeMax = SIZE_MAX >> 1;

KIVPLATFORM_API int memset_s(void* destination, std::size_t destinationBytes, int value,
                             std::size_t countBytes);
// Overlapping regions are refused with EINVAL.
KIVPLATFORM_API int memcpy_s(void* destination, std::size_t destinationBytes, const void* source,
                             std::size_t countBytes);
}  // namespace bounded
