// The commands of kivcat, one function each, called by the table of kivcat_program.cpp.
//
// Threads: one call at a time. Errors: the exit status, 0 or 1 (of RunDiff 2); the reason is in the
// error output.
#pragma once

#include "tools/kivcat/invocation.h"

namespace kivcat {

int RunCheck(Invocation& invocation);
int RunBuild(Invocation& invocation);
int RunShow(Invocation& invocation);
int RunDiff(Invocation& invocation);
int RunHeader(Invocation& invocation);
int RunEncode(Invocation& invocation);
int RunDecode(Invocation& invocation);

}  // namespace kivcat
