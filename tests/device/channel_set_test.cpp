#include "device/linux/channel_set.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "device/core/hello.h"
#include "device/core/result_codes.h"
#include "device/linux/delayed_texts.h"

namespace {

// A channel that writes down what it is told.
struct Recorder {
  kiv_channel base{};
  std::vector<std::string> seen;
  int watches = 0;
  int64_t dueMs = -1;
};

Recorder& of(kiv_channel* self) { return *reinterpret_cast<Recorder*>(self); }

uint32_t take(kiv_channel* self, uint32_t answerId, const uint8_t* body, uint32_t bytes,
              uint32_t delayMs) {
  of(self).seen.push_back(std::to_string(answerId) + " " + std::to_string(delayMs) + " " +
                          std::string(reinterpret_cast<const char*>(body), bytes));
  return KIV_RESULT_OK;
}
int watch(kiv_channel* self, struct pollfd* entries, int max) {
  EXPECT_GE(max, of(self).watches);
  for (int i = 0; i < of(self).watches; ++i) entries[i] = {100 + i, POLLIN, 0};
  return of(self).watches;
}
void serve(kiv_channel* self, const struct pollfd* entries, int64_t) {
  if (of(self).watches > 0) of(self).seen.push_back("fd " + std::to_string(entries[0].revents));
}
int64_t nextDueMs(const kiv_channel* self) {
  return reinterpret_cast<const Recorder*>(self)->dueMs;
}
void endSession(kiv_channel* self) { of(self).seen.push_back("end"); }
void closeChannel(kiv_channel* self) { of(self).seen.push_back("close"); }

const kiv_channel_calls kCalls = {take, watch, serve, nextDueMs, endSession, closeChannel};

class ChannelSet : public testing::Test {
 protected:
  ChannelSet() {
    for (int port = 0; port < KIV_PORTS; ++port) {
      channels_[port].base.calls = &kCalls;
      kiv_channel_set_add(&set_, static_cast<kiv_port>(port), &channels_[port].base, &out_);
    }
  }
  uint32_t post(uint8_t kind, uint32_t id, const std::string& body, uint32_t delayMs = 0) {
    kiv_head head = kiv_head_of(static_cast<kiv_kind>(kind));
    head.id = id;
    head.word32 = delayMs;
    return kiv_channel_set_take(&set_, &head, reinterpret_cast<const uint8_t*>(body.data()),
                                static_cast<uint32_t>(body.size()));
  }
  static std::string text(const std::string& text, int difference = 0) {
    const auto n = static_cast<uint32_t>(static_cast<int>(text.size()) + difference);
    std::string out;
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(n >> shift & 0xFF);
    return out + text;
  }
  const std::vector<std::string>& seen(kiv_port port) { return channels_[port].seen; }

  kiv_channel_set set_{};
  kiv_channel_out out_{};
  Recorder channels_[KIV_PORTS];
};

using Lines = std::vector<std::string>;

TEST_F(ChannelSet, GivesEveryMessageToItsPortWithTheIdOfItsAnswers) {
  for (const uint16_t variant : {0, 246, 248, 7}) {
    set_.variant = variant;
    EXPECT_EQ(post(KIV_REQUEST, 0x500D, text("AT\r\n"), 7), 0u);
    EXPECT_EQ(post(KIV_REQUEST, 0x500E, text("ls")), 0u);
    EXPECT_EQ(post(KIV_REQUEST, 0x500C, "whole"), 0u);
    EXPECT_EQ(post(KIV_SDT, 0x7E0C, "frame"), 0u);
    EXPECT_EQ(post(KIV_RAW, 0, "ls\r\n"), 0u);
    EXPECT_EQ(post(KIV_REQUEST, 0x705, text("AT\r\n")), KIV_RESULT_NOT_ENABLED);
    EXPECT_EQ(seen(KIV_PORT_AT), (Lines{"40977 7 AT\r\n"}));
    EXPECT_EQ(seen(KIV_PORT_SHELL), (Lines{"40978 0 ls", "40978 0 ls\r\n"}));
    EXPECT_EQ(seen(KIV_PORT_TEST_CASE), (Lines{"40976 0 whole"}));
    EXPECT_EQ(seen(KIV_PORT_HCI), (Lines{"32268 0 frame"}));
    for (Recorder& channel : channels_) channel.seen.clear();
  }
}

TEST_F(ChannelSet, KnowsTheOtherIdsOfVariant249) {
  set_.variant = 249;
  EXPECT_EQ(post(KIV_REQUEST, 0x705, text("AT\r\n"), 7), 0u);
  EXPECT_EQ(post(KIV_REQUEST, 0x805, text("ls")), 0u);
  EXPECT_EQ(post(KIV_REQUEST, 0x500C, "whole"), 0u);
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, text("AT\r\n")), KIV_RESULT_NOT_ENABLED);
  EXPECT_EQ(seen(KIV_PORT_AT), (Lines{"16389 7 AT\r\n"}));
  EXPECT_EQ(seen(KIV_PORT_SHELL), (Lines{"16645 0 ls"}));
}

