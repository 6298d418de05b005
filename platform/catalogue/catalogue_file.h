// A compiled catalogue as a file: opening one with every check, and reading one whole.
//
// Threads: any; a SqliteFile is for one thread at a time.
// Errors: statuses of result_codes.h: 51 no such file, 53 not to be opened, 500 no memory, 520
// damaged or of another format. Throws std::bad_alloc where it says so.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/catalogue/catalogue_model.h"
#include "platform/catalogue/sqlite_file.h"
#include "platform/platform_export.h"

namespace catalogue {

// Opens the file and checks that its tables are exactly those of a catalogue.
std::uint32_t OpenCatalogueFile(const std::string& mappedPath, SqliteFile& file,
                                std::uint64_t& fingerprint);
std::uint32_t ReadHostWords(const SqliteFile& file, std::vector<std::string>& words);

// The whole catalogue, for tools; a console reads it piece by piece. On failure the model is of no
// use.
KIVPLATFORM_API std::uint32_t ReadCatalogue(const std::string& mappedPath, Model& model);

}  // namespace catalogue
