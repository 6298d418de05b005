#include "hosts/terminal/line_colours.h"

#include <algorithm>
#include <cstdlib>

namespace kiv {
namespace {

using SvcKivSpace::KivLineColour;

constexpr char kBold[] = "1";
constexpr char kFaint[] = "2";
constexpr char kItalic[] = "3";
constexpr char kUnderlined[] = "4";
constexpr char kReversed[] = "7";

struct Rgb {
  int red, green, blue;
};

Rgb PartsOf(std::int32_t colour) {
  const auto bits = static_cast<std::uint32_t>(colour);
  return {static_cast<int>(bits & 255), static_cast<int>(bits >> 8 & 255),
          static_cast<int>(bits >> 16 & 255)};
}

int Distance(const Rgb& a, const Rgb& b) {
  const int red = a.red - b.red;
  const int green = a.green - b.green;
  const int blue = a.blue - b.blue;
  return red * red + green * green + blue * blue;
}

constexpr int kCubeLevels[] = {0, 95, 135, 175, 215, 255};

int NearestLevel(int value) {
  int best = 0;
  for (int i = 1; i < 6; ++i) {
    if (std::abs(value - kCubeLevels[i]) < std::abs(value - kCubeLevels[best])) best = i;
  }
  return best;
}

// Of the colours behind the first 16, which every terminal sets otherwise.
int NearestOf256(const Rgb& wanted) {
  const int red = NearestLevel(wanted.red);
  const int green = NearestLevel(wanted.green);
  const int blue = NearestLevel(wanted.blue);
  const Rgb cube = {kCubeLevels[red], kCubeLevels[green], kCubeLevels[blue]};
  const int mean = (wanted.red + wanted.green + wanted.blue) / 3;
  const int step = std::clamp((mean - 8 + 5) / 10, 0, 23);
  const Rgb grey = {8 + 10 * step, 8 + 10 * step, 8 + 10 * step};
  const bool isGrey = Distance(wanted, grey) < Distance(wanted, cube);
  return isGrey ? 232 + step : 16 + 36 * red + 6 * green + blue;
}

// The colour of one of the six hues, as the sum of 1 red, 2 green, 4 blue.
int HueOf(const Rgb& wanted) {
  const int low = std::min({wanted.red, wanted.green, wanted.blue});
  const int high = std::max({wanted.red, wanted.green, wanted.blue});
  const int half = low + (high - low) / 2;
  return (wanted.red > half ? 1 : 0) + (wanted.green > half ? 2 : 0) + (wanted.blue > half ? 4 : 0);
}

// 0 to 15; where there are 8, the same without the bright half.
int NearestOf16(const Rgb& wanted) {
  constexpr int kBlackBelow = 64;
  constexpr int kBrightFrom = 208;
  constexpr int kGreyFrom = 104;
  constexpr int kWhiteFrom = 240;
  const int low = std::min({wanted.red, wanted.green, wanted.blue});
  const int high = std::max({wanted.red, wanted.green, wanted.blue});
  if (high < kBlackBelow) return 0;
  const bool isGrey = (high - low) * 8 < high;
  if (!isGrey) return HueOf(wanted) + (high >= kBrightFrom ? 8 : 0);
  if (high < kGreyFrom) return 8;
  return high < kWhiteFrom ? 7 : 15;
}

std::string OfSixteen(int number, bool isBackground, bool hasBright) {
  constexpr int kDarkGrey = 8;
  if (!hasBright) number = number == kDarkGrey ? 7 : number % 8;
  const int base = (isBackground ? 40 : 30) + (number >= 8 ? 60 : 0);
  return std::to_string(base + number % 8);
}

void AddParameter(std::string& parameters, std::string_view parameter) {
  if (parameter.empty()) return;
  if (!parameters.empty()) parameters += ';';
  parameters += parameter;
}

std::string Sequence(std::string_view mark, const KivLineColour& colour, ColourDepth depth) {
  std::string parameters(mark);
  AddParameter(parameters, ColourParameters(colour.text, false, depth));
  AddParameter(parameters, ColourParameters(colour.background, true, depth));
  return parameters.empty() ? parameters : "\x1b[" + parameters + "m";
}

}  // namespace

ColourGroup ColoursOf(const ConsoleSettings& settings) {
  if (!settings.areThere) return {};
  const SvcKivSpace::KivSettings& values = settings.values;
  return {values.general, values.requestLine, values.activeLine, values.responseLine,
          values.hiliteText};
}

std::string ColourParameters(std::int32_t colour, bool isBackground, ColourDepth depth) {
  const Rgb parts = PartsOf(colour);
  switch (depth) {
    case ColourDepth::kNone:
    case ColourDepth::kMarks:
      return {};
    case ColourDepth::k8:
    case ColourDepth::k16:
      return OfSixteen(NearestOf16(parts), isBackground, depth == ColourDepth::k16);
    case ColourDepth::k256:
      return (isBackground ? "48;5;" : "38;5;") + std::to_string(NearestOf256(parts));
    case ColourDepth::kTrue:
      break;
  }
  return (isBackground ? "48;2;" : "38;2;") + std::to_string(parts.red) + ";" +
         std::to_string(parts.green) + ";" + std::to_string(parts.blue);
}

LineColours::LineColours(const ColourGroup& colours, ColourDepth depth,
                         const TerminalAbilities& abilities) {
  if (depth == ColourDepth::kNone) return;
  const bool hasColours = depth >= ColourDepth::k8;
  const auto set = [&](ShownKind kind, std::string_view mark, const KivLineColour& colour) {
    begins_[static_cast<std::size_t>(kind)] = Sequence(mark, colour, depth);
  };
  const KivLineColour hilite{colours.hiliteText, colours.general.background};
  const std::string_view faint = hasColours ? "" : kFaint;
  set(ShownKind::kReply, "", colours.general);
  set(ShownKind::kRequest, kBold, colours.requestLine);
  set(ShownKind::kConfirmation, "", colours.responseLine);
  set(ShownKind::kIndication,
      abilities.hasItalic ? kItalic
      : hasColours        ? ""
                          : kUnderlined,
      hilite);
  for (const ShownKind kind :
       {ShownKind::kAt, ShownKind::kShell, ShownKind::kController, ShownKind::kTestCase}) {
    set(kind, faint, colours.general);
  }
  set(ShownKind::kAnswer, "", colours.general);
  found_ = Sequence(kReversed, hilite, depth);
  if (hasColours) active_ = Sequence("", colours.activeLine, depth);
  if (hasColours && abilities.erasesInColour) fillRow_ = "\x1b[K";
  end_ = "\x1b[m";
}

}  // namespace kiv
