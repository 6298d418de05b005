// CommandHelp: the commands of the catalogue as the console's own words speak of them, and what a
// refused line is told behind the module's reply.
//
// Reading 20,000 commands takes longer than a prompt may: Start reads them on a thread of its own,
// and the first question waits for it.
//
// Threads: the main thread. Owns the index and the guide. Errors: none; without a catalogue there
// are no commands.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "hosts/bench/command_index.h"
#include "hosts/bench/line_guide.h"
#include "platform/text/qc_string.h"

namespace kiv {

class CommandHelp {
 public:
  explicit CommandHelp(QCString cataloguePath) : cataloguePath_(std::move(cataloguePath)) {}

  // Begins to read the commands; once.
  void Start();
  // The catalogue was read again: so will this.
  void Forget();
  // Waits until the commands are read. Lives until Forget.
  hostbench::LineGuide& Guide();

  // What a person is told about a line that the module did not run: the place in its parameters, or
  // the names that its word may have meant. Whole lines for standard error; empty: nothing.
  std::string AfterRefusal(std::wstring_view line, std::size_t widthCells);

 private:
  const QCString cataloguePath_;
  std::unique_ptr<hostbench::CommandIndexLater> index_;
  std::unique_ptr<hostbench::LineGuide> guide_;
};

}  // namespace kiv
