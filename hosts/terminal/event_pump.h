// EventPump: waits for what happens, and passes it on: texts to the display, the link's and the
// settings' news into a record that whoever waits looks at.
//
// Threads: the main thread. Borrows everything.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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
  // Never null; before they are loaded, what a console without settings goes by.
  std::shared_ptr<const ConsoleSettings> settings = std::make_shared<const ConsoleSettings>();
  std::shared_ptr<const KeptCommands> kept = std::make_shared<const KeptCommands>();  // never null
  std::uint32_t settingsWaitMs = kFirstWaitMs;
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
  // Calls `observer` with the settings each time that they are loaded or set, after News has them.
  // Texts that stand in front of the change are shown by then.
  using SettingsObserver = std::function<void(const ConsoleSettings& settings)>;
  void OnSettings(SettingsObserver observer) { observers_.push_back(std::move(observer)); }

  // From now on `taker` is asked first whether it takes a text; it is not shown then. Null: nobody.
  using Taker = std::function<bool(const ViewEvent& event)>;
  void SetTaker(Taker taker) { taker_ = std::move(taker); }
  // From now on any key counts (true) until the next call. A single q, blank, Enter or Esc is no
  // more than that; what else is typed stays typed.
  void WatchKeys(bool on) { watchesKeys_ = on, wasKeyPressed_ = false; }
  bool WasKeyPressed() const { return wasKeyPressed_ || screen_.HasTyped(); }
  // The same without what was typed ahead.
  bool WasKeyPressedSince() const { return wasKeyPressed_; }

  const ConsoleNews& News() const { return news_; }
  void ForgetAnswered() { news_.answered.reset(); }
  const StopRequests& Stops() const { return stops_; }

 private:
  // Writes what is to be seen meanwhile, waits, and answers what happens to the terminal.
  os::ConsoleEvents::Ready Sleep(int timeoutMs, bool withInput);
  void TakeTyped(const std::string& bytes);
  // Shows a part, so that keys are seen to between two; what is left needs no wake-up.
  void ShowSome();
  void Show(const ViewEvent& event);
  void TakeSettings(const ViewEvent& event);
  // What keys do depends on both settings and shortcuts.
  void BindKeys();
  void LinkIsUp(const ViewEvent& event);
  void LinkIsDown(const ViewEvent& event);

  ViewQueue& queue_;
  StopRequests& stops_;
  Display& display_;
  Screen& screen_;
  const bool interactive_;
  bool hasMore_ = false;  // texts in the queue that were not taken
  Taker taker_;
  bool watchesKeys_ = false;
  bool wasKeyPressed_ = false;
  ConsoleNews news_;
  std::vector<SettingsObserver> observers_;
};

}  // namespace kiv
