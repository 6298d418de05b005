#include "bench/live_console.h"

#include <QObject>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include "svckiv/svc_kiv_message.h"

namespace live_console {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);
constexpr int kFreshCommandMs = 10'000;  // as the terminal console sets it

[[noreturn]] void Give(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::_Exit(5);  // threads are still running
}

}  // namespace

void View::Expect(std::size_t texts) {
  const std::lock_guard lock(mutex_);
  missing_ = texts;
  chars_ = 0;
}

void View::WhenDone(std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  whenDone_ = std::move(call);
}

Clock::time_point View::WaitForAll() {
  std::unique_lock lock(mutex_);
  if (!done_.wait_for(lock, kPatience, [this] { return missing_ == 0; })) {
    Give("not all texts came");
  }
  return lastAt_;
}

// A view takes at least one look at what it gets: here, how long it is.
void View::Show(const wchar_t* text) {
  chars_ += std::wcslen(text);
  if (keepText_) text_ = text + 1;
  if (missing_ > 1) {
    --missing_;
    return;
  }
  const std::lock_guard lock(mutex_);
  lastAt_ = Clock::now();
  missing_ = 0;
  done_.notify_all();
  if (const auto call = std::exchange(whenDone_, nullptr)) call();
}

LiveConsole::LiveConsole() {
  devlink::SetLinkObserver(this);
  app_ = std::make_unique<SvcKivClass::SvcKivApp>();
  QObject::connect(
      app_->GetMsgSender(), &SvcKivSpace::SvcKivMessage::SvcHandleMessage, app_->GetMsgSender(),
      [this](SvcKivSpace::SvcKivMsgType kind, void* payload) {
        if (kind == SvcKivSpace::kReply && payload != nullptr) {
          view_.Show(static_cast<const wchar_t*>(payload));
        }
      },
      Qt::DirectConnection);
  app_->Start();
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, kPatience, [this] { return connected_; })) Give("not connected");
  app_->SetUEConnectStatus(1);
  app_->GetSwitches().indicationsEnabled = true;
  app_->SetInstantIndTime(kFreshCommandMs);
}

LiveConsole::~LiveConsole() {
  app_->Stop();
  devlink::SetLinkObserver(nullptr);
}

void LiveConsole::OnState(const devlink::StateChange& change) {
  const std::lock_guard lock(mutex_);
  connected_ = change.state == devlink::LinkState::kConnected;
  changed_.notify_all();
}

}  // namespace live_console
