// What belongs to a round, and what only arrives meanwhile.
#include "hosts/terminal/round_texts.h"

#include <gtest/gtest.h>

namespace kiv {
namespace {

ViewEvent Text(ShownKind kind, const std::string& text, Channel channel = Channel::kNone) {
  ViewEvent event;
  event.shown = kind;
  event.text = text;
  event.channel = channel;
  return event;
}

TEST(RoundTexts, TakeTheConfirmationAndLeaveWhatTheLineSends) {
  ViewEvent reply = Text(ShownKind::kRequest, "Input Parameters:\n");
  reply.posts = 1;
  RoundTexts round;
  round.Reply(reply);
  EXPECT_FALSE(round.Take(Text(ShownKind::kIndication, ".number = 1\n")));
  EXPECT_TRUE(round.Take(Text(ShownKind::kConfirmation, "\n.value = 1")));
  EXPECT_FALSE(round.Take(Text(ShownKind::kAt, "RING\r\n", Channel::kAt)));
  EXPECT_FALSE(round.Take(Text(ShownKind::kTestCase, "result: pass")));
  EXPECT_EQ(round.Text(), "\n.value = 1\n");
}

TEST(RoundTexts, TakeTheModulesAnswerToALineThatSendsNothingAndTheNotices) {
  RoundTexts round;
  round.Reply(Text(ShownKind::kReply, "Command 'x' is not exist"));
  round.Notice("kiv: did you mean y?\n");
  EXPECT_EQ(round.Text(), "Command 'x' is not exist\n");
  EXPECT_EQ(round.Notices(), "kiv: did you mean y?\n");
}

TEST(RoundTexts, TakeTheTextOfAChannelThatTookTheLine) {
  ViewEvent reply;
  reply.takenByChannel = true;
  reply.posts = 1;
  RoundTexts round;
  round.Reply(reply);
  EXPECT_TRUE(round.Take(Text(ShownKind::kAt, "+CSQ: 1", Channel::kAt)));
  EXPECT_TRUE(round.Take(Text(ShownKind::kAt, "2\x1b[2J\r\nOK", Channel::kAt)));
  EXPECT_TRUE(round.Take(Text(ShownKind::kTestCase, "result: pass")));
  EXPECT_EQ(round.Text(), "+CSQ: 12\\x1b[2J\nOK\nresult: pass\n");
}

}  // namespace
}  // namespace kiv
