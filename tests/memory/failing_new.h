// Operator new that can be made to fail, for the threads that a test means.
//
// Threads: any. A thread is nobody's until it says what it is.
#pragma once

#include <cstdint>

namespace kivtest {

enum class Who { kNobody, kFacade, kLink };

// What the calling thread is from now on.
void IAm(Who who);

// The n-th allocation of these threads throws, or every one from it on; 0 switches off.
void FailNew(Who who, std::uint64_t n, bool andOn = false);
// Whether one was made to fail since then.
bool NewFailed();

}  // namespace kivtest
