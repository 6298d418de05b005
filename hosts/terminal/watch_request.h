// WatchRequest: what :watch was asked for: LINE [every STEP] [N times]. The two stand at the end,
// in any order, each at most once.
//
// Threads: pure functions. Errors: ReadWatchRequest answers a reason for a person.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kiv {

struct WatchRequest {
  static constexpr std::chrono::milliseconds kUsualStep{1000};
  static constexpr std::chrono::milliseconds kShortestStep{100};
  static constexpr std::chrono::milliseconds kLongestStep = std::chrono::hours(24);
  static constexpr std::uint64_t kMostTimes = 1'000'000'000;

  std::wstring line;
  std::chrono::milliseconds step = kUsualStep;
  std::optional<std::uint64_t> times;  // unset: until it is ended
};

// Fills `request`; else answers what is wrong, one line.
std::optional<std::string> ReadWatchRequest(std::wstring_view arguments, WatchRequest& request);

// "500ms", "1s", "5m".
std::string StepText(std::chrono::milliseconds step);

}  // namespace kiv
