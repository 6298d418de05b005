// Reading a whole ini file.
//
// Threads: any. Errors: a file that is not there or cannot be read gives an empty document.
#pragma once

#include <string>

#include "platform/os/ini_document.h"

os::IniDocument ReadIniFile(const std::string& mappedPath);
