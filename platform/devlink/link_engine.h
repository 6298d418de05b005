// LinkEngine: the life of a client's link: its thread, connecting and coming back, and the way
// down.
//
//   idle -> opening -> greeting -> session -> (lost) pause -> opening ...      stop: -> idle
//
// Threads: Start, Stop, Shutdown, Post, TestExchange and Hurry from any; everything else is the
// link's thread, which runs one io_context. The thread shares the engine, so that an engine whose
// client was destroyed on that very thread lives until the thread has ended. Owns the thread, the
// endpoint and the session. Borrows the client until ForgetClient. Errors: a state change with a
// reason; posts answer statuses.
#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/devlink/keep_alive.h"
#include "platform/devlink/link_session.h"
#include "platform/devlink/link_writer.h"

namespace devlink {

// Owns the link's thread: connects, greets, reads, and comes back after a loss.
class LinkEngine : public std::enable_shared_from_this<LinkEngine>, private SessionHost {
 public:
  LinkEngine(CLinkClient& client, std::string name);
  ~LinkEngine() override;

  void Start();
  void Stop();
  // As CLinkClient::Shutdown says.
  void Shutdown(Milliseconds limit);
  // Shutdown, and no call-back to the client any more; for its destructor.
  void ForgetClient();

  std::uint32_t Post(const OutMessage& message) { return writer_.Post(message); }
  // A line test: posts the bytes and waits for their answer. Answers the post's status.
  std::uint32_t TestExchange(std::span<const std::uint8_t> bytes);
  // Ends a pause between two attempts.
  void Hurry();

 private:
  enum class Phase { kIdle, kOpening, kGreeting, kSession, kPausing };

  // What the link's thread is asked to do. Asking takes no memory: a stop must come through when
  // there is none.
  enum Asked : unsigned { kEnd = 1, kBegin = 2, kHurry = 4, kBroken = 8 };
  void Ask(Asked what) noexcept;
  void DoWhatIsAsked();

  // The same, on the link's thread.
  void Begin();
  void End();
  void Run();
  void RunUntilAsked();
  void OutOfMemory() noexcept;
  void EnsureThread();

  // Connecting.
  void Attempt();
  void Opened(std::unique_ptr<Transport> transport, std::string problem);
  void Greet();
  // Down to the next attempt. With `byPeer` the way in which the other side ended is the better
  // reason.
  void Lose(std::string reason, bool byPeer);
  std::string CloseEndpoint();
  void Pause();

  // The session.
  void ReadMore();
  void TakeRead(std::size_t lengthBytes);
  void SetTimer(LinkClock::time_point at);
  void TimerFired(LinkClock::time_point due);
  void GreetingOverdue();
  void AskKeepAlive(LinkClock::time_point due);
  bool HasLastChance();
  void WriterBroke();

  // SessionHost.
  void OnGreeted(const PeerInfo& peer) override;
  void OnBatch(const ReceivedPacket* records, std::uint32_t count) override;
  void OnTestAnswer(std::uint16_t tag) override;

  // Out to the host.
  void TellState(LinkState state, const PeerInfo* peer, const std::string& reason);
  void TellNotice(std::string_view line);
  void TellLosses();

  bool OnLinkThread() const noexcept {
    return std::this_thread::get_id() == threadId_.load(std::memory_order_relaxed);
  }

  const std::string name_;

  // Between the threads.
  std::mutex controlMutex_;  // for the thread object; the link's own thread never takes it
  std::thread thread_;
  std::atomic<std::thread::id> threadId_{};
  std::atomic<CLinkClient*> client_;
  std::atomic<bool> ending_{false};                // the thread is asked to end
  std::atomic<bool> wanted_{false};                // started and not stopped
  std::atomic<LinkClock::time_point> graceEnd_{};  // until when a stopped link's child may take
  std::atomic<std::uint64_t> session_{0};          // number of the endpoint that is open
  std::atomic<unsigned> asked_{0};                 // bits of Asked
  std::atomic<std::uint64_t> brokenSession_{0};    // with kBroken: whose write failed, and how
  std::atomic<WriteOutcome> brokenOutcome_{WriteOutcome::kWritten};
  std::mutex exchangeMutex_;  // one line test at a time
  std::mutex testMutex_;
  std::condition_variable testAnswered_;
  std::uint16_t testTag_ = 0;
  bool testPending_ = false;

  // The link's thread alone.
  asio::io_context io_{1};
  std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work_;
  asio::steady_timer timer_{io_};
  LinkTiming timing_;
  Phase phase_ = Phase::kIdle;
  Endpoint endpoint_;
  std::unique_ptr<TransportOpener> opener_;
  std::shared_ptr<Transport> transport_;
  std::unique_ptr<LinkSession> receiving_;
  std::unique_ptr<KeepAlive> keepAlive_;
  std::vector<std::uint8_t> readBuffer_;
  Milliseconds pause_{0};
  LinkClock::time_point sessionSince_{};
  std::uint64_t timerNumber_ = 0;
  bool lastChance_ = false;  // a device that looks lost has bytes waiting: they are read first
  std::uint16_t lastTag_ = 0;
  bool told_ = false;  // whether the host knows a state since Begin
  LinkState toldState_ = LinkState::kDisconnected;
  std::string toldReason_;

  LinkWriter writer_;
};

}  // namespace devlink
