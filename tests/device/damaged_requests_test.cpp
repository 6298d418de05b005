// Whatever is done to a host's frames on their way, the agent runs only commands that were sent,
// each once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "device/core/agent.h"
#include "tests/device/line_recorder.h"
#include "tests/platform/devlink/damage.h"
#include "tests/support/sweep.h"
#include "tests/support/sweep_report.h"

namespace kivtest {
namespace {

using linktest::Damage;
using linktest::DamageRun;

// The agent's core with a program around it that answers every request with its own bytes.
class AgentTarget : public linktest::DamageTarget {
 public:
  AgentTarget() : frameBuffer_(KIV_MAX_FRAME_BYTES), replyBuffer_(256) {
    for (uint32_t id = 0x2000; id < 0x2000 + 251; ++id) commands_.push_back({id, 0, 256, Echo});
    setup_.commands = commands_.data();
    setup_.command_count = static_cast<uint32_t>(commands_.size());
    setup_.command_context = this;
    setup_.reply_buffer = replyBuffer_.data();
    setup_.reply_bytes = static_cast<uint32_t>(replyBuffer_.size());
    Begin();
    Greet();
  }
  ~AgentTarget() override { kiv_agent_end(&agent_); }

  DamageRun* run = nullptr;
  int64_t runs = 0;
  int64_t confirmations = 0;
  int storageHeld = 0;

  uint8_t Kind() const override { return linktest::kRequest; }
  // An agent does not know that its host has gone before the next greeting.
  bool IgnoresStale() const override { return false; }
  uint64_t Lost() const override { return agent_.receiver.counts.lost; }
  void Take(Bytes piece) override {
    kiv_agent_feed(&agent_, piece.data(), static_cast<uint32_t>(piece.size()));
  }
  void NewSession(const Bytes& stale) override {
    if (stale.empty()) {
      kiv_agent_end(&agent_);
      Begin();
    }
    Take(stale);
    Greet();
  }

 private:
  void Begin() {
    const kiv_agent_owner owner = {this,    TakeStorage, GiveBackStorage, SessionReplaced,
                                   HasRoom, Send,        Dropped};
    kiv_agent_init(&agent_, &setup_, &owner, frameBuffer_.data());
  }
  void Greet() {
    kiv_hello hello{};
    hello.protocol_version = 1;
    Bytes body(KIV_HELLO_MAX_BYTES);
    body.resize(kiv_hello_write(&hello, KIV_SIDE_HOST, body.data()));
    greeted_ = false;
    Take(EncodeMessage(HeadOf(KIV_HELLO, 0, 77, 0), body));
    EXPECT_TRUE(greeted_);
  }

  static AgentTarget* Of(void* context) { return static_cast<AgentTarget*>(context); }
  static uint32_t Echo(void* context, const uint8_t* request, uint32_t requestBytes,
                       kiv_writer* reply) {
    ++Of(context)->runs;
    kiv_write_bytes(reply, request, requestBytes);
    return KIV_RESULT_OK;
  }
  static uint8_t* TakeStorage(void* context, uint32_t bodyBytes) {
    ++Of(context)->storageHeld;
    return static_cast<uint8_t*>(std::malloc(bodyBytes));
  }
  static void GiveBackStorage(void* context, uint8_t* storage) {
    --Of(context)->storageHeld;
    std::free(storage);
  }
  static void SessionReplaced(void* context, bool accepted) { Of(context)->greeted_ = accepted; }
  static bool HasRoom(void*) { return true; }
  static void Send(void* context, const kiv_head* head, const uint8_t* body, uint32_t bodyBytes) {
    if (head->kind != KIV_CNF) return;
    ++Of(context)->confirmations;
    EXPECT_EQ(head->result, 0u);
    Of(context)->run->Delivered(head->id, head->tag, Bytes(body, body + bodyBytes));
  }
  static uint32_t Dropped(void*) { return 0; }

  std::vector<kiv_command> commands_;
  kiv_agent_setup setup_{};
  kiv_agent agent_{};
  bool greeted_ = false;
  Bytes frameBuffer_;
  Bytes replyBuffer_;
};

class DamagedRequests : public testing::TestWithParam<int> {};

TEST_P(DamagedRequests, MakeTheAgentRunNothingWrongAndNothingTwice) {
  const auto damage = static_cast<Damage>(GetParam());
  const SweepReport report(std::string("damaged frames, agent, ") + DamageName(damage));
  AgentTarget target;
  DamageRun run(target, damage, static_cast<uint32_t>(200 + GetParam()));
  target.run = &run;
  for (auto left = SweepCount(1'000'000) / linktest::kDamages; left > 0 && run.Found().Good();
       --left) {
    run.Round();
  }
  report.Write(run.Found().tried, run.Found().Text());
  EXPECT_TRUE(run.Found().Good()) << run.Found().Text();
  EXPECT_EQ(target.runs, target.confirmations);
  EXPECT_EQ(target.storageHeld, 0);
  EXPECT_GE(run.Found().delivered, run.Found().tried);
}

INSTANTIATE_TEST_SUITE_P(InClasses, DamagedRequests, testing::Range(0, linktest::kDamages),
                         [](const testing::TestParamInfo<int>& info) {
                           std::string name = DamageName(static_cast<Damage>(info.param));
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

}  // namespace
}  // namespace kivtest
