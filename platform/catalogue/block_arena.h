// BlockArena: texts that are added and never taken back, in blocks, so that a hundred thousand of
// them are written once: nothing is copied when more come.
//
// A place is a number, counted in characters of all blocks; each text lies in one block. A text
// longer than a block has one of its own, as long as it needs, and the blocks that this covers stay
// empty.
//
// Threads: none of its own; immutable once filled, so any. Owns its blocks.
// Errors: Room throws std::bad_alloc and then has changed nothing that can be seen.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

// Its callers see to it that places stay below 2 to the 32nd: see SizeChars.
template <typename Char>
class BlockArena {
 public:
  static constexpr std::uint32_t kBlockChars = 65536;

  // Above every place so far.
  std::size_t SizeChars() const noexcept { return blocks_.size() * std::size_t{kBlockChars}; }

  // The place of so many new characters.
  std::uint32_t Room(std::size_t lengthChars) {
    if (lengthChars > SizeChars() - end_) AddBlocks(lengthChars);
    const std::uint32_t place = end_;
    if (lengthChars == 0) return place;
    end_ += static_cast<std::uint32_t>(lengthChars);
    blocks_[place / kBlockChars].end = end_;
    // What is left of a block that others cover is not used: a text begins where its block does.
    if (lengthChars > kBlockChars) end_ = static_cast<std::uint32_t>(SizeChars());
    return place;
  }

  Char* At(std::uint32_t place) noexcept {
    return blocks_[place / kBlockChars].chars.get() + place % kBlockChars;
  }
  const Char* At(std::uint32_t place) const noexcept {
    return blocks_[place / kBlockChars].chars.get() + place % kBlockChars;
  }
  // Where the text at `place` ends, when the next one has the place `next`; the last one's next is
  // kNoNext.
  static constexpr std::uint32_t kNoNext = 0xFFFFFFFFu;
  std::uint32_t EndAt(std::uint32_t place, std::uint32_t next) const noexcept {
    const std::size_t block = place / kBlockChars;
    if (next / kBlockChars == block) return next;
    return block < blocks_.size() ? std::max(place, blocks_[block].end) : place;
  }

  // Cuts the last block to what is used of it. Nothing may be added afterwards.
  void Trim() {
    if (blocks_.empty() || blocks_.back().chars == nullptr) return;
    const std::size_t usedChars = end_ - (blocks_.size() - 1) * kBlockChars;
    auto trimmed = std::make_unique_for_overwrite<Char[]>(usedChars);
    std::copy_n(blocks_.back().chars.get(), usedChars, trimmed.get());
    blocks_.back().chars = std::move(trimmed);
  }

 private:
  struct Block {
    std::unique_ptr<Char[]> chars;
    std::uint32_t end = 0;  // of the last text that begins in it
  };

  void AddBlocks(std::size_t lengthChars) {
    const std::size_t count = (lengthChars + kBlockChars - 1) / kBlockChars;
    blocks_.reserve(std::max(blocks_.size() + count, 2 * blocks_.size()));
    auto chars = std::make_unique_for_overwrite<Char[]>(count * kBlockChars);
    end_ = static_cast<std::uint32_t>(SizeChars());
    blocks_.push_back({std::move(chars), end_});
    blocks_.resize(blocks_.size() + count - 1);
  }

  std::vector<Block> blocks_;
  std::uint32_t end_ = 0;  // of the last text
};
