// One line of the system log, as every failure of the module is noted there.
//
// Threads: any.
#pragma once

#include <cstdint>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// "%02d FUNCTION - err=%d, WHAT\n": UE id, "Class::Function()", status (-1 where nothing better is
// known).
QCString FailureLine(std::int32_t ueId, const wchar_t* function, std::int32_t err,
                     const wchar_t* what);

// Writes that line to the system log.
void LogFailure(std::int32_t ueId, const wchar_t* function, std::int32_t err, const wchar_t* what);

}  // namespace SvcKivClass
