#include "tools/kivcat/program_commands.h"

#include "tools/kivcat/catalogue_input.h"
#include "tools/kivcat/header_writer.h"

namespace kivcat {
namespace {

// Loads what the first word names; warnings and faults go to the error output.
bool Load(Invocation& invocation, LoadedCatalogue& loaded,
          std::string (*load)(const std::string&, LoadedCatalogue&)) {
  const std::string faults = load(invocation.words[0], loaded);
  invocation.outputs.errorOutput += faults + loaded.warnings;
  return faults.empty();
}

}  // namespace

int RunCheck(Invocation& invocation) {
  LoadedCatalogue loaded;
  return Load(invocation, loaded, LoadSourceFile) ? 0 : 1;
}

int RunHeader(Invocation& invocation) {
  LoadedCatalogue loaded;
  if (!Load(invocation, loaded, LoadCatalogue)) return 1;
  std::string header;
  const std::string reason = WriteHeader(loaded.model, header);
  if (!reason.empty()) return invocation.Fail(invocation.words[0] + ": " + reason);
  return invocation.Deliver(header);
}

}  // namespace kivcat
