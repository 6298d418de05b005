// Misbehaviour on request: what it changes, and where it ends.
#include "device/linux/faults.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/device/failing_calls.h"
#include "tests/device/line_recorder.h"

namespace kivtest {
namespace {

class Faults : public testing::Test {
 protected:
  Faults() { kiv_faults_reset(&faults_); }
  ~Faults() override { kiv_faults_reset(&faults_); }

  bool Set(uint8_t kind, uint32_t amount, uint32_t commands) {
    return kiv_faults_set(&faults_, kind, amount, commands);
  }

  // What becomes of a confirmation with result 0 and the body "abcdef".
  std::string Pass(uint16_t tag, int64_t nowMs = 0) {
    kiv_head head = kiv_head_of(KIV_CNF);
    head.tag = tag;
    uint32_t bodyBytes = 6;
    const auto* body = reinterpret_cast<const uint8_t*>("abcdef");
    if (!kiv_faults_pass(&faults_, &head, body, &bodyBytes, nowMs)) return "kept";
    Sent(this, &head, body, bodyBytes);
    return sent_.back();
  }

  std::vector<std::string> Release(int64_t nowMs) {
    sent_.clear();
    while (kiv_faults_release(&faults_, nowMs, Sent, this)) continue;
    return sent_;
  }

  static void Sent(void* context, const kiv_head* head, const uint8_t* body, uint32_t bodyBytes) {
    static_cast<Faults*>(context)->sent_.push_back(
        std::to_string(head->tag) + " sent " + std::to_string(head->result) + " " +
        std::string(reinterpret_cast<const char*>(body), bodyBytes));
  }

  kiv_faults faults_{};
  std::vector<std::string> sent_;
};

TEST_F(Faults, ThatWereNotAskedForChangeNothing) {
  EXPECT_EQ(Pass(1), "1 sent 0 abcdef");
  EXPECT_EQ(kiv_faults_next_due_ms(&faults_), -1);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 0), 0u);
  EXPECT_EQ(faults_.met, 0u);
}

TEST_F(Faults, MeetAsManyCommandsAsAskedFor) {
  ASSERT_TRUE(Set(KIV_FAULTS_SILENCE, 0, 2));
  EXPECT_EQ(Pass(1), "kept");
  EXPECT_EQ(Pass(2), "kept");
  EXPECT_EQ(Pass(3), "3 sent 0 abcdef");
  EXPECT_EQ(faults_.met, 2u);
  EXPECT_EQ(faults_.kind, KIV_FAULTS_NONE);
  ASSERT_TRUE(Set(KIV_FAULTS_RESULT, 77, 1));
  EXPECT_EQ(Pass(4), "4 sent 77 ");
  EXPECT_EQ(Pass(5), "5 sent 0 abcdef");
  ASSERT_TRUE(Set(KIV_FAULTS_SHORT_BODY, 2, 1));
  EXPECT_EQ(Pass(6), "6 sent 0 abcd");
  ASSERT_TRUE(Set(KIV_FAULTS_SHORT_BODY, 65535, 1));
  EXPECT_EQ(Pass(7), "7 sent 0 ");
  EXPECT_EQ(faults_.met, 5u);
}

TEST_F(Faults, LetLaterCommandsOvertakeALateOne) {
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 100, 1));
  EXPECT_EQ(Pass(1, 1000), "kept");
  EXPECT_EQ(Pass(2, 1001), "2 sent 0 abcdef");
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 50, 1));
  EXPECT_EQ(Pass(3, 1002), "kept");
  EXPECT_EQ(kiv_faults_next_due_ms(&faults_), 1052);
  EXPECT_EQ(Release(1051), std::vector<std::string>{});
  EXPECT_EQ(Release(1052), std::vector<std::string>{"3 sent 0 abcdef"});
  EXPECT_EQ(kiv_faults_next_due_ms(&faults_), 1100);
  EXPECT_EQ(Release(5000), std::vector<std::string>{"1 sent 0 abcdef"});
  EXPECT_EQ(kiv_faults_next_due_ms(&faults_), -1);
}

TEST_F(Faults, KeepEqualTimesInOrder) {
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 10, 3));
  for (const uint16_t tag : {1, 2, 3}) EXPECT_EQ(Pass(tag, 7), "kept");
  const std::vector<std::string> inOrder{"1 sent 0 abcdef", "2 sent 0 abcdef", "3 sent 0 abcdef"};
  EXPECT_EQ(Release(17), inOrder);
}

