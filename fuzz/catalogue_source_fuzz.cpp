// A catalogue source from anywhere: it is checked without a crash, and what passes can be compiled,
// and written as a source again that means the same.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/catalogue/catalogue_writer.h"
#include "tools/kivcat/command_listing.h"
#include "tools/kivcat/header_writer.h"
#include "tools/kivcat/source_checker.h"
#include "tools/kivcat/source_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t lengthBytes) {
  const std::string_view json(reinterpret_cast<const char*>(data), lengthBytes);
  catalogue::Model model;
  kivcat::Faults faults("source");
  const bool good = kivcat::LoadSource(json, model, faults);
  if (good == faults.HasErrors()) std::abort();
  faults.Text();
  // Large arrays are legal, but writing them out takes the time that other inputs need.
  if (!good || model.totalBytes > 1 << 20) return 0;

  std::string header;
  kivcat::WriteHeader(model, header);
  kivcat::ListCommands(model);
  for (const catalogue::Command& command : model.commands) kivcat::ListCommand(model, command);
  std::string bytes;
  if (catalogue::WriteCatalogue(model, bytes) != 0) std::abort();

  catalogue::Model again;
  kivcat::Faults noFaults("again");
  if (!kivcat::LoadSource(kivcat::WriteSource(model), again, noFaults)) std::abort();
  std::string bytesAgain;
  if (catalogue::WriteCatalogue(again, bytesAgain) != 0 || bytesAgain != bytes) std::abort();
  return 0;
}
