// ChannelAnswer: whether what the device says to a line of the text channels is complete, and
// whether it is good news.
//
//   channel                posted as                       complete at
//   AT                     request 0x500D or 0x705         a final result code (V.250), a line of
//                                                          its own: OK and CONNECT are good
//   shell                  request 0x500E or 0x805         an answer of zero bytes
//   test case              request 0x500C                  a line "result: pass" (good) or "result:
//                                                          fail", and its confirmation
//   shell, raw             raw text 0                      an answer of zero bytes, or silence
//   controller             SDT frame 0x7E0C                silence
//
// A line may be posted by several channels; it is complete when each of them is. A post behind an
// end mark takes the mark back: a long line goes out in pieces. A refused post (a confirmation with
// a result other than 0, an answer likewise) and a test case's text that begins with "***" are bad
// news; what else there is comes until it is silent.
//
// Threads: none of its own, one caller at a time. Owns what it keeps of an unfinished line.
// Errors: none; text that is no end mark does not matter.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/devlink/link_observer.h"

namespace kiv {

enum class Channel : std::uint8_t { kNone, kAt, kShell, kTestCase, kRawShell, kController };
inline constexpr std::size_t kChannelCount = 6;

// Which channel posts this.
Channel ChannelOfPost(devlink::MessageKind kind, std::uint32_t cmdId);
// Likewise of a post, or of its confirmation, whose kind is not known.
Channel ChannelOfRequest(std::uint32_t cmdId);
// Whose answers have this id; both kinds of shell have the same, kShell.
Channel ChannelOfAnswer(std::uint32_t cmdId);

// The answer to one line.
class ChannelAnswer {
 public:
  enum class State {
    kNothingPosted,
    kOpen,         // an end mark is missing
    kUntilSilent,  // no end mark is to be waited for
    kComplete,
  };

  void Begin() { *this = ChannelAnswer(); }
  void Posted(Channel channel);
  // The last post of the channel could not be written.
  void PostFailed(Channel channel);
  // An answer's text, up to its first zero byte, and its result: other than 0 when a device refuses
  // what it had confirmed. False when it is none of a channel that posted.
  bool Arrived(Channel channel, std::string_view text, std::uint32_t result = 0);
  // Likewise.
  bool Confirmed(Channel channel, std::uint32_t result);

  State GetState() const;
  // First confirmation result that is not 0.
  std::uint32_t GetRefusal() const { return refusal_; }
  // Whether there were bad news so far.
  bool IsFailed() const;

 private:
  struct Progress {
    std::uint32_t posts = 0;
    bool ended = false;
    bool failed = false;
    bool confirmed = false;
  };

  Progress& Of(Channel channel) { return progress_[static_cast<std::size_t>(channel)]; }
  const Progress& Of(Channel channel) const { return progress_[static_cast<std::size_t>(channel)]; }
  State StateOf(Channel channel) const;
  void ReadAt(std::string_view text);
  void EndAtLine();
  void ReadTestCase(std::string_view text);

  std::array<Progress, kChannelCount> progress_;
  std::string atLine_;         // what has come of a line that has no end yet
  bool isAtLineLong_ = false;  // too long for a final result code
  bool isRefused_ = false;     // or bad news of a test case before its result
  std::uint32_t refusal_ = 0;
};

}  // namespace kiv
