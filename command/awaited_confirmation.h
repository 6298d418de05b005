// AwaitedConfirmation: hands the confirmation of the newest chunk from the link's thread, which
// sees all of them, to the controller's, which sends the next one.
//
// Both sides are one word each: what is awaited, and what came. No lock, no memory, and a
// confirmation counts once: the one that was awaited takes the expectation with it, so a second
// one of the same post finds nothing.
//
// Threads: Note on the link's; everything else on the controller's. Owns nothing.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

namespace SvcKivClass {

// A confirmation that was awaited.
struct ConfirmedPost {
  std::uint16_t tag;
  std::uint32_t resultCode;

  bool operator==(const ConfirmedPost&) const = default;
};

// See the head of this file.
class AwaitedConfirmation {
 public:
  // Before the post goes out: its confirmation may be there before the post returns. Whatever was
  // awaited before, or came and was not taken yet, counts no more.
  void Await(std::uint32_t cmdId, std::uint16_t tag) noexcept;
  // Nothing is awaited, and what came is dropped.
  void Forget() noexcept;
  // Whether this is the confirmation that was awaited: then the controller is to be woken.
  bool IsAwaited(std::uint32_t cmdId, std::uint16_t tag) const noexcept;
  // Keeps an awaited confirmation for Take; false for any other, and for one that came before.
  bool Note(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode) noexcept;
  // What came for the newest Await, once.
  std::optional<ConfirmedPost> Take() noexcept;

 private:
  std::atomic<std::uint64_t> awaited_{0};    // 0: nothing; else a mark, the tag and the id
  std::atomic<std::uint64_t> confirmed_{0};  // 0: nothing; else a mark, the tag and the result
  std::uint16_t newestTag_ = 0;
};

}  // namespace SvcKivClass
