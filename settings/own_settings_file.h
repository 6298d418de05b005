// Whether a path leads to the settings file or to what is kept beside it (docs/settings.md), which
// nobody may write over.
//
// Threads: any. Errors: a path that leads nowhere is none of them.
#pragma once

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// `path` by whatever name: through links, another spelling of the directory.
bool IsOwnSettingsFile(const QCString& path, const QCString& ownPath);

}  // namespace SvcKivClass
