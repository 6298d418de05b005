// Deframer: bytes of the line, in any pieces, to the contents of sound frames (docs/wire-format.md
// 1).
//
// It works by runs: the next flag is searched for, what stands before it is unescaped in place, and
// a frame that lies whole in one piece is never copied. Only what a piece leaves unfinished is
// kept.
//
// Threads: one deframer for one thread.
// Borrows the piece and changes it (unescaping). A content handed to the sink lives until the next
// Feed. Errors: damaged and stray candidates are counted and dropped; memory is bounded by two
// frames.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace devlink {

// What stood between two flags and was no frame.
struct DeframerCounts {
  std::uint64_t damaged = 0;  // wrong FCS, longer than a frame can be, or cut off by an escape
  std::uint64_t stray = 0;    // shorter than a frame can be
};

// Gets each sound frame while its bytes are still in the deframer.
class FrameSink {
 public:
  virtual ~FrameSink() = default;
  // The content of a frame whose FCS is right, the FCS left out; at least a head long.
  virtual void OnFrame(std::span<const std::uint8_t> content) = 0;
};

// Bytes of the line, in any pieces, to frames.
class Deframer {
 public:
  Deframer();

  void Feed(std::span<std::uint8_t> piece, FrameSink& sink);
  // Hunts for the first flag again, as at the start of a connection; the counts go on.
  void Reset() noexcept;

  const DeframerCounts& Counts() const noexcept { return counts_; }

 private:
  // What is known of the candidate whose closing flag has not come yet.
  enum class State { kHunting, kInFrame, kOversize };

  std::size_t Unescape(std::span<std::uint8_t> run) noexcept;
  void Keep(std::span<std::uint8_t> run);
  void CloseCandidate(std::span<std::uint8_t> run, FrameSink& sink);
  void Judge(std::span<const std::uint8_t> unescaped, FrameSink& sink);

  State state_ = State::kHunting;
  bool escaped_ = false;  // the last byte so far is an escape that waits for the next one
  // The frame that the last piece left open, unescaped. There are two, because the content of a
  // frame that this piece completes must live on while the piece's own rest is kept.
  std::array<std::vector<std::uint8_t>, 2> kept_;
  std::size_t current_ = 0;
  DeframerCounts counts_;
};

}  // namespace devlink
