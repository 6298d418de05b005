// LineColours: with which bytes a terminal shows a line in the colours of its kind.
//
// The settings have colours of 24 bits. Where a terminal has 256, the nearest of the colour cube
// and the grey ramp stands for one; of 16 and of 8, whose shades every terminal sets otherwise, the
// one of the same hue, so that two colours that differ to the eye stay two.
//
//   kind                                     colours             mark without colours
//   typed lines, input parameters            request line        bold
//   confirmations                            response line
//   indications                              highlighted line    italic, else underlined
//   channels' texts                          general             faint
//   replies, the console's own answers       general
//   found or changed text                    highlighted line    reversed
//   the line under edit                      active line
//
// Threads: any; a value. Errors: none.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "hosts/terminal/console_settings.h"
#include "hosts/terminal/shown_kind.h"

namespace kiv {

// What may be written to mark a line, least first.
enum class ColourDepth : std::uint8_t { kNone, kMarks, k8, k16, k256, kTrue };

// What a terminal can do beyond colours.
struct TerminalAbilities {
  std::int32_t colours = 0;     // how many; not positive: none
  bool takesAnsi = false;       // its colours are set as ECMA-48 says
  bool erasesInColour = false;  // an erased row gets the background colour
  bool hasItalic = false;
};

// The user's colours, 0x00BBGGRR each; at first those of a new settings document.
struct ColourGroup {
  SvcKivSpace::KivLineColour general{14737632, 1973790};
  SvcKivSpace::KivLineColour requestLine{16763010, 1973790};
  SvcKivSpace::KivLineColour activeLine{16777215, 3945005};
  SvcKivSpace::KivLineColour responseLine{12510920, 1973790};
  std::int32_t hiliteText = 6281215;
};
// Those of the settings, where there are any.
ColourGroup ColoursOf(const ConsoleSettings& settings);

class LineColours {
 public:
  // Nothing is marked.
  LineColours() = default;
  LineColours(const ColourGroup& colours, ColourDepth depth, const TerminalAbilities& abilities);

  // Whether all texts are empty.
  bool AreNone() const { return end_.empty(); }
  // What stands in front of a part of a line; empty where the kind is not marked.
  std::string_view Begin(ShownKind kind) const { return begins_[static_cast<std::size_t>(kind)]; }
  // Likewise of found or changed text, and of the line under edit.
  std::string_view FoundBegin() const { return found_; }
  std::string_view ActiveBegin() const { return active_; }
  // In front of a row, behind Begin: the rest of it gets the background.
  std::string_view FillRow() const { return fillRow_; }
  // Behind each of them: the terminal as it was.
  std::string_view End() const { return end_; }

 private:
  std::array<std::string, kShownKindCount> begins_;
  std::string found_;
  std::string active_;
  std::string fillRow_;
  std::string end_;
};

// The parameters of the sequence that sets a colour (0x00BBGGRR): "38;2;R;G;B", "48;5;N", "31".
// Empty below k8.
std::string ColourParameters(std::int32_t colour, bool isBackground, ColourDepth depth);

}  // namespace kiv
