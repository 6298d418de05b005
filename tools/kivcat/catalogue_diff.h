// What differs between two catalogues, told a line each.
//
// A line begins with "+" for what only the new one has, "-" for what only the old one has, "~" for
// what changed; then it names the thing and says "OLD -> NEW". The order is that of the old
// catalogue, what was added behind it, so that two runs give the same text.
//
// Threads: any. Owns nothing. Errors: none.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

// Empty when a console and a device cannot tell them apart, descriptions included.
std::string DiffCatalogues(const catalogue::Model& older, const catalogue::Model& newer);

}  // namespace kivcat
