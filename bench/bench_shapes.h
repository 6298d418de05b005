// The four layouts of bench_commands.json, their values, and the texts that stand for them.
//
// Threads: constants once made. Owns its texts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench_shapes {

// Small: 6 single values; medium: 88 in single values, structures and an array; large: 512 single
// values in an array of structures; array: 512 elements of one array.
enum class Shape { kSmall, kMedium, kLarge, kArray };
inline constexpr std::array<Shape, 4> kShapes = {Shape::kSmall, Shape::kMedium, Shape::kLarge,
                                                 Shape::kArray};

inline constexpr std::size_t kPartBytes = 20;
inline constexpr std::size_t kLegBytes = 9;
inline constexpr std::size_t kMediumSingles = 3;  // runs of the eight values of a part
inline constexpr std::size_t kMediumLegs = 4;
inline constexpr std::size_t kMediumTable = 32;
inline constexpr std::size_t kLargeGroups = 64;
inline constexpr std::size_t kArrayTable = 512;

inline constexpr std::size_t kSmallBytes = 14;
inline constexpr std::size_t kMediumBytes =
    (kMediumSingles + 2) * kPartBytes + kMediumLegs * kLegBytes + kMediumTable * 2;
inline constexpr std::size_t kLargeBytes = kLargeGroups * kPartBytes;
inline constexpr std::size_t kArrayBytes = kArrayTable * 2;

// How many sets of values a layout has. One alone would be learnt by heart by the processor's
// branch prediction, which no real traffic is.
inline constexpr std::size_t kSets = 16;

// One set of values.
struct Set {
  std::wstring line;               // as typed at the console
  std::string peerLine;            // the same values in the peer's text format
  std::vector<std::uint8_t> body;  // packed
};

// One layout with its sets of values.
struct Sample {
  const char* name;  // also of its command
  std::uint32_t cmdId;
  std::size_t values;  // in each set
  std::array<Set, kSets> sets;

  // The sets one after the other, again and again.
  const Set& At(std::size_t turn) const { return sets[turn % kSets]; }
};

const Sample& SampleOf(Shape shape);

// The compiled bench_commands.json.
std::string CataloguePath();
// The made-up catalogue of 100,000 commands.
std::string LargeCataloguePath();
// A folder of this process's own, removed at its end.
const std::string& ScratchFolder();

}  // namespace bench_shapes
