// ViewQueue: texts and news on their way from the module's threads to the thread that draws.
//
// Bounded: when it is full a link thread that brings a text waits, so the pressure reaches the
// device and nothing is lost. One wake-up is given a batch, not a text. What the facade's own
// thread brings never waits, because the drawing thread may be waiting for that thread's reply.
//
// Threads: any thread pushes, one thread takes.
// Owns its texts. Errors: none; after Close nothing is taken in any more and nobody waits.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "hosts/terminal/channel_answer.h"
#include "hosts/terminal/console_settings.h"
#include "hosts/terminal/kept_commands.h"
#include "hosts/terminal/shown_kind.h"

namespace kiv {

// One thing to show, or to know, in the order in which it happened.
struct ViewEvent {
  enum class Kind {
    kText,          // show `text`
    kNotice,        // `text` is what the link has to say
    kWarning,       // `text` is a whole line of the console's own
    kConnected,     // `text` says to what
    kDisconnected,  // `text` says why, may be empty
    kReply,         // a typed line has been run: `text` is its reply; see LineOutcome
    kSettings,      // the settings are loaded, or one was set: `settings`
    kKept,          // the settings are loaded, or favourites or shortcuts changed: `kept`
    kHistory,       // the settings are loaded: `text` has the lines typed in earlier runs
    kAnswered,      // every confirmation that `line` waits for has been handed over
  };
  Kind kind = Kind::kText;
  std::string text = {};  // UTF-8, control characters already escaped where `channel` is none
  ShownKind shown = ShownKind::kReply;  // kText, kReply
  // kText: the command of a confirmation or an indication, without its routing head; 0: not known.
  std::uint32_t cmdId = 0;
  // kText: when it came; kReply: when the module got the line, so in front of what answers it.
  std::chrono::system_clock::time_point arrivedAt = {};
  // kText: a piece of this channel's text, as the device sent it.
  Channel channel = Channel::kNone;
  bool endsText = false;   // kText: nothing is to follow the piece
  std::uint64_t line = 0;  // kReply, kAnswered
  // kReply and kAnswered: what is known of the line.
  bool takenByChannel = false;
  bool isCommand = false;  // the word is a command of the catalogue, or help
  bool isHelp = false;
  bool isLoad = false;         // the word loads a file
  bool linkDown = false;       // the link was not up when the line ran or its post was written
  std::uint32_t posts = 0;     // requests posted, of which the device confirms each
  bool answered = false;       // all of them are confirmed
  std::uint32_t result = 0;    // first confirmation result that is not 0
  bool isUnclear = false;      // a confirmation may be that of a post before the line
  bool channelPosted = false;  // by a text channel
  // kReply, of a line that a channel took: it told the user something, or bad news, by itself.
  bool channelSpoke = false;
  bool channelFailed = false;
  std::uint64_t epoch = 0;  // changes of the link's state: so far, or before the line's last post
  std::shared_ptr<const ConsoleSettings> settings =
      nullptr;                                         // of kSettings alone, never null there
  std::shared_ptr<const KeptCommands> kept = nullptr;  // of kKept alone, never null there
};

// Bounded towards link threads, unbounded towards the facade's own.
class ViewQueue {
 public:
  // `wake` is called, from the pushing thread, when the queue was empty before, and for each reply:
  // who takes some only looks again by himself.
  explicit ViewQueue(std::function<void()> wake, std::size_t limitBytes = 4u << 20)
      : wake_(std::move(wake)), limitBytes_(limitBytes) {}

  // Waits while the queue holds `limitBytes` or more; false when it was closed.
  bool PushWaiting(ViewEvent event);
  // Never waits; false when it was closed.
  bool Push(ViewEvent event);
  // Takes the reply of `line` out of turn, so that what the device sends while the line runs stands
  // behind its reply; false when it is not there yet.
  bool TakeReply(std::uint64_t line, ViewEvent& reply);
  // Takes everything that is there, in order.
  std::deque<ViewEvent> TakeAll();
  // Takes the first ones, of at least `leastBytes` together where there are as many.
  std::deque<ViewEvent> TakeSome(std::size_t leastBytes);
  bool IsEmpty();
  // How full it is.
  struct Fill {
    std::size_t events;
    std::size_t heldBytes;   // with what an event costs beside its text
    std::size_t limitBytes;  // from which on a link thread waits
  };
  Fill GetFill();
  // Wakes whoever waits and drops what is there.
  void Close();

 private:
  bool Add(std::unique_lock<std::mutex>& lock, ViewEvent event);

  std::function<void()> wake_;
  const std::size_t limitBytes_;
  std::mutex mutex_;
  std::condition_variable room_;
  std::deque<ViewEvent> events_;
  std::size_t heldBytes_ = 0;
  bool closed_ = false;
};

}  // namespace kiv
