// A device in the test's process that notes each request and does what a test asks of it.
//
// Threads: the device's script runs on its own thread; every operation here is the test's and
// waits. Owns the socket's directory.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/base/bench_setup.h"
#include "tests/platform/devlink/test_device.h"

namespace livetest {

using linktest::NaiveFrame;

// Greets, then answers each request at once as `Answer` says.
class EchoDevice {
 public:
  // What the device sends for a request; frames go out in this order.
  using Answer = std::function<std::vector<NaiveFrame>(const NaiveFrame& request)>;

  EchoDevice(std::string path, Answer answer)
      : answer_(std::move(answer)),
        device_(std::move(path), [this](linktest::DeviceEnd& end, int) { Serve(end); }) {}

  // The request number `index` (from 0), once it has come.
  std::optional<NaiveFrame> Request(std::size_t index) {
    std::unique_lock lock(mutex_);
    const bool came =
        changed_.wait_for(lock, std::chrono::seconds(20), [&] { return requests_.size() > index; });
    return came ? std::optional(requests_[index]) : std::nullopt;
  }

 private:
  void Serve(linktest::DeviceEnd& end) {
    if (!end.Greet()) return;
    while (const auto frame = end.NextMessage()) {
      const std::vector<NaiveFrame> answers = answer_(*frame);
      {
        std::lock_guard lock(mutex_);
        requests_.push_back(*frame);
        changed_.notify_all();
      }
      for (const NaiveFrame& answer : answers) end.Send(answer);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<NaiveFrame> requests_;
  Answer answer_;
  linktest::TestDevice device_;  // last: its thread uses the rest
};

// A directory for one test, removed with it.
class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kivlive-XXXXXX").string();
    path_ = ::mkdtemp(pattern.data());
  }
  ~ScratchDir() { std::filesystem::remove_all(path_); }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string Path(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

inline NaiveFrame Confirmation(const NaiveFrame& request, std::uint32_t result = 0) {
  NaiveFrame frame = request;
  frame.kind = linktest::kCnf;
  frame.result = result;
  return linktest::Whole(frame);
}

}  // namespace livetest
