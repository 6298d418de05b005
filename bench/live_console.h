// The module, started and connected to a BenchDevice, with a view that notes when texts arrive.
//
// Threads: the bench's main thread is the facade's; the view is direct, on the link's thread.
// Owns the application object. Errors: the program ends with a message.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

#include "bench/bench_device.h"
#include "platform/devlink/link_observer.h"
#include "service/svc_kiv_app.h"

namespace live_console {

using Clock = std::chrono::steady_clock;

// Counts texts and their characters; wakes whoever waits for the last one.
class View {
 public:
  // Before the first text of a round.
  void Expect(std::size_t texts);
  // Called with the last one, on the thread that shows it; once.
  void WhenDone(std::function<void()> call);
  // When the last one came; the program ends after 30 s.
  Clock::time_point WaitForAll();
  std::size_t Chars() const { return chars_; }
  // The last text, without the line feed in front; only kept when asked for.
  void KeepText(bool keep) { keepText_ = keep; }
  const std::wstring& Text() const { return text_; }

  void Show(const wchar_t* text);

 private:
  std::mutex mutex_;
  std::condition_variable done_;
  std::size_t missing_ = 0;
  std::size_t chars_ = 0;
  bool keepText_ = false;
  std::wstring text_;
  Clock::time_point lastAt_{};
  std::function<void()> whenDone_;
};

class LiveConsole : private devlink::LinkObserver {
 public:
  LiveConsole();
  ~LiveConsole() override;
  LiveConsole(const LiveConsole&) = delete;
  LiveConsole& operator=(const LiveConsole&) = delete;

  SvcKivClass::SvcKivApp& App() { return *app_; }
  bench_device::BenchDevice& Device() { return device_; }
  View& Screen() { return view_; }

 private:
  void OnState(const devlink::StateChange& change) override;
  void OnNotice(const char*, std::size_t) override {}
  void OnMessage(const devlink::TapMessage&) override {}
  void OnPostFailed(std::uint16_t, std::uint32_t, std::uint32_t) override {}
  void OnHandedOver(const ReceivedPacket*, std::uint32_t) override {}

  bench_device::BenchDevice device_;
  View view_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool connected_ = false;
  std::unique_ptr<SvcKivClass::SvcKivApp> app_;
};

}  // namespace live_console
