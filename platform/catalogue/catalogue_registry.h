// The catalogues that this process has open, and which of them is the one it works with.
//
// Threads: any. Opening takes a lock; Current does not: the record it reads was published through
// an atomic and is kept until the process ends, with its catalogue. Owns the records of catalogues
// that were current; other catalogues belong to those who use them.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/catalogue/catalogue.h"
#include "platform/text/qc_string.h"

namespace catalogue_registry {

// The catalogue at the path: the one that is open when the file has not changed, else the file read
// anew. With `asCurrent` it becomes the one that the process works with. Null on failure.
std::uint32_t Open(const QCString& path, bool asCurrent, std::shared_ptr<const Catalogue>& opened);

// The one that the process works with; null when there is none yet. A path that is not null must be
// its path, else the answer is null, too.
std::shared_ptr<const Catalogue> Current(const wchar_t* path = nullptr);

// Current, or the bench setup's catalogue opened as such.
std::uint32_t OpenCurrent(std::shared_ptr<const Catalogue>& opened);

// What a path that a caller gives means: empty or null is the one that the process works with.
std::uint32_t OpenFor(const wchar_t* path, std::shared_ptr<const Catalogue>& opened);

}  // namespace catalogue_registry
