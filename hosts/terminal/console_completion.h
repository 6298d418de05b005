// ConsoleCompletion: what TAB offers in the console: its own words and their arguments, else the
// commands of the catalogue and their parameters.
//
// Threads: the main thread. Borrows the context. Errors: as CompletionSource.
#pragma once

#include <cstddef>
#include <string_view>

#include "hosts/terminal/completion_source.h"
#include "hosts/terminal/console_words.h"

namespace kiv {

class ConsoleCompletion final : public CompletionSource {
 public:
  explicit ConsoleCompletion(ConsoleContext& context) : context_(context) {}

  hostbench::Completion Complete(std::wstring_view line, std::size_t cursor) override;

 private:
  hostbench::Completion OfOwnLine(std::wstring_view line);
  hostbench::Completion OfArguments(const ConsoleWord& word, std::wstring_view line,
                                    std::size_t argumentsAt);
  // Of a line that goes to the module.
  hostbench::Completion OfCommand(std::wstring_view line);

  ConsoleContext& context_;
};

}  // namespace kiv
