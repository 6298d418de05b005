// EventPump: waits for what happens, and passes it on: texts to the display, the link's and the
// settings' news into a record that whoever waits looks at.
//
// Threads: the main thread. Borrows everything.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "hosts/terminal/display.h"
#include "hosts/terminal/stop_requests.h"
#include "hosts/terminal/view_queue.h"
#include "platform/os/console_events.h"

namespace kiv {

// What the events shown so far say.
struct ConsoleNews {
  bool connected = false;
  bool wasConnected = false;
  std::uint64_t lostEpoch = 0;        // epoch of the last loss of the link
  std::string connectedText = {};     // says to what
  std::string lastReason = {};        // why the link is not up
  std::optional<ViewEvent> answered;  // the last kAnswered; of the line that is waited for, or none
  bool settingsLoaded = false;
  std::uint32_t settingsWaitMs = 5000;
};

class EventPump {
 public:
  using Clock = std::chrono::steady_clock;

  // With `interactive` what is typed is read and given to the screen, and a link that never came up
  // is told of, too.
  EventPump(ViewQueue& queue, StopRequests& stops, Display& display, Screen& screen,
            bool interactive)
      : queue_(queue),
        stops_(stops),
        display_(display),
        screen_(screen),
        interactive_(interactive) {}

  // Waits for something to happen, at most until `deadline`, and shows what there is; false when
  // the user wants no more of it, or nobody sees it.
  bool Wait(std::optional<Clock::time_point> deadline, bool withInput,
            os::ConsoleEvents::Ready* ready = nullptr);
  // Waits for the reply with this number; what arrives meanwhile stays in the queue, so that it
  // stands behind the reply. False when the user wants no more of it.
  bool WaitForReply(std::uint64_t number, ViewEvent& reply);
  // False when there was nothing to show.
  bool ShowAll();

  const ConsoleNews& News() const { return news_; }
  void ForgetAnswered() { news_.answered.reset(); }
  const StopRequests& Stops() const { return stops_; }

 private:
  // Writes what is to be seen meanwhile, waits, and answers what happens to the terminal.
  os::ConsoleEvents::Ready Sleep(int timeoutMs, bool withInput);
  // Shows a part, so that keys are seen to between two; what is left needs no wake-up.
  void ShowSome();
  void Show(const ViewEvent& event);
  void LinkIsUp(const ViewEvent& event);
  void LinkIsDown(const ViewEvent& event);

  ViewQueue& queue_;
  StopRequests& stops_;
  Display& display_;
  Screen& screen_;
  const bool interactive_;
  bool hasMore_ = false;  // texts in the queue that were not taken
  ConsoleNews news_;
};

}  // namespace kiv
