// What a handle of the named file services is made of here.
//
// Threads: any; no state. Owns nothing: a handle is a number.
#pragma once

#include <cstdint>
#include <limits>

#include "platform/os/files.h"

namespace os {

inline constexpr std::intptr_t kHandleStep = 4;

// A handle is the descriptor's number plus one, times four: never null, never INVALID_HANDLE_VALUE,
// and nothing to free, so that closing twice is an error and not a crash.
inline HANDLE HandleOf(int descriptor) {
  return reinterpret_cast<HANDLE>((static_cast<std::intptr_t>(descriptor) + 1) * kHandleStep);
}

// -1 for what is no handle.
inline int DescriptorOf(HANDLE file) {
  const auto number = reinterpret_cast<std::intptr_t>(file);
  if (number <= 0 || number % kHandleStep != 0) return -1;
  const std::intptr_t descriptor = number / kHandleStep - 1;
  return descriptor <= std::numeric_limits<int>::max() ? static_cast<int>(descriptor) : -1;
}

}  // namespace os
