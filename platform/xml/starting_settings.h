// The starting settings document: what a user has who never set anything.
//
// It is shipped as share/kiv/kiv.xml, where a site may put its own defaults; the same text is built
// in for when that file is missing or broken. Session 1 with instance 1, all settings with sensible
// values (data/kiv.xml).
//
// Threads: any. Errors: none.
#pragma once

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

// A sound document, for xml_config::Options::startingText.
KIVPLATFORM_API QCString StartingSettings();
// The built-in one.
KIVPLATFORM_API QCString BuiltInSettings();
