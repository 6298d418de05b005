// The fingerprint of the catalogue that this process works with, as the link's greeting carries it.
//
// Threads: any; the catalogue is opened when nobody opened it before.
// Errors: 0 when there is no catalogue or it cannot be read.
#pragma once

#include <cstdint>

#include "platform/platform_export.h"

// As a number, its first hexadecimal digit (as kivcat shows it) the most significant. On the wire
// it travels as 8 bytes in the order of those digits.
KIVPLATFORM_API std::uint64_t CurrentCatalogueFingerprint();
