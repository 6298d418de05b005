// AutoLog: the file that keeps what was shown, as the settings' save group wants it. Texts are
// handed over in memory; a thread of its own appends them to the file, so that no disk slows the
// screen.
//
// The file is opened anew for each batch of texts: one that was moved or removed meanwhile appears
// again. It is made readable by its owner alone, and only a regular file is written to. What cannot
// be written waits and is tried again; up to kHeldBytes, more is dropped.
//
// Threads: the main thread calls, one of its own writes. Errors: a problem, told once until
// something was written again.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace kiv {

class AutoLog {
 public:
  static constexpr std::size_t kHeldBytes = 16u << 20;

  // `wake` is called, from the writing thread, when there is a problem to take; until Close
  // returns.
  explicit AutoLog(std::function<void()> wake);
  ~AutoLog();
  AutoLog(const AutoLog&) = delete;
  AutoLog& operator=(const AutoLog&) = delete;

  // Where to write from now on, a mapped path in UTF-8; empty, as at first: nowhere.
  void SetPath(const std::string& path);
  // Whether texts are to be added.
  bool IsWanted() const { return !path_.empty(); }
  void Add(std::string_view text) { pending_ += text; }
  // Hands over what was added; before each wait for the user, and now and then.
  void Flush();
  // A whole line that says what could not be done; empty: nothing is to be told.
  std::string TakeProblem();
  // Writes what is left, waiting for the disk at most so long. For good: nothing is wanted any
  // more.
  void Close(std::chrono::milliseconds patience);

 private:
  struct Shared;
  static void Write(Shared& shared);
  static void WriteFirst(Shared& shared, std::unique_lock<std::mutex>& lock);

  std::string path_;
  std::string pending_;
  std::shared_ptr<Shared> shared_;  // outlives this where the disk does not answer
  std::thread writer_;
};

}  // namespace kiv
