// Where the shipped files stand.
//
// Threads: any. Errors: the install prefix's directory when none is there.
#pragma once

#include <string>

// The first that exists of share/kiv beside the running program's directory, one level higher (test
// programs stand deeper in the build tree), beside the directory of this library, and of the
// install prefix.
std::string ShareDirectory();