TEST_F(Faults, HoldBackAThousandConfirmationsAndNoMore) {
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 60000, 1000));
  for (uint16_t i = 0; i < 1000; ++i) ASSERT_EQ(Pass(i), "kept");
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 60000, 1000));
  EXPECT_EQ(Pass(1), "1 sent 0 abcdef");
  EXPECT_EQ(Release(60000).size(), 1000u);
  EXPECT_EQ(Pass(2), "kept");
}

TEST_F(Faults, SendAtOnceWhatTheyHaveNoMemoryFor) {
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 10, 1));
  const FailingCall failing(FailingCall::Kind::kAllocation, 1);
  EXPECT_EQ(Pass(1), "1 sent 0 abcdef");
}

TEST_F(Faults, ComeAtOnceAsABurst) {
  ASSERT_TRUE(Set(KIV_FAULTS_BURST, 3, 0));
  EXPECT_EQ(faults_.commands, 0u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 5000), 1u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 5000), 2u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 5000), 3u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 5000), 0u);
}

TEST_F(Faults, ComeAsAStreamOnlyWhileFewWait) {
  ASSERT_TRUE(Set(KIV_FAULTS_STREAM, 3, 0));
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 127), 1u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 128), 0u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 0), 2u);
  ASSERT_TRUE(Set(KIV_FAULTS_NONE, 0, 0));
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 0), 0u);
}

TEST_F(Faults, OfCommandsAndOfIndicationsStandBesideEachOther) {
  ASSERT_TRUE(Set(KIV_FAULTS_STREAM, 9, 0));
  ASSERT_TRUE(Set(KIV_FAULTS_SILENCE, 0, 1));
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 0), 1u);
  ASSERT_TRUE(kiv_faults_set(&faults_, KIV_FAULTS_BURST, 1, 0));
  EXPECT_EQ(Pass(2), "kept");
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 5000), 1u);
  EXPECT_EQ(kiv_faults_take_indication(&faults_, 0), 0u);
}

TEST_F(Faults, RefuseWhatIsOutOfRangeAndChangeNothing) {
  const struct {
    uint8_t kind;
    uint32_t amount;
    uint32_t commands;
    bool good;
  } rows[] = {{KIV_FAULTS_NONE, 0, 0, true},
              {KIV_FAULTS_DELAY, 0, 1, false},
              {KIV_FAULTS_DELAY, 60000, 1, true},
              {KIV_FAULTS_DELAY, 60001, 1, false},
              {KIV_FAULTS_DELAY, 1, 0, false},
              {KIV_FAULTS_DELAY, 1, 1001, false},
              {KIV_FAULTS_SILENCE, 0, 1000, true},
              {KIV_FAULTS_SILENCE, 0, 0, false},
              {KIV_FAULTS_RESULT, 0, 1, false},
              {KIV_FAULTS_RESULT, 0xFFFFFFFF, 1, true},
              {KIV_FAULTS_SHORT_BODY, 0, 1, false},
              {KIV_FAULTS_SHORT_BODY, 65536, 1, false},
              {KIV_FAULTS_BURST, 0, 1, false},
              {KIV_FAULTS_BURST, 100001, 1, false},
              {KIV_FAULTS_BURST, 100000, 0, true},
              {KIV_FAULTS_STREAM, 1000001, 1, false},
              {7, 1, 1, false},
              {255, 1, 1, false}};
  for (const auto& row : rows) {
    kiv_faults_reset(&faults_);
    ASSERT_TRUE(Set(KIV_FAULTS_RESULT, 9, 5));
    EXPECT_EQ(Set(row.kind, row.amount, row.commands), row.good)
        << int{row.kind} << " " << row.amount << " " << row.commands;
    if (!row.good) {
      EXPECT_EQ(Pass(1), "1 sent 9 ");
    }
  }
}

TEST_F(Faults, EndWithTheSession) {
  ASSERT_TRUE(Set(KIV_FAULTS_DELAY, 10, 5));
  EXPECT_EQ(Pass(1), "kept");
  kiv_faults_reset(&faults_);
  EXPECT_EQ(kiv_faults_next_due_ms(&faults_), -1);
  EXPECT_EQ(Pass(2), "2 sent 0 abcdef");
  EXPECT_EQ(Release(100000), std::vector<std::string>{});
}

}  // namespace
}  // namespace kivtest
