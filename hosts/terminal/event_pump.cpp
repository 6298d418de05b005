#include "hosts/terminal/event_pump.h"

#include <algorithm>
#include <deque>

#include "hosts/terminal/console_texts.h"

namespace kiv {
namespace {

int MillisecondsUntil(EventPump::Clock::time_point deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - EventPump::Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 1'000'000));
}

}  // namespace

bool EventPump::Wait(std::optional<Clock::time_point> deadline, bool withInput,
                     os::ConsoleEvents::Ready* ready) {
  // What a write was told of the end was told once.
  if (stops_.IsAny()) return false;
  const os::ConsoleEvents::Ready now =
      stops_.Wait(deadline ? MillisecondsUntil(*deadline) : -1, withInput);
  if (ready != nullptr) *ready = now;
  ShowAll();
  return !stops_.IsAny() && !screen_.IsOutputGone();
}

bool EventPump::WaitForReply(std::uint64_t number, ViewEvent& reply) {
  while (!queue_.TakeReply(number, reply)) {
    if (stops_.IsAny()) return false;
    stops_.Wait(-1, false);
    if (stops_.IsAny()) return false;
  }
  return true;
}

bool EventPump::ShowAll() {
  const std::deque<ViewEvent> events = queue_.TakeAll();
  for (const ViewEvent& event : events) Show(event);
  return !events.empty();
}

void EventPump::Show(const ViewEvent& event) {
  switch (event.kind) {
    case ViewEvent::Kind::kText:
      display_.Arrived(event);
      break;
    case ViewEvent::Kind::kReply:
      display_.Reply(event.text);
      break;
    case ViewEvent::Kind::kNotice:
      display_.Notice("link: " + event.text + "\n");
      break;
    case ViewEvent::Kind::kWarning:
      display_.Notice(event.text);
      break;
    case ViewEvent::Kind::kConnected:
      LinkIsUp(event);
      break;
    case ViewEvent::Kind::kDisconnected:
      LinkIsDown(event);
      break;
    case ViewEvent::Kind::kSettings:
      news_.settingsLoaded = true;
      if (event.result != 0) news_.settingsWaitMs = event.result;
      break;
    case ViewEvent::Kind::kAnswered:
      news_.answered = event;
      break;
  }
}

void EventPump::LinkIsUp(const ViewEvent& event) {
  news_.connected = news_.wasConnected = true;
  news_.lastReason.clear();
  news_.connectedText = event.text;
  display_.Notice(event.text);
}

// A device that stays away gives the same reason at each attempt: it is told once. A batch whose
// link never came up tells it in its last line.
void EventPump::LinkIsDown(const ViewEvent& event) {
  if (news_.connected) news_.lostEpoch = event.epoch;
  news_.connected = false;
  if (event.text != news_.lastReason && (tellsEachReason_ || news_.wasConnected)) {
    display_.Notice(DisconnectedText(event.text));
  }
  news_.lastReason = event.text;
}

}  // namespace kiv
