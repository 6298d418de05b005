#include "platform/devlink/link_engine.h"

#include <algorithm>
#include <new>

#include "platform/base/bench_setup.h"
#include "platform/base/result_codes.h"
#include "platform/base/version_query.h"
#include "platform/catalogue/fingerprint.h"
#include "platform/devlink/greeting.h"
#include "platform/devlink/link_counts.h"
#include "platform/devlink/observer_slot.h"

namespace devlink {

namespace {

constexpr std::size_t kReadBytes = 32 * 1024;
constexpr Milliseconds kLastChance{50};
constexpr Milliseconds kMemoryPause{10};
constexpr std::uint32_t kLineTestId = 1;

// An agent that is not shown its token closes the connection without a word.
const char* TokenHint(const Endpoint& endpoint) {
  if (endpoint.kind != EndpointKind::kTcp) return "";
  return endpoint.tokenFile.empty() ? " (it may want a token: ?token-file=FILE)"
                                    : " (is it the right token?)";
}

std::uint16_t Code16(std::optional<std::uint32_t> code) {
  return static_cast<std::uint16_t>(code.value_or(0));
}

}  // namespace

LinkEngine::LinkEngine(CLinkClient& client, std::string name)
    : name_(std::move(name)),
      client_(&client),
      readBuffer_(kReadBytes),
      writer_([this](WriteOutcome outcome) {
        brokenOutcome_ = outcome;
        brokenSession_ = session_.load();
        Ask(kBroken);
      }) {}

LinkEngine::~LinkEngine() = default;

// --- Start and stop, from any thread.

void LinkEngine::Start() {
  wanted_ = true;
  writer_.Reopen();
  if (OnLinkThread()) {
    ending_ = false;
  } else {
    EnsureThread();
  }
  Ask(kBegin);
}

// Running handlers ends at once, what is asked is done, and handlers go on.
void LinkEngine::Ask(Asked what) noexcept {
  asked_.fetch_or(what);
  io_.stop();
}

void LinkEngine::EnsureThread() {
  const std::lock_guard lock(controlMutex_);
  if (thread_.joinable() && ending_) thread_.join();
  if (thread_.joinable()) return;
  ending_ = false;
  if (!work_) work_.emplace(io_.get_executor());
  thread_ = std::thread([self = shared_from_this()] { self->Run(); });
}

void LinkEngine::Stop() {
  graceEnd_ = LinkClock::now() + GetLinkTiming().childGrace;
  wanted_ = false;
  writer_.Close();
  {
    const std::lock_guard lock(testMutex_);
    testPending_ = false;
  }
  testAnswered_.notify_all();
  Ask(kEnd);
}

void LinkEngine::Shutdown(Milliseconds limit) {
  Stop();
  graceEnd_ = std::min(graceEnd_.load(), LinkClock::now() + limit);
  ending_ = true;
  Ask(kEnd);
  if (OnLinkThread()) return;
  const std::lock_guard lock(controlMutex_);
  if (thread_.joinable()) thread_.join();
}

void LinkEngine::ForgetClient() {
  client_ = nullptr;
  Shutdown(Milliseconds(0));
  if (OnLinkThread()) thread_.detach();
}

void LinkEngine::Run() {
  threadId_ = std::this_thread::get_id();
  do {
    try {
      RunUntilAsked();
    } catch (const std::bad_alloc&) {
      OutOfMemory();
    }
  } while (!ending_ || asked_ != 0);
  threadId_ = std::thread::id();
}

void LinkEngine::RunUntilAsked() {
  // Asked in between, the handlers do not begin to run.
  io_.restart();
  DoWhatIsAsked();
  if (ending_) {
    io_.poll();  // what was given up with the endpoint
  } else {
    io_.run();
  }
}

// In the order in which it makes sense, whatever the order of asking: what is no longer wanted is
// not begun.
void LinkEngine::DoWhatIsAsked() {
  const unsigned asked = asked_.exchange(0);
  if ((asked & kEnd) != 0) End();
  if ((asked & kBegin) != 0) Begin();
  if ((asked & kBroken) != 0) WriterBroke();
  if ((asked & kHurry) != 0 && phase_ == Phase::kPausing) Attempt();
}

// The link is given up and comes back, unless it is stopped before there is memory for that.
void LinkEngine::OutOfMemory() noexcept {
  while (phase_ != Phase::kIdle && wanted_) {
    try {
      return Lose("there is not enough memory", false);
    } catch (const std::bad_alloc&) {
      std::this_thread::sleep_for(kMemoryPause);
    }
  }
  // What was asked was broken off halfway.
  std::this_thread::sleep_for(kMemoryPause);
  asked_.fetch_or(wanted_ ? kBegin : kEnd);
}

void LinkEngine::Hurry() { Ask(kHurry); }

std::uint32_t LinkEngine::TestExchange(std::span<const std::uint8_t> bytes) {
  const std::lock_guard oneAtATime(exchangeMutex_);
  OutMessage test;
  test.kind = MessageKind::kRawText;
  test.id = kLineTestId;
  test.body = bytes;
  {
    const std::lock_guard lock(testMutex_);
    test.tag = ++testTag_;
    testPending_ = true;
  }
  const std::uint32_t status = writer_.Post(test);
  std::unique_lock lock(testMutex_);
  // On the link's own thread nobody would read the answer while this waits.
  if (status == result::kOk && !OnLinkThread()) {
    testAnswered_.wait_for(lock, GetLinkTiming().testAnswerWait, [this] { return !testPending_; });
  }
  testPending_ = false;
  return status;
}

// --- Everything from here on runs on the link's thread.

void LinkEngine::Begin() {
  if (phase_ != Phase::kIdle || !wanted_) return;
  timing_ = GetLinkTiming();
  pause_ = timing_.firstPause;
  told_ = false;
  endpoint_ = ParseEndpoint(bench::GetSetup().endpoint.ToUtf8());
  if (endpoint_.kind != EndpointKind::kNone) return Attempt();
  // No attempt can mend the text: the link waits to be stopped.
  phase_ = Phase::kPausing;
  TellState(LinkState::kDisconnected, nullptr, endpoint_.problem);
}

void LinkEngine::End() {
  if (phase_ == Phase::kIdle) return;
  if (phase_ == Phase::kSession) Raise(Counts().disconnects);
  CloseEndpoint();
  phase_ = Phase::kIdle;
  version_query::NoteDevice(-1, -1);
  TellState(LinkState::kDisconnected, nullptr, "");
}

void LinkEngine::Attempt() {
  if (endpoint_.kind == EndpointKind::kNone) return;
  phase_ = Phase::kOpening;
  Raise(Counts().attempts);
  TellState(LinkState::kConnecting, nullptr, "");
  opener_ = MakeOpener(io_, endpoint_, [this](std::string_view line) { TellNotice(line); });
  opener_->Open([this](std::unique_ptr<Transport> transport, std::string problem) {
    Opened(std::move(transport), std::move(problem));
  });
}

void LinkEngine::Opened(std::unique_ptr<Transport> transport, std::string problem) {
  if (transport == nullptr) return Lose(std::move(problem), false);
  transport_ = std::move(transport);
  phase_ = Phase::kGreeting;
  lastChance_ = false;
  Greet();
}

void LinkEngine::Greet() {
  const bench::Resolved& setup = bench::GetSetup();
  HostGreeting greeting;
  greeting.variant = Code16(setup.variant);
  greeting.product = Code16(setup.product);
  greeting.catalogueFingerprint = CurrentCatalogueFingerprint();
  greeting.name = name_;
  const std::vector<std::uint8_t> body = HostGreetingBody(greeting);
  OutMessage hello;
  hello.kind = MessageKind::kHello;
  hello.tag = ++lastTag_;
  hello.body = body;
  SessionHost& host = *this;
  receiving_ = std::make_unique<LinkSession>(host, hello.tag, greeting.catalogueFingerprint);
  SetTimer(LinkClock::now() + timing_.greetingWait);
  writer_.Greet(transport_, hello, timing_);
  ReadMore();
}

std::string LinkEngine::CloseEndpoint() {
  ++session_;
  ++timerNumber_;
  timer_.cancel();
  opener_.reset();
  writer_.Detach();
  std::string howItEnded;
  receiving_.reset();
  keepAlive_.reset();
  // It is gone afterwards, also when there is no memory for the text.
  if (const std::shared_ptr<Transport> closing = std::move(transport_)) {
    const auto graceEnd = LinkClock::now() + timing_.childGrace;
    howItEnded = closing->End([this, graceEnd] {
      const auto now = LinkClock::now();
      return now < graceEnd && (wanted_ || now < graceEnd_.load());
    });
  }
  return howItEnded;
}

void LinkEngine::Lose(std::string reason, bool byPeer) {
  const Phase was = phase_;
  const std::string howItEnded = CloseEndpoint();
  if (byPeer && !howItEnded.empty()) reason = howItEnded;
  if (was == Phase::kGreeting && byPeer) {
    reason += " before the greeting was answered";
    reason += TokenHint(endpoint_);
  }
  if (was == Phase::kSession) {
    Raise(Counts().disconnects);
    if (LinkClock::now() - sessionSince_ >= timing_.steadyAfter) pause_ = timing_.firstPause;
  }
  Pause();
  TellState(LinkState::kDisconnected, nullptr, reason);
}

void LinkEngine::Pause() {
  phase_ = Phase::kPausing;
  SetTimer(LinkClock::now() + pause_);
  pause_ = std::min(2 * pause_, timing_.longestPause);
}

void LinkEngine::ReadMore() {
  transport_->Read(readBuffer_, [this, session = session_.load()](std::size_t lengthBytes) {
    if (session == session_.load()) TakeRead(lengthBytes);
  });
}

void LinkEngine::TakeRead(std::size_t lengthBytes) {
  if (lengthBytes == 0) return Lose("the device closed the link", true);
  const bool heard = receiving_->Feed(std::span(readBuffer_).first(lengthBytes));
  if (!wanted_) return;  // End is on its way
  if (!receiving_->Problem().empty()) return Lose(receiving_->Problem(), false);
  if (heard && keepAlive_ != nullptr) keepAlive_->Heard(LinkClock::now());
  if (heard) lastChance_ = false;
  TellLosses();
  ReadMore();
}

void LinkEngine::WriterBroke() {
  if (brokenSession_ != session_ || transport_ == nullptr || !wanted_) return;
  if (brokenOutcome_ == WriteOutcome::kBroken) return Lose("the device closed the link", true);
  Lose("the device took no data for " + SecondsText(timing_.writeLimit), false);
}

void LinkEngine::SetTimer(LinkClock::time_point at) {
  timer_.expires_at(at);
  timer_.async_wait([this, at, number = ++timerNumber_](const asio::error_code&) {
    if (number == timerNumber_) TimerFired(at);
  });
}

void LinkEngine::TimerFired(LinkClock::time_point due) {
  if (!wanted_) return;
  switch (phase_) {
    case Phase::kGreeting:
      return GreetingOverdue();
    case Phase::kSession:
      return AskKeepAlive(due);
    case Phase::kPausing:
      return Attempt();
    default:
      return;
  }
}

// Once: what waits to be read is looked at before the device is given up.
bool LinkEngine::HasLastChance() {
  if (lastChance_ || !transport_->Readable()) return false;
  lastChance_ = true;
  SetTimer(LinkClock::now() + kLastChance);
  return true;
}

void LinkEngine::GreetingOverdue() {
  if (HasLastChance()) return;
  const std::string wait = SecondsText(timing_.greetingWait);
  Lose(receiving_->HeardAnything() ? "not a device: what it said in " + wait + " is no greeting"
                                   : "not a device: it did not answer the greeting in " + wait,
       false);
}

void LinkEngine::AskKeepAlive(LinkClock::time_point due) {
  const auto now = LinkClock::now();
  // A late timer shows that this thread waited for its host or stood still.
  keepAlive_->Exclude(now - due, now);
  switch (keepAlive_->Ask(now)) {
    case KeepAlive::Due::kLost:
      if (HasLastChance()) return;
      return Lose("the device has not answered for " + SecondsText(timing_.lostAfter), false);
    case KeepAlive::Due::kProbe:
      writer_.Probe(++lastTag_);
      break;
    case KeepAlive::Due::kNothing:
      break;
  }
  TellLosses();
  SetTimer(keepAlive_->NextAsk());
}

void LinkEngine::OnGreeted(const PeerInfo& peer) {
  phase_ = Phase::kSession;
  Raise(Counts().connects);
  sessionSince_ = LinkClock::now();
  keepAlive_ = std::make_unique<KeepAlive>(timing_, sessionSince_);
  SetTimer(keepAlive_->NextAsk());
  version_query::NoteDevice(peer.variant, peer.product);
  writer_.OpenSession();
  TellState(LinkState::kConnected, &peer, "");
  if (peer.fingerprintDiffers) {
    TellNotice("the device works with another catalogue; commands that differ may fail");
  }
}

void LinkEngine::OnBatch(const ReceivedPacket* records, std::uint32_t count) {
  CLinkClient* const client = client_.load();
  if (client == nullptr || !wanted_) return;
  if (LinkObserver* const observer = Observer()) observer->OnHandingOver(records, count);
  client->ReceiveCmd(records, count);
  if (LinkObserver* const observer = Observer()) observer->OnHandedOver(records, count);
}

void LinkEngine::OnTestAnswer(std::uint16_t tag) {
  {
    const std::lock_guard lock(testMutex_);
    if (!testPending_ || tag != testTag_) return;
    testPending_ = false;
  }
  Raise(Counts().testAnswers);
  testAnswered_.notify_all();
}

void LinkEngine::TellState(LinkState state, const PeerInfo* peer, const std::string& reason) {
  const bool retrying = told_ && toldState_ == LinkState::kDisconnected;
  if (retrying && state == LinkState::kConnecting) return;
  if (retrying && state == toldState_ && reason == toldReason_) return;
  told_ = true;
  toldState_ = state;
  toldReason_ = reason;
  const StateChange change = {state, peer, reason.c_str()};
  if (LinkObserver* const observer = Observer()) observer->OnState(change);
}

void LinkEngine::TellNotice(std::string_view line) {
  if (LinkObserver* const observer = Observer()) observer->OnNotice(line.data(), line.size());
}

void LinkEngine::TellLosses() {
  if (phase_ != Phase::kSession) return;
  const auto line = receiving_->LossLine(LinkClock::now(), timing_.noticeEvery);
  if (line) TellNotice(*line);
}

}  // namespace devlink
