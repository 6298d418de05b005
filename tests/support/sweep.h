// How many repetitions a test makes. A test states the count of the full sweep; the environment
// variable KIV_SWEEP scales it: "full" once, "torture" ten times, anything else (the daily check
// and the sanitizer builds) a tenth.
//
// Threads: any. Owns or borrows: nothing. Errors: none.
#ifndef TESTS_SUPPORT_SWEEP_H_
#define TESTS_SUPPORT_SWEEP_H_

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace kivtest {

// `fullCount` scaled as above, never less than one.
inline int64_t SweepCount(int64_t fullCount) {
  const char* sweep = std::getenv("KIV_SWEEP");
  const std::string_view name = sweep != nullptr ? sweep : "";
  if (name == "full") return fullCount;
  if (name == "torture") return fullCount * 10;
  return fullCount >= 10 ? fullCount / 10 : 1;
}

// Whether a test must fail where it otherwise skips for a missing ability of the machine
// (user namespaces, tracing): KIV_CI is set where nothing may be missing.
inline bool NothingMayBeSkipped() { return std::getenv("KIV_CI") != nullptr; }

}  // namespace kivtest

#endif  // TESTS_SUPPORT_SWEEP_H_
