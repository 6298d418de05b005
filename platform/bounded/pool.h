// The pool allocator: buffers for the device and payloads for the view come from here, so that
// whoever receives one can release it, on whichever side of the library it stands.
//
// Threads: any. Errors: null when there is no memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/platform_export.h"

// At least `sizeBytes` bytes, aligned for any type, not zeroed; a size of 0 gives a valid pointer
// too.
extern "C" KIVPLATFORM_API void* PoolMalloc(std::size_t sizeBytes);
// Null is allowed and does nothing.
extern "C" KIVPLATFORM_API void PoolFree(void* block);

namespace pool {
// Like PoolMalloc, for what stays until the process ends: it is never released and is no live
// block.
KIVPLATFORM_API void* AllocateForGood(std::size_t sizeBytes);

// For tests and diagnosis.
// Blocks allocated and not yet released, process-wide.
KIVPLATFORM_API std::uint64_t LiveBlocks();
// Makes the n-th allocation from now on (1 is the next one) fail, and that one only; 0 switches
// off.
KIVPLATFORM_API void FailNth(std::uint64_t n);
// The same, and every one behind it too, until FailNth(0).
KIVPLATFORM_API void FailFrom(std::uint64_t n);
// Whether the failure asked for has happened since the last FailNth or FailFrom.
KIVPLATFORM_API bool Failed();
}  // namespace pool
