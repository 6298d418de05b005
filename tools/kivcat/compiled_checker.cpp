#include "tools/kivcat/compiled_checker.h"

#include <algorithm>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_file.h"
#include "platform/catalogue/catalogue_writer.h"
#include "platform/catalogue/sqlite_file.h"
#include "platform/text/shown_text.h"
#include "tools/kivcat/catalogue_diff.h"
#include "tools/kivcat/source_checker.h"
#include "tools/kivcat/source_writer.h"

namespace kivcat {
namespace {

using catalogue::Model;

std::string Reason(const std::string& path, std::uint32_t status) {
  return ShownLine(path) + ": " + result::Text(status).ToUtf8() + "\n";
}

std::string_view VersionOf(std::string_view bytes) {
  return bytes.substr(std::min(bytes.size(), kVersionOffset), kVersionBytes);
}

// What differs between the file and what would be written of its own content; empty when nothing
// does.
std::string DifferenceOf(std::string_view bytes, const Model& read, std::string_view newBytes,
                         const Model& made) {
  if (read.fingerprint != made.fingerprint) {
    return "its fingerprint is " + catalogue::FingerprintText(read.fingerprint) +
           ", that of its commands " + catalogue::FingerprintText(made.fingerprint);
  }
  std::string difference = DiffCatalogues(read, made);
  if (!difference.empty()) return difference.substr(0, difference.find('\n'));
  const bool comparable = VersionOf(bytes) == VersionOf(newBytes);
  return comparable && bytes != newBytes ? "its bytes are not those of its content" : "";
}

}  // namespace

std::string LoadCompiled(const std::string& path, std::string_view bytes, LoadedCatalogue& loaded) {
  if (const std::uint32_t status = catalogue::ReadCatalogue(path, loaded.model); status != 0) {
    return Reason(path, status);
  }
  Faults faults(path);
  Model made;
  const bool good = LoadSource(WriteSource(loaded.model), made, faults);
  if (!good) return faults.TextWithoutPlaces();
  loaded.warnings = faults.TextWithoutPlaces();
  std::string newBytes;
  if (const std::uint32_t status = catalogue::WriteCatalogue(made, newBytes); status != 0) {
    return Reason(path, status);
  }
  const std::string difference = DifferenceOf(bytes, loaded.model, newBytes, made);
  if (difference.empty()) return {};
  return ShownLine(path) + ": " + result::Text(result::kCatalogueDamaged).ToUtf8() + ": " +
         ShownLine(difference) + "\n";
}

}  // namespace kivcat
