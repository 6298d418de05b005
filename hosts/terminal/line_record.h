// LineRecord: what the link's tap saw of the line that runs, for those who measure and compare:
// when its request went out and when its confirmation came, and the bodies of both. Of a line that
// posts several requests it is the first.
//
// Threads: none of its own, one caller at a time. Owns copies of the bodies.
// Errors: none; a body of more than kMaxBodyBytes is not kept, and the record not comparable.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace kiv {

struct LineRecord {
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::size_t kMaxBodyBytes = 1u << 20;

  std::uint64_t line = 0;      // its number
  std::optional<Time> posted;  // the request was handed to the link
  // The read ended that brought the confirmation, or its first part.
  std::optional<Time> firstByte;
  // The module has made of the confirmation, or of a text channel's answer, what it shows.
  std::optional<Time> decoded;

  std::uint32_t cmdId = 0;  // 0: nothing was posted that the device confirms
  std::uint16_t tag = 0;
  bool isComparable = false;  // confirmed with success, and both bodies are there
  std::vector<std::uint8_t> request;
  std::vector<std::uint8_t> reply;
};

// Fills one record after the other.
class LineRecorder {
 public:
  using Time = LineRecord::Time;
  using Body = std::span<const std::uint8_t>;

  void Begin(std::uint64_t line) {
    record_ = {};
    record_.line = line;
  }
  // A text for a channel, which has no id of its own.
  void TextPosted(Time now);
  void Posted(std::uint32_t cmdId, std::uint16_t tag, Body request, Time now);
  void PostFailed(std::uint32_t cmdId, std::uint16_t tag);
  void ConfirmationRead(std::uint32_t cmdId, std::uint16_t tag, Time readAt);
  void ConfirmationHandedOver(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t result,
                              Body reply, Time now);
  // A text channel's answer, or a part of it, went to the view.
  void TextHandedOver(Time now) { record_.decoded = now; }

  const LineRecord& Record() const { return record_; }
  LineRecord Take() { return std::exchange(record_, {}); }

 private:
  bool IsOurs(std::uint32_t cmdId, std::uint16_t tag) const {
    return cmdId != 0 && cmdId == record_.cmdId && tag == record_.tag;
  }

  LineRecord record_;
  bool keepsBodies_ = false;  // the request's was kept
};

}  // namespace kiv
