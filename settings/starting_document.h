// The document of a user who has none yet: session 1, instance 1, with the initial values of the
// table of settings and four empty lists.
//
// Threads: any.
#pragma once

#include <vector>

#include "platform/xml/xml_config.h"

namespace SvcKivClass {

QCString StartingDocument();

// How two processes' changes of the document are merged: sessions and instances by ID, the history
// entry by entry, every other list as a whole.
std::vector<xml_config::MergeRule> SettingsMergeRules();

// What the fields of a value that is missing in the file hold, and a store adds.
std::vector<xml_config::UnsetValue> UnsetSettingValues();

}  // namespace SvcKivClass
