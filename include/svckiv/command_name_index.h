// CommandNameIndex: from a command's name to its place in a list, in four bytes a place.
//
// An open table of the places themselves; the names stay where they are and are looked at only when
// the few bits of their hash that a slot has left over agree.
//
// Threads: as the list that it belongs to. Owns its slots; borrows names for the time of a call.
// Errors: throws std::bad_alloc.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace SvcKivSpace {

// Places are handed in ascending order; of two that have the same name the first is found.
class CommandNameIndex {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  void Clear() { slots_.clear(); }
  // Room for places below `count`; `nameAt(place)` answers the name of one that is in the index.
  template <typename NameAt>
  void Reserve(std::size_t count, NameAt nameAt) {
    const std::size_t wanted = SlotsFor(count);
    if (wanted <= slots_.size()) return;
    const std::vector<std::uint32_t> before = std::exchange(slots_, {});
    const std::uint32_t placeMask = PlaceMask(before.size());
    slots_.resize(wanted);
    for (const std::uint32_t slot : before) {
      if (slot == 0) continue;
      const std::uint32_t place = (slot & placeMask) - 1;
      const std::size_t hash = HashOf(nameAt(place));
      std::size_t at = hash & (slots_.size() - 1);
      while (slots_[at] != 0) at = (at + 1) & (slots_.size() - 1);
      slots_[at] = SlotOf(hash, place);
    }
  }
  // Does nothing when a place with that name is there.
  template <typename NameAt>
  void Add(std::wstring_view name, std::uint32_t place, NameAt nameAt) {
    if (SlotsFor(std::size_t{place} + 1) > slots_.size()) {
      Reserve(2 * (std::size_t{place} + 1), nameAt);
    }
    const std::size_t hash = HashOf(name);
    const std::size_t at = SlotAt(name, hash, nameAt);
    if (slots_[at] == 0) slots_[at] = SlotOf(hash, place);
  }
  // kNone when there is none.
  template <typename NameAt>
  std::uint32_t Find(std::wstring_view name, NameAt nameAt) const {
    if (slots_.empty()) return kNone;
    const std::uint32_t slot = slots_[SlotAt(name, HashOf(name), nameAt)];
    return slot != 0 ? (slot & PlaceMask(slots_.size())) - 1 : kNone;
  }

 private:
  static std::size_t HashOf(std::wstring_view name) { return std::hash<std::wstring_view>()(name); }
  // A quarter more than places, at least.
  static std::size_t SlotsFor(std::size_t count) { return std::bit_ceil(count + count / 4 + 2); }
  // The bits of a slot that hold a place and one more; there are always more slots than places.
  static std::uint32_t PlaceMask(std::size_t slotCount) {
    return static_cast<std::uint32_t>(slotCount) - 1;
  }
  // The upper bits of the hash decide beside the place; the lower ones already chose the slot.
  std::uint32_t SlotOf(std::size_t hash, std::uint32_t place) const {
    return TagOf(hash) | (place + 1);
  }
  std::uint32_t TagOf(std::size_t hash) const {
    constexpr int kShift = 8 * (sizeof(std::size_t) - sizeof(std::uint32_t));
    return static_cast<std::uint32_t>(hash >> kShift) & ~PlaceMask(slots_.size());
  }
  // Where the name stands, or the empty slot where it would.
  template <typename NameAt>
  std::size_t SlotAt(std::wstring_view name, std::size_t hash, NameAt nameAt) const {
    const std::uint32_t placeMask = PlaceMask(slots_.size());
    const std::uint32_t tag = TagOf(hash);
    std::size_t at = hash & (slots_.size() - 1);
    for (; slots_[at] != 0; at = (at + 1) & (slots_.size() - 1)) {
      const std::uint32_t slot = slots_[at];
      if ((slot & ~placeMask) == tag && nameAt((slot & placeMask) - 1) == name) break;
    }
    return at;
  }

  std::vector<std::uint32_t> slots_;  // 0: empty; their number is a power of two
};

}  // namespace SvcKivSpace