TEST_F(ChannelSet, RefusesATextWhoseLengthIsWrong) {
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, ""), KIV_RESULT_BODY_SHORT);
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, "\x01"), KIV_RESULT_BODY_SHORT);
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, text("AT", 1)), KIV_RESULT_BODY_SHORT);
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, text("AT", -1)), KIV_RESULT_BODY_LONG);
  EXPECT_EQ(post(KIV_REQUEST, 0x500D, "\xFF\xFF\xFF\xFF"), KIV_RESULT_BODY_SHORT);
  EXPECT_EQ(post(KIV_REQUEST, 0x500E, text(std::string(KIV_CHANNEL_MAX_TEXT_BYTES + 1, 'x'))),
            KIV_RESULT_BODY_LONG);
  EXPECT_EQ(post(KIV_RAW, 0, std::string(KIV_CHANNEL_MAX_TEXT_BYTES + 1, 'x')),
            KIV_RESULT_BODY_LONG);
  EXPECT_TRUE(seen(KIV_PORT_AT).empty());
  EXPECT_TRUE(seen(KIV_PORT_SHELL).empty());
}

TEST_F(ChannelSet, SaysWhichPortIsNotTurnedOn) {
  EXPECT_EQ(kiv_channel_set_abilities(&set_), 0x0078u);
  set_.channels[KIV_PORT_SHELL] = nullptr;
  EXPECT_EQ(kiv_channel_set_abilities(&set_), 0x0068u);
  EXPECT_EQ(post(KIV_REQUEST, 0x500E, text("ls")), KIV_RESULT_NOT_ENABLED);
  EXPECT_EQ(post(KIV_RAW, 0, "ls"), KIV_RESULT_NOT_ENABLED);
  EXPECT_EQ(post(KIV_RAW, 5, "ls"), KIV_RESULT_NOT_ENABLED);
  EXPECT_EQ(post(KIV_SDT, 0x500D, "ls"), KIV_RESULT_NOT_ENABLED);
}

TEST_F(ChannelSet, HandsEachChannelItsOwnPollEntries) {
  channels_[KIV_PORT_AT].watches = 2;
  channels_[KIV_PORT_HCI].watches = 1;
  struct pollfd entries[KIV_CHANNEL_SET_POLL_ENTRIES] = {};
  ASSERT_EQ(kiv_channel_set_watch(&set_, entries), 3);
  for (short i = 0; i < 3; ++i) entries[i].revents = static_cast<short>(i + 1);
  kiv_channel_set_serve(&set_, entries, 5);
  EXPECT_EQ(seen(KIV_PORT_AT), (Lines{"fd 1"}));
  EXPECT_EQ(seen(KIV_PORT_HCI), (Lines{"fd 3"}));
}

TEST_F(ChannelSet, IsDueWhenTheFirstOfItsChannelsIs) {
  EXPECT_EQ(kiv_channel_set_next_due_ms(&set_), -1);
  channels_[KIV_PORT_AT].dueMs = 30;
  channels_[KIV_PORT_SHELL].dueMs = 20;
  EXPECT_EQ(kiv_channel_set_next_due_ms(&set_), 20);
  kiv_channel_set_end_session(&set_);
  kiv_channel_set_close(&set_);
  EXPECT_EQ(kiv_channel_set_next_due_ms(&set_), -1);
  for (Recorder& channel : channels_) EXPECT_EQ(channel.seen, (Lines{"end", "close"}));
}

class DelayedTexts : public testing::Test {
 protected:
  ~DelayedTexts() override { kiv_delayed_clear(&texts_); }
  uint32_t push(const std::string& text, uint32_t delayMs, int64_t nowMs) {
    return kiv_delayed_push(&texts_, reinterpret_cast<const uint8_t*>(text.data()),
                            static_cast<uint32_t>(text.size()), delayMs, nowMs);
  }
  std::string taken(int64_t nowMs) {
    kiv_delayed_text* item = kiv_delayed_take(&texts_, nowMs);
    if (item == nullptr) return "none";
    const std::string text(reinterpret_cast<const char*>(item->text), item->text_bytes);
    std::free(item);
    return text;
  }
  kiv_delayed_texts texts_{};
};

TEST_F(DelayedTexts, ComeWhenTheirTimeIsOverAndInTheirOrder) {
  EXPECT_EQ(kiv_delayed_next_due_ms(&texts_), -1);
  EXPECT_EQ(push("late", 50, 1000), 0u);
  EXPECT_EQ(push("at once", 0, 1001), 0u);
  EXPECT_EQ(kiv_delayed_next_due_ms(&texts_), 1050);
  EXPECT_EQ(taken(1049), "none");
  EXPECT_EQ(taken(1050), "late");
  EXPECT_EQ(taken(1050), "at once");
  EXPECT_EQ(taken(9999), "none");
}

TEST_F(DelayedTexts, AreBoundedInTimeNumberAndBytes) {
  EXPECT_EQ(push("a", KIV_CHANNEL_MAX_DELAY_MS + 1, 0), KIV_RESULT_BAD_VALUE);
  EXPECT_EQ(push(std::string(KIV_CHANNEL_MAX_WAITING_BYTES, 'x'), 0, 0), 0u);
  EXPECT_EQ(push("a", 0, 0), KIV_RESULT_BUSY);
  EXPECT_EQ(taken(0).size(), KIV_CHANNEL_MAX_WAITING_BYTES);
  for (unsigned i = 0; i < KIV_CHANNEL_MAX_WAITING_TEXTS; ++i) ASSERT_EQ(push("", 0, 0), 0u);
  EXPECT_EQ(push("", 0, 0), KIV_RESULT_BUSY);
}

}  // namespace
