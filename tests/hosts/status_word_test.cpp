// The rows of :status, whole.
#include "hosts/terminal/status_word.h"

#include <gtest/gtest.h>

#include <string>

#include "kiv_version.h"

namespace kiv {
namespace {

using devlink::LinkState;

class StatusTextTest : public testing::Test {
 protected:
  StatusTextTest() {
    facts.endpoint = "unix:/run/kiv";
    facts.now = LinkStatus::Time(std::chrono::milliseconds(12'345));
    facts.link.state = LinkState::kConnected;
    facts.link.since = LinkStatus::Time(std::chrono::milliseconds(0));
    facts.link.sinceText = "2026-01-31 23:59:59.123";
    facts.link.peer = devlink::PeerInfo{"bench", 1, 248, 0, 0x1234, 0, false};
    facts.variant = 248;
    facts.catalogue = L"/share/board.kcat";
    facts.fingerprint = 0x1234;
    facts.queue = {3, 400, 4096};
    facts.settingsFile = L"/home/kiv.xml";
    facts.areSettingsThere = true;
    std::uint64_t count = 100;
    for (auto* const each :
         {&facts.counters.framesIn, &facts.counters.framesOut, &facts.counters.bytesIn,
          &facts.counters.bytesOut, &facts.counters.messagesIn, &facts.counters.messagesOut,
          &facts.counters.badFrames, &facts.counters.badMessages, &facts.counters.sequenceGaps,
          &facts.counters.repeatedFrames, &facts.counters.abandonedMessages,
          &facts.counters.deviceDropped, &facts.counters.attempts, &facts.counters.connects,
          &facts.counters.disconnects}) {
      *each = ++count;
    }
  }
  // Of the row with this name.
  std::string Value(const std::string& name) const {
    const std::string text = "\n" + StatusText(facts);
    const std::size_t at = text.find("\n" + name + " ");
    if (at == std::string::npos) return "no such row";
    const std::size_t begin = text.find_first_not_of(' ', at + 1 + name.size());
    return text.substr(begin, text.find('\n', begin) - begin);
  }

  StatusFacts facts;
};

TEST_F(StatusTextTest, HasARowForEachFact) {
  EXPECT_EQ(StatusText(facts),
            "link                unix:/run/kiv\n"
            "state               connected\n"
            "since               2026-01-31 23:59:59.123, 12.3 s\n"
            "losses              0\n"
            "device              bench\n"
            "protocol            1\n"
            "variant             248\n"
            "product             0\n"
            "catalogue           /share/board.kcat\n"
            "fingerprint         0000000000001234\n"
            "device_fingerprint  0000000000001234, the same\n"
            "frames_in           101\n"
            "frames_out          102\n"
            "bytes_in            103\n"
            "bytes_out           104\n"
            "messages_in         105\n"
            "messages_out        106\n"
            "bad_frames          107\n"
            "bad_messages        108\n"
            "lost_frames         109\n"
            "repeated_frames     110\n"
            "abandoned_messages  111\n"
            "device_dropped      112\n"
            "attempts            113\n"
            "connects            114\n"
            "disconnects         115\n"
            "queue_texts         3\n"
            "queue_bytes         400 of 4096\n"
            "settings            /home/kiv.xml\n"
            "settings_place      session 1, instance 1\n"
            "version             " KIV_VERSION "\n");
}

TEST_F(StatusTextTest, SaysWhyThereIsNoLinkAndHowTheLastOneWasLost) {
  facts.link.state = LinkState::kConnecting;
  facts.link.reason = "no such file";
  facts.link.losses = 2;
  facts.link.lastLossText = "2026-01-31 23:59:58.000";
  facts.link.lastLossReason = "the device closed the link";
  EXPECT_EQ(Value("state"), "connecting: no such file");
  EXPECT_EQ(Value("losses"), "2");
  EXPECT_EQ(Value("last_loss"), "2026-01-31 23:59:58.000");
  EXPECT_EQ(Value("last_loss_reason"), "the device closed the link");
  facts.link.state = LinkState::kDisconnected;
  facts.link.reason.clear();
  EXPECT_EQ(Value("state"), "not connected");
}

TEST_F(StatusTextTest, SaysWhatDiffersFromTheDevice) {
  facts.variant = 246;
  facts.product = 38;
  facts.fingerprint = 0x1235;
  EXPECT_EQ(Value("variant"), "246, the device says 248");
  EXPECT_EQ(Value("product"), "38, the device says 0");
  EXPECT_EQ(Value("device_fingerprint"), "0000000000001234, another");
  facts.fingerprint = 0;
  EXPECT_EQ(Value("fingerprint"), "not known");
  EXPECT_EQ(Value("device_fingerprint"), "0000000000001234");
}

TEST_F(StatusTextTest, LeavesOutTheDeviceThatNeverCame) {
  facts.link = {};
  EXPECT_EQ(Value("device"), "no such row");
  EXPECT_EQ(Value("since"), "no such row");
  EXPECT_EQ(Value("variant"), "248");
  EXPECT_EQ(Value("device_fingerprint"), "not known");
}

TEST_F(StatusTextTest, LetsNothingActOnTheTerminal) {
  facts.link.peer->agentName = "b\x1b[2J\nversion  9";
  facts.link.state = LinkState::kDisconnected;
  facts.link.reason = "\x1b]0;x\x07";
  facts.catalogue = L"/a\u202e";
  EXPECT_EQ(Value("device"), "b\\x1b[2J\\x0aversion  9");
  EXPECT_EQ(Value("state"), "not connected: \\x1b]0;x\\x07");
  EXPECT_EQ(Value("catalogue"), "/a\\u202e");
}

}  // namespace
}  // namespace kiv
