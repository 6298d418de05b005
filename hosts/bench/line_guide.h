// LineGuide: what a host asks while a line is typed and when the module refused it. It knows the
// commands and the catalogue; everything else is worked out from the line that it is given.
//
// Threads: one object for one thread at a time (the one that draws): it does not touch the module.
// Owns a share of the index, and the shape of the command that was asked for last; keeps the
// catalogue open, which is too long to open for each question.
// Errors: none; where the catalogue does not answer there is nothing to say.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/bench/command_description.h"
#include "hosts/bench/command_index.h"
#include "hosts/bench/field_help.h"
#include "hosts/bench/refusal.h"
#include "platform/catalogue/cmd_database.h"

namespace hostbench {

// What the cursor stands in.
enum class LinePlace { kWord, kParameters, kNothing };

// What TAB needs.
struct LineHelp {
  LinePlace place = LinePlace::kNothing;  // kNothing: no command of the catalogue
  // kWord: the word before the cursor, from `from` on, and the commands for it.
  std::size_t from = 0;
  std::wstring word;
  CommandMatches commands;
  // kParameters.
  FieldHelp field;
  std::wstring text;  // HelpText of it
};

// Answers for one catalogue.
class LineGuide {
 public:
  // `cataloguePath` as for CParamCodec. `commands` is not null.
  LineGuide(QCString cataloguePath, std::shared_ptr<const CommandIndex> commands);
  ~LineGuide();
  LineGuide(const LineGuide&) = delete;
  LineGuide& operator=(const LineGuide&) = delete;

  // `cursor` is in wchar_t; what stands behind it is not looked at. `limit` bounds the commands.
  LineHelp At(std::wstring_view line, std::size_t cursor, std::size_t limit);
  // Where the module's parser refuses the line; nothing for a line that it takes, or that it does
  // not come to: no command with parameters, or one that the catalogue does not want with these.
  // Reads the files that the line names, as the module did.
  std::optional<Refusal> RefusalOf(std::wstring_view line);
  // False when there is no such command.
  bool Describe(std::wstring_view command, CommandDescription& description);

  const CommandIndex& Commands() const noexcept { return *commands_; }

 private:
  struct Known;  // the command asked for last

  Known* Know(std::wstring_view command);

  const QCString cataloguePath_;
  CCmdDatabase catalogue_;
  const std::shared_ptr<const CommandIndex> commands_;
  std::unique_ptr<Known> known_;
};

}  // namespace hostbench
