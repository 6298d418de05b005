#include "tools/kivcat/program_commands.h"

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_writer.h"
#include "tools/kivcat/catalogue_input.h"
#include "tools/kivcat/command_listing.h"
#include "tools/kivcat/header_values.h"
#include "tools/kivcat/header_writer.h"
#include "tools/kivcat/source_writer.h"

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

int RunBuild(Invocation& invocation) {
  LoadedCatalogue loaded;
  if (!invocation.Has("output")) return invocation.Fail("build needs -o FILE");
  if (!Load(invocation, loaded, LoadSourceFile)) return 1;
  std::string bytes;
  const std::uint32_t status = catalogue::WriteCatalogue(loaded.model, bytes);
  if (status != 0) {
    return invocation.Fail(invocation.words[0] + ": " + result::Text(status).ToUtf8());
  }
  return invocation.Deliver(bytes);
}

int RunShow(Invocation& invocation) {
  LoadedCatalogue loaded;
  if (!Load(invocation, loaded, LoadCatalogue)) return 1;
  const catalogue::Model& model = loaded.model;
  if (invocation.Has("source")) return invocation.Deliver(WriteSource(model));
  if (invocation.words.size() == 1) return invocation.Deliver(ListCommands(model));
  for (const catalogue::Command& command : model.commands) {
    if (command.name == invocation.words[1] || HexText(command.id) == invocation.words[1]) {
      return invocation.Deliver(ListCommand(model, command));
    }
  }
  return invocation.Fail(invocation.words[0] + ": there is no command \"" + invocation.words[1] +
                         "\"");
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
