// AwaitedConfirmation: hands the confirmation of the newest chunk from the link's thread, which
// sees all of them, to the controller's, which sends the next one.
//
// Both sides are one word each: what is awaited, and what came. No lock, no memory, and a
// confirmation counts once: the one that was awaited takes the expectation with it, so a second
// one of the same post finds nothing.
//
// A device that answers at once is looked out for: that costs the link's thread no event and the
// controller's no sleep. One that let it look in vain is not, for a while.
//
// Threads: Note, NoteWatched and IsAwaited on the link's; everything else on the controller's.
// Owns nothing.
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
  // awaited before, or came and was not taken yet, counts no more. With `looksOut` ComesSoon must
  // be called before this thread goes on to something else.
  void Await(std::uint32_t cmdId, std::uint16_t tag, bool looksOut = false) noexcept;
  // Nothing is awaited, and what came is dropped.
  void Forget() noexcept;
  // Whether this is the confirmation that was awaited: then the controller is to be woken.
  bool IsAwaited(std::uint32_t cmdId, std::uint16_t tag) const noexcept;
  // Keeps an awaited confirmation for Take; false for any other, and for one that came before.
  bool Note(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode) noexcept;
  // The same for one that is looked out for: nobody needs to be woken. False for any other.
  bool NoteWatched(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode) noexcept;
  // True when there is something to take, which is looked out for a moment while the processor is
  // yielded; else Note will have to wake this thread. After a vain look the next ones are skipped.
  bool ComesSoon() noexcept;
  // What came for the newest Await, once.
  std::optional<ConfirmedPost> Take() noexcept;

 private:
  bool HasCome() const noexcept;  // for the newest Await

  std::atomic<std::uint64_t> awaited_{0};    // 0: nothing; else marks, the tag and the id
  std::atomic<std::uint64_t> confirmed_{0};  // 0: nothing; else a mark, the tag and the result
  // Of the controller's thread.
  std::uint16_t newestTag_ = 0;
  std::uint64_t watched_ = 0;  // what awaited_ is while it is looked out for, else 0
  std::uint32_t looksToSkip_ = 0;
};

}  // namespace SvcKivClass
