// The time that this process has used of the processor: a limit on it holds on a machine where
// others work too. What hangs without using any is caught by the test's own time-out.
//
// Threads: any; all of the process count. Owns nothing. Errors: none.
#ifndef TESTS_SUPPORT_PROCESSOR_TIME_H_
#define TESTS_SUPPORT_PROCESSOR_TIME_H_

#include <chrono>
#include <ctime>

namespace kivtest {

inline std::chrono::duration<double> ProcessorTime() {
  return std::chrono::duration<double>(static_cast<double>(std::clock()) / CLOCKS_PER_SEC);
}

}  // namespace kivtest

#endif  // TESTS_SUPPORT_PROCESSOR_TIME_H_
