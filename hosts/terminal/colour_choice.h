// ColourChoice: whether, and in how many colours, lines are marked on standard output.
//
//   --color   standard output      environment                          marked with
//   never     any                  any                                  nothing
//   auto      no terminal          any                                  nothing
//   auto      terminal             TERM unset or dumb                   nothing
//   auto      terminal             NO_COLOR set and not empty           bold and the like, no
//   colour auto      terminal             COLORTERM truecolor or 24bit         24-bit colours auto
//   terminal             else                                 as many as terminfo says always any
//   as with auto on a terminal, without NO_COLOR; 16 colours where
//                                  the terminal is not known
//
// Threads: before any other is started (the environment). Errors: none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/terminal/line_colours.h"

namespace kiv {

enum class ColourChoice : std::uint8_t { kAuto, kAlways, kNever };

// "auto", "always", "never"; nothing for any other text.
std::optional<ColourChoice> ColourChoiceOf(std::string_view text);

// What the choice depends on.
struct ColourSurroundings {
  bool isTerminal = false;  // standard output is one
  std::string kind;         // TERM; empty: unset
  std::string trueColour;   // COLORTERM
  std::string noColour;     // NO_COLOR
  TerminalAbilities abilities;
};

// As they are now.
ColourSurroundings ReadColourSurroundings();

ColourDepth ChooseColourDepth(ColourChoice choice, const ColourSurroundings& surroundings);

}  // namespace kiv
