// LinePainter: the lines of shown texts as they go out: the time in front of each where it is
// wanted, the colours of their kind around them.
//
// Every part of a line is painted by itself, and its line feed stays unpainted: wherever the output
// is cut, the terminal is as it was before, and no colour runs into a prompt or another program's
// row. Without colours and times the bytes are those of the text.
//
// Threads: none of its own, one caller at a time. Borrows the pattern. Errors: none.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hosts/terminal/line_colours.h"
#include "hosts/terminal/line_pattern.h"
#include "hosts/terminal/shown_kind.h"
#include "hosts/terminal/time_stamp.h"

namespace kiv {

class LinePainter {
 public:
  void SetColours(LineColours colours) { colours_ = std::move(colours); }
  void SetStamp(StampForm form) { stamp_ = form; }
  // What is found in lines that a user may filter is marked; null: nothing.
  void SetPattern(const LinePattern* pattern) { pattern_ = pattern; }

  // Texts come in the order in which they are shown, which is not quite that of their times: `at`
  // is at least the time of the line before, unless the clock was set back.
  std::string Paint(ShownKind kind, std::string_view text, TimeStamp::Clock::time_point at);
  // Somebody else ended the line that was open.
  void LineWasEnded() { isLineOpen_ = false; }

 private:
  // A line, or a part of one.
  void PaintPart(ShownKind kind, std::string_view part, std::string& out) const;

  TimeStamp::Clock::time_point InOrder(TimeStamp::Clock::time_point at);

  LineColours colours_;
  TimeStamp::Clock::time_point latest_;  // time of the line before
  StampForm stamp_ = StampForm::kNone;
  const LinePattern* pattern_ = nullptr;
  TimeStamp time_;
  bool isLineOpen_ = false;
};

}  // namespace kiv
