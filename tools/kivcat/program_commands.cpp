#include "tools/kivcat/program_commands.h"

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_writer.h"
#include "tools/kivcat/catalogue_diff.h"
#include "tools/kivcat/catalogue_input.h"
#include "tools/kivcat/command_listing.h"
#include "tools/kivcat/header_values.h"
#include "tools/kivcat/header_writer.h"
#include "tools/kivcat/source_writer.h"

namespace kivcat {
namespace {

// Loads what a word names; warnings and faults go to the error output.
bool Load(Invocation& invocation, LoadedCatalogue& loaded,
          std::string (*load)(const std::string&, LoadedCatalogue&), std::size_t word = 0) {
  const std::string faults = load(invocation.words[word], loaded);
  invocation.outputs.errorOutput += faults + loaded.warnings;
  return faults.empty();
}

}  // namespace

int RunCheck(Invocation& invocation) {
  LoadedCatalogue loaded;
  return Load(invocation, loaded, LoadCatalogue) ? 0 : 1;
}

int RunDiff(Invocation& invocation) {
  constexpr int kEqual = 0;
  constexpr int kDifferent = 1;
  constexpr int kTrouble = 2;  // as of diff, so that scripts tell it from a difference
  LoadedCatalogue older;
  LoadedCatalogue newer;
  const bool olderIsGood = Load(invocation, older, LoadCatalogue);
  const bool newerIsGood = Load(invocation, newer, LoadCatalogue, 1);  // the faults of both
  if (!olderIsGood || !newerIsGood) return kTrouble;
  const std::string differences = DiffCatalogues(older.model, newer.model);
  if (differences.empty()) return kEqual;
  return invocation.Deliver(differences) == 0 ? kDifferent : kTrouble;
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
