#include "hosts/terminal/event_pump.h"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/key_table.h"

namespace kiv {
namespace {

// So much is shown between two looks at the keys.
constexpr std::size_t kShownBytes = 16u << 10;

int MillisecondsUntil(EventPump::Clock::time_point deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - EventPump::Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 1'000'000));
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t from = 0; from < text.size();) {
    const std::size_t end = std::min(text.find('\n', from), text.size());
    lines.push_back(text.substr(from, end - from));
    from = end + 1;
  }
  return lines;
}

}  // namespace

os::ConsoleEvents::Ready EventPump::Sleep(int timeoutMs, bool withInput) {
  display_.Flush();
  const bool readsInput =
      interactive_ && (withInput || screen_.ReadsAhead()) && !screen_.HasInputEnded();
  os::ConsoleEvents::Ready ready = stops_.Wait(timeoutMs, withInput || readsInput);
  if (readsInput && ready.input) {
    std::string bytes;
    const bool more = stops_.ReadInput(bytes);
    TakeTyped(bytes);
    if (!more) screen_.EndOfInput();
  }
  if (ready.suspend) screen_.Suspend();
  if (ready.resumed) screen_.Resumed();
  if (ready.resized) screen_.Resized();
  return ready;
}

bool EventPump::Wait(std::optional<Clock::time_point> deadline, bool withInput,
                     os::ConsoleEvents::Ready* ready) {
  // A write may have seen the request to end; it does not come a second time.
  if (stops_.IsAny()) return false;
  const int timeoutMs = deadline ? MillisecondsUntil(*deadline) : -1;
  const os::ConsoleEvents::Ready now = Sleep(hasMore_ ? 0 : timeoutMs, withInput);
  if (ready != nullptr) *ready = now;
  if (interactive_ && withInput) {
    ShowSome();
  } else {
    ShowAll();
  }
  return !stops_.IsAny() && !screen_.IsOutputGone();
}

bool EventPump::WaitForReply(std::uint64_t number, ViewEvent& reply) {
  while (!queue_.TakeReply(number, reply)) {
    if (stops_.IsAny()) return false;
    Sleep(-1, false);
    if (stops_.IsAny()) return false;
  }
  return true;
}

bool EventPump::ShowAll() {
  const std::deque<ViewEvent> events = queue_.TakeAll();
  hasMore_ = false;
  for (const ViewEvent& event : events) Show(event);
  return !events.empty();
}

void EventPump::TakeTyped(const std::string& bytes) {
  constexpr std::string_view kMereKeys = "qQ \r\n\x1b";
  const bool isMere = bytes.size() == 1 && kMereKeys.find(bytes[0]) != std::string_view::npos;
  if (watchesKeys_ && !bytes.empty()) wasKeyPressed_ = true;
  if (!watchesKeys_ || !isMere || screen_.HasTyped()) screen_.Typed(bytes);
}

void EventPump::ShowSome() {
  for (const ViewEvent& event : queue_.TakeSome(kShownBytes)) Show(event);
  hasMore_ = !queue_.IsEmpty();
}

void EventPump::Show(const ViewEvent& event) {
  switch (event.kind) {
    case ViewEvent::Kind::kText:
      if (taker_ == nullptr || !taker_(event)) display_.Arrived(event);
      break;
    case ViewEvent::Kind::kReply:
      display_.Reply(event.text, event.shown, event.arrivedAt);
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
      TakeSettings(event);
      break;
    case ViewEvent::Kind::kKept:
      news_.kept = event.kept;
      BindKeys();
      break;
    case ViewEvent::Kind::kHistory:
      screen_.SetHistory(LinesOf(event.text));
      break;
    case ViewEvent::Kind::kAnswered:
      news_.answered = event;
      break;
  }
}

void EventPump::TakeSettings(const ViewEvent& event) {
  const std::uint32_t waitMs = event.settings->values.postCmdTimeoutMs;
  news_.settingsLoaded = true;
  news_.settings = event.settings;
  news_.settingsWaitMs = waitMs != 0 ? waitMs : kFirstWaitMs;
  for (const SettingsObserver& observer : observers_) observer(*news_.settings);
  BindKeys();
}

void EventPump::BindKeys() { screen_.BindKeys(KeyTable(news_.settings->keys, *news_.kept)); }

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
  if (event.text != news_.lastReason && (interactive_ || news_.wasConnected)) {
    display_.Notice(DisconnectedText(event.text));
  }
  news_.lastReason = event.text;
}

}  // namespace kiv
