// PieceText: text that comes in pieces of any size, made fit for showing as it comes.
//
// Whole characters are shown whole and line ends as line feeds, wherever the pieces were cut: the
// beginning of a UTF-8 character, and carriage returns that a line feed may follow, wait for the
// next piece or for the end. What would act on a terminal is escaped (shown_text.h). Nothing is
// added but the line feed that stands for a carriage return at the end.
//
// Threads: none of its own, one caller at a time. Owns what it holds back: at most 1 KiB, so that a
// device that sends nothing but carriage returns takes no memory. Errors: none.
#pragma once

#include <string>
#include <string_view>

namespace kiv {

// One text, from its first piece to its end; another one may follow.
class PieceText {
 public:
  // What can be shown now, in UTF-8; may be empty.
  std::string Add(std::string_view piece);
  // Nothing is to be waited for: what was held back. A line feed that comes all the same still
  // belongs to the carriage return that was shown as one.
  std::string End();
  bool IsHolding() const { return !held_.empty(); }

 private:
  std::string held_;
  bool endedAtReturn_ = false;
};

}  // namespace kiv
