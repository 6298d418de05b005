#include "hosts/bench/resemblance.h"

#include <algorithm>
#include <cstddef>

namespace hostbench {
namespace {

constexpr std::uint32_t kBase = 1000;
constexpr std::uint32_t kPartBonus = 12;      // a letter that begins a part of the name
constexpr std::uint32_t kTogetherBonus = 10;  // a letter right behind the one before
constexpr std::uint32_t kWholeBonus = 400;    // all letters stand together
constexpr std::uint32_t kMostMissing = 200;

bool BeginsPart(std::string_view name, std::size_t at) {
  return at == 0 || name[at - 1] == '_' || name[at - 1] == '.' || name[at - 1] == '-';
}

// Where the typed letter is best looked for: right here, else at the beginning of a part if the
// rest still fits behind it, else wherever it comes next.
std::size_t PlaceOf(std::string_view typed, std::size_t letter, std::string_view name,
                    std::size_t from) {
  const char ch = typed[letter];
  if (from != 0 && from < name.size() && name[from] == ch) return from;
  const std::size_t first = name.find(ch, from);
  for (std::size_t at = first; at != std::string_view::npos; at = name.find(ch, at + 1)) {
    if (!BeginsPart(name, at)) continue;
    std::size_t rest = at + 1;
    bool fits = true;
    for (std::size_t i = letter + 1; i < typed.size() && fits; ++i) {
      rest = name.find(typed[i], rest);
      fits = rest++ != std::string_view::npos;
    }
    if (fits) return at;
  }
  return first;
}

}  // namespace

std::uint32_t Resemblance(std::string_view typed, std::string_view name) {
  if (typed.empty() || typed.size() > name.size()) return 0;
  const auto missing = static_cast<std::uint32_t>(name.size() - typed.size());
  const std::uint32_t base = kBase - std::min(missing, kMostMissing);
  const std::size_t whole = name.find(typed);
  if (whole != std::string_view::npos) {
    const auto letters = static_cast<std::uint32_t>(std::min<std::size_t>(typed.size(), 80));
    return base + kWholeBonus + letters * kTogetherBonus +
           (BeginsPart(name, whole) ? kPartBonus * 4 : 0);
  }
  std::uint32_t score = base;
  std::size_t from = 0;
  for (std::size_t i = 0; i < typed.size(); ++i) {
    const std::size_t at = PlaceOf(typed, i, name, from);
    if (at == std::string_view::npos) return 0;
    if (BeginsPart(name, at)) score += kPartBonus;
    if (i != 0 && at == from) score += kTogetherBonus;
    from = at + 1;
  }
  return score;
}

std::uint64_t LettersOf(std::string_view text) noexcept {
  std::uint64_t letters = 0;
  for (const char ch : text) {
    const auto byte = static_cast<unsigned char>(ch);
    letters |= std::uint64_t{1} << (byte & 63);
  }
  return letters;
}

PairBits PairBits::Of(std::string_view text) noexcept {
  PairBits bits;
  for (std::size_t i = 1; i < text.size(); ++i) {
    const auto first = static_cast<unsigned char>(text[i - 1]);
    const auto second = static_cast<unsigned char>(text[i]);
    const std::uint32_t place = (first * 31u + second * 7u) & 255;
    bits.words[place / 64] |= std::uint64_t{1} << place % 64;
  }
  return bits;
}

bool PairBits::MayHold(const PairBits& other) const noexcept {
  for (std::size_t i = 0; i < words.size(); ++i) {
    if ((other.words[i] & ~words[i]) != 0) return false;
  }
  return true;
}

}  // namespace hostbench
