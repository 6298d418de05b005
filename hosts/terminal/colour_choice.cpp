#include "hosts/terminal/colour_choice.h"

#include <cstdlib>

#include "hosts/terminal/terminal_abilities.h"
#include "platform/os/console_events.h"

namespace kiv {
namespace {

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool IsUnknownKind(const std::string& kind) { return kind.empty() || kind == "dumb"; }

ColourDepth DepthOf(std::int32_t colours) {
  if (colours > 256) return ColourDepth::kTrue;
  if (colours >= 256) return ColourDepth::k256;
  if (colours >= 16) return ColourDepth::k16;
  return colours >= 8 ? ColourDepth::k8 : ColourDepth::kMarks;
}

}  // namespace

std::optional<ColourChoice> ColourChoiceOf(std::string_view text) {
  if (text == "auto") return ColourChoice::kAuto;
  if (text == "always") return ColourChoice::kAlways;
  if (text == "never") return ColourChoice::kNever;
  return std::nullopt;
}

ColourSurroundings ReadColourSurroundings() {
  ColourSurroundings now;
  now.isTerminal = os::ConsoleEvents::OutputIsTerminal();
  now.kind = Environment("TERM");
  now.trueColour = Environment("COLORTERM");
  now.noColour = Environment("NO_COLOR");
  if (!IsUnknownKind(now.kind)) now.abilities = ReadTerminalAbilities(now.kind);
  return now;
}

ColourDepth ChooseColourDepth(ColourChoice choice, const ColourSurroundings& surroundings) {
  const bool isAlways = choice == ColourChoice::kAlways;
  if (choice == ColourChoice::kNever || (!isAlways && !surroundings.isTerminal)) {
    return ColourDepth::kNone;
  }
  const bool isUnknown = IsUnknownKind(surroundings.kind) || !surroundings.abilities.takesAnsi;
  if (isUnknown) return isAlways ? ColourDepth::k16 : ColourDepth::kNone;
  if (!isAlways && !surroundings.noColour.empty()) return ColourDepth::kMarks;
  if (surroundings.trueColour == "truecolor" || surroundings.trueColour == "24bit") {
    return ColourDepth::kTrue;
  }
  return DepthOf(surroundings.abilities.colours);
}

}  // namespace kiv
