#include "hosts/terminal/key_table.h"

#include <algorithm>
#include <utility>

#include "hosts/bench/key_name.h"
#include "hosts/bench/terminal_key.h"

namespace kiv {
namespace {

using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;

// One binding: a function of the editor's, or a line of the console's own.
struct BindingUse {
  KivKeyBinding KivKeyBindings::*binding;
  const char* function;
  const char* line;
  const char* does;
};

// The line that is under edit stays, but for the last two: one sends it, one gives it up.
constexpr char kRecentLine[] = ":history 10";
constexpr BindingUse kUses[] = {
    {&KivKeyBindings::repeatCmd, nullptr, ":again", "repeats the last line"},
    {&KivKeyBindings::listHistoryCmd, nullptr, ":history", "lists the history"},
    {&KivKeyBindings::listRecentCmd, nullptr, kRecentLine, "lists the latest lines"},
    {&KivKeyBindings::sendCmd, "accept-line", "", "sends the line"},
    {&KivKeyBindings::cancel, "kill-whole-line", "", "gives up the line"},
};

// Enter sends whatever else does: a terminal's lines end with it, pasted ones too. Ctrl-R looks
// through the latest lines by itself, and further than a list.
constexpr std::string_view kEnter = "\r";
constexpr std::string_view kSearch = "\x12";

std::int32_t CodeOf(const KivKeyBinding& binding) {
  if (!hostbench::KeyNameOf(binding.value).empty()) return binding.value;
  return hostbench::KeyCodeOf(binding.name.view()).value_or(0);
}

std::int32_t FunctionKey(std::size_t number) {
  return hostbench::KeyCodeOf(L"F" + std::to_wstring(number)).value_or(0);
}

// Adds the key unless another one has it already.
void Add(std::vector<EditorKey>& table, std::int32_t code, const EditorKey& use) {
  for (std::string& sequence : hostbench::TerminalSequencesOf(code)) {
    const bool isTaken = std::any_of(table.begin(), table.end(), [&sequence](const EditorKey& row) {
      return row.sequence == sequence;
    });
    if (isTaken || sequence == kEnter || (sequence == kSearch && use.line == kRecentLine)) continue;
    EditorKey row = use;
    row.sequence = std::move(sequence);
    table.push_back(std::move(row));
  }
}

EditorKey RunsShortcut(std::size_t number) {
  EditorKey key;
  key.line = ":key run " + std::to_string(number);
  return key;
}

}  // namespace

std::vector<EditorKey> KeyTable(const KivKeyBindings& bindings, const KeptCommands& kept) {
  std::vector<EditorKey> table;
  const std::size_t count = kept.shortcuts.size();
  for (std::size_t number = 1; number <= count; ++number) {
    if (!kept.shortcuts[number - 1].empty()) Add(table, FunctionKey(number), RunsShortcut(number));
  }
  for (const BindingUse& use : kUses) {
    Add(table, CodeOf(bindings.*use.binding), {"", use.function, use.line});
  }
  // A free key says so, unless the user's inputrc has something for it.
  for (std::size_t number = 1; number <= count; ++number) {
    EditorKey key = RunsShortcut(number);
    key.yields = true;
    Add(table, FunctionKey(number), key);
  }
  return table;
}

std::string UseOfFreeKey(const KivKeyBindings& bindings, std::size_t number) {
  for (const BindingUse& use : kUses) {
    if (CodeOf(bindings.*use.binding) == FunctionKey(number)) return use.does;
  }
  return {};
}

}  // namespace kiv
