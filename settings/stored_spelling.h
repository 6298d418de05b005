// How a value or an entry that is read and stored unchanged comes to stand in the document: what a
// merge with another console takes for no change.
//
// Threads: any; no state. Errors: std::bad_alloc.
#pragma once

#include "platform/xml/xml_config.h"

namespace SvcKivClass {

xml_config::StoredAs SettingsStoredAs();

}  // namespace SvcKivClass
