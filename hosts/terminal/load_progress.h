// LoadProgress: how far a file load is, by what the link's tap sees of it: chunks that are posted,
// one at a time, and their confirmations.
//
// Threads: none of its own, one caller at a time. Owns nothing.
// Errors: none; a command that does not begin with index and count is not counted.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>

namespace kiv {

// Of the load that began last.
struct LoadState {
  bool isPosted = false;        // a chunk went out
  bool isWaiting = false;       // for the confirmation of the last one
  bool isResumed = false;       // the line sent a chunk of the load before it once more
  std::uint32_t index = 0;      // of the last one
  std::uint32_t first = 0;      // index at which this line began
  std::uint32_t count = 0;      // chunks of the file
  std::uint32_t confirmed = 0;  // chunks that the device has
  std::uint32_t result = 0;     // of the confirmation that ended the load, if it did not go well
  std::chrono::steady_clock::time_point latest = {};  // the last post or confirmation
  bool isHandedOver = true;  // whether the confirmation that ended the load has been
  // Another post with the number of the last one has no answer either: whose the confirmation is
  // that came, nobody knows.
  bool isUnclear = false;
  bool isDenied = false;  // the last confirmation says, in so many words, that nothing is stored

  bool IsAtLastChunk() const { return index + 1 == count; }
  // Ended by its last confirmation, good or bad.
  bool HasEnded() const { return IsRefused() || (count > 0 && confirmed == count); }
  bool IsRefused() const { return result != 0; }
  bool IsStored() const { return HasEnded() && result == 0 && !isUnclear && !isDenied; }
  // Nothing that came or is missing says whether the device has the file: all chunks are out.
  bool IsOpenQuestion() const {
    return isPosted && IsAtLastChunk() && (isWaiting || (isUnclear && HasEnded()));
  }
};

// One load at a time.
class LoadProgress {
 public:
  using Clock = std::chrono::steady_clock;

  // A load line runs, until EndLine; its chunks are posted with this command. The first one may be
  // of the load before it, sent once more. A line that posts nothing leaves that load as it is.
  void BeginLine(std::uint32_t cmdId);
  void EndLine() { isFirst_ = false; }
  // The load is given up: what is posted next is not its rest.
  void Close() { isClosed_ = true; }
  // A chunk of it is out or confirmed, it did not end, and was not given up.
  bool IsOpen() const { return state_.isPosted && !isClosed_ && !state_.HasEnded(); }
  std::uint32_t CmdId() const { return cmdId_; }
  const LoadState& State() const { return state_; }

  // True when it is the first of its line. With `isUnclear` its number does not tell its
  // confirmation from that of an older post.
  bool Posted(std::uint32_t cmdId, std::uint16_t tag, std::span<const std::uint8_t> body,
              bool isUnclear = false);
  // The post could not be written.
  void PostFailed(std::uint32_t cmdId, std::uint16_t tag);
  // True when that ended the load.
  bool Confirmed(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t resultCode,
                 std::span<const std::uint8_t> body = {});

 private:
  void BeginLoad(std::span<const std::uint8_t> body);
  // Of a chunk that the module sends by itself.
  void SendNext(std::span<const std::uint8_t> body);
  bool IsDenial(std::span<const std::uint8_t> body) const;
  bool IsLast(std::uint32_t cmdId, std::uint16_t tag) const {
    return state_.isWaiting && cmdId == cmdId_ && tag == tag_;
  }

  std::uint32_t cmdId_ = 0;  // 0, which no catalogue has: none
  std::uint16_t tag_ = 0;
  bool isFirst_ = false;  // the next post is
  bool isClosed_ = false;
  std::size_t indexBytes_ = 0;  // width of the index that a body begins with; 0: not known
  LoadState state_;
};

}  // namespace kiv
