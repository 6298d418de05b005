// ChangeNotes: which fields of a reply are not what they were in the last reply to the same
// request, told behind the module's own text, which stays as it is.
//
// Replies are remembered whether or not changes are told, so that the first question has an answer.
// Only confirmations with success of lines that were not routed are compared.
//
// Threads: the main thread. Borrows the display. Errors: none; what cannot be compared is as if
// there had been no reply before.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hosts/bench/reply_diff.h"
#include "hosts/bench/reply_memory.h"
#include "hosts/terminal/display.h"
#include "hosts/terminal/line_runner.h"

namespace kiv {

class ChangeNotes {
 public:
  explicit ChangeNotes(Display& display) : display_(display) {}

  bool AreTold() const { return areTold_; }
  void Tell(bool told) { areTold_ = told; }
  // Of the next line, in any case.
  void TellNext() { isNextTold_ = true; }

  // Remembers the line's reply, and tells what changed if that is wanted; of a round of a line that
  // is repeated its own word shows it.
  void LineFinished(const FinishedLine& line);
  // Of the line that finished last; unset where there is no reply before it.
  std::optional<hostbench::ReplyChanges> Changes() const;
  // Bodies are read in another way from now on.
  void Forget();

 private:
  Display& display_;
  bool areTold_ = false;
  bool isNextTold_ = false;
  hostbench::ReplyMemory memory_;
  // Of the line that finished last.
  std::uint32_t cmdId_ = 0;
  std::optional<hostbench::ReplyMemory::Bytes> before_;
  hostbench::ReplyMemory::Bytes reply_;
};

// A row for each field, "uptime  12 -> 15", and how many more there are.
std::vector<std::string> ChangeRows(const hostbench::ReplyChanges& changes);
// "kiv: changed since the last NAME: uptime 12 -> 15", or a row for each of many fields. `name` is
// fit for showing.
std::string ChangesText(const std::string& name, const hostbench::ReplyChanges& changes);

}  // namespace kiv
