// How well a few typed letters fit a name in which they occur in this order.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace hostbench {

// 0: they do not occur in this order. Else the more the better: letters that stand together, that
// begin a part of the name ("_" separates parts), and few letters that were not typed. Both texts
// are folded.
std::uint32_t Resemblance(std::string_view typed, std::string_view name);

// The bytes of a text, several to a bit: a text with a bit that another one lacks does not occur in
// that one, in whatever order.
std::uint64_t LettersOf(std::string_view text) noexcept;

// The same of pairs of neighbouring bytes, for texts that have most letters.
struct PairBits {
  std::array<std::uint64_t, 4> words{};

  static PairBits Of(std::string_view text) noexcept;
  // False: a text of `other` does not occur in one of these.
  bool MayHold(const PairBits& other) const noexcept;
};

}  // namespace hostbench
