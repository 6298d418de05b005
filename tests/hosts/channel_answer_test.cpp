#include "hosts/terminal/channel_answer.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace kiv {
namespace {

using devlink::MessageKind;
using State = ChannelAnswer::State;

TEST(ChannelAnswer, KnowsItsPostsByKindAndIdUnderEveryVariant) {
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x500D), Channel::kAt);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x705), Channel::kAt);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x500E), Channel::kShell);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x805), Channel::kShell);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x500C), Channel::kTestCase);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRawText, 0), Channel::kRawShell);
  EXPECT_EQ(ChannelOfPost(MessageKind::kSdtFrame, 0x7E0C), Channel::kController);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRawText, 1), Channel::kNone);
  EXPECT_EQ(ChannelOfPost(MessageKind::kRequest, 0x7E0C), Channel::kNone);
  EXPECT_EQ(ChannelOfPost(MessageKind::kSdtFrame, 0x7E0B), Channel::kNone);
}

TEST(ChannelAnswer, KnowsItsAnswersByIdUnderEveryVariant) {
  EXPECT_EQ(ChannelOfAnswer(0xA011), Channel::kAt);
  EXPECT_EQ(ChannelOfAnswer(0x4005), Channel::kAt);
  EXPECT_EQ(ChannelOfAnswer(0xA012), Channel::kShell);
  EXPECT_EQ(ChannelOfAnswer(0x4105), Channel::kShell);
  EXPECT_EQ(ChannelOfAnswer(0xA010), Channel::kTestCase);
  EXPECT_EQ(ChannelOfAnswer(0x7E0C), Channel::kController);
  EXPECT_EQ(ChannelOfAnswer(0x500D), Channel::kNone);
}

// What comes of a line that one channel posted, piece by piece.
struct AnswerRow {
  Channel channel;
  std::vector<std::string_view> pieces;
  State state;
  bool failed;
};

const AnswerRow kAnswerRows[] = {
    {Channel::kAt, {}, State::kOpen, false},
    {Channel::kAt, {"\r\nOK\r\n"}, State::kComplete, false},
    {Channel::kAt, {"AT\r\r\nOK\r\n"}, State::kComplete, false},
    {Channel::kAt, {"\r\nO", "K", "\r", "\n"}, State::kComplete, false},
    {Channel::kAt, {"\r", "\nOK\r"}, State::kComplete, false},
    {Channel::kAt, {"OK"}, State::kUntilSilent, false},
    {Channel::kAt, {"OKAY"}, State::kOpen, false},
    {Channel::kAt, {"OK", "AY\r\n"}, State::kOpen, false},
    {Channel::kAt, {"ok\r\n"}, State::kOpen, false},
    {Channel::kAt, {"not OK\r\n"}, State::kOpen, false},
    {Channel::kAt, {"\r\nRING\r\n", "\r\n+CSQ: 20,99\r\n\r\nOK\r\n"}, State::kComplete, false},
    {Channel::kAt, {"\r\nOK\r\n", "\r\nNO CARRIER\r\n"}, State::kComplete, false},
    {Channel::kAt, {"CONNECT\r\n"}, State::kComplete, false},
    {Channel::kAt, {"CONNECT 115200\r\n"}, State::kComplete, false},
    {Channel::kAt, {"CONNECTED\r\n"}, State::kOpen, false},
    {Channel::kAt, {"ERROR\r\n"}, State::kComplete, true},
    {Channel::kAt, {"ERR", "OR"}, State::kUntilSilent, true},
    {Channel::kAt, {"ERROR: no\r\n"}, State::kOpen, false},
    {Channel::kAt, {"+CME ERROR: 10\r\n"}, State::kComplete, true},
    {Channel::kAt, {"+CMS ERR", "OR: SIM not inserted\r\n"}, State::kComplete, true},
    {Channel::kAt, {"+CME ERRORS\r\n"}, State::kOpen, false},
    {Channel::kAt, {"NO CARRIER\r\n"}, State::kComplete, true},
    {Channel::kAt, {"BUSY\r\n"}, State::kComplete, true},
    {Channel::kAt, {"NO ANSWER\r\n"}, State::kComplete, true},
    {Channel::kAt, {"NO DIALTONE\r\n"}, State::kComplete, true},
    {Channel::kAt, {"NO DIAL TONE\r\n"}, State::kComplete, true},
    {Channel::kAt, {"OK  \r\n"}, State::kComplete, false},
    {Channel::kAt, {"\r\nERROR \r\n"}, State::kComplete, true},
    {Channel::kAt, {"NO DIAL TONE ", "  \r"}, State::kComplete, true},
    {Channel::kAt, {"RING\r\n"}, State::kOpen, false},
    // In numbers: the carriage return alone ends them.
    {Channel::kAt, {"0\r"}, State::kUntilSilent, false},
    {Channel::kAt, {"1\r"}, State::kUntilSilent, false},
    {Channel::kAt, {"2\r"}, State::kOpen, false},
    {Channel::kAt, {"3\r"}, State::kUntilSilent, true},
    {Channel::kAt, {"4\r"}, State::kUntilSilent, true},
    {Channel::kAt, {"5\r"}, State::kOpen, false},
    {Channel::kAt, {"6\r"}, State::kUntilSilent, true},
    {Channel::kAt, {"7\r"}, State::kUntilSilent, true},
    {Channel::kAt, {"8\r"}, State::kUntilSilent, true},
    {Channel::kAt, {"9\r"}, State::kOpen, false},
    {Channel::kAt, {"0"}, State::kOpen, false},
    {Channel::kAt, {"00\r"}, State::kOpen, false},
    {Channel::kAt, {"0 \r"}, State::kOpen, false},
    {Channel::kAt, {"0", "\r"}, State::kUntilSilent, false},
    {Channel::kAt, {"AT+CGMI;V0\r0\r"}, State::kUntilSilent, false},
    {Channel::kAt, {"013\r\n0\r"}, State::kUntilSilent, false},
    // A text of one digit, as it may come in pieces, and then the code.
    {Channel::kAt, {"\r\n4\r\n"}, State::kOpen, false},
    {Channel::kAt, {"\r\n4\r", "\n"}, State::kOpen, false},
    {Channel::kAt, {"4\r\r\n"}, State::kOpen, false},
    {Channel::kAt, {"4\r\n0\r"}, State::kUntilSilent, false},
    {Channel::kAt, {"\r\n4\r\n\r\nOK\r\n"}, State::kComplete, false},
    // Whatever else follows a code comes unasked.
    {Channel::kAt, {"0\r", "2\r"}, State::kComplete, false},
    {Channel::kAt, {"4\r+CREG: 1\r\n"}, State::kComplete, true},
    {Channel::kAt, {""}, State::kOpen, false},
    {Channel::kShell, {"hello\n"}, State::kOpen, false},
    {Channel::kShell, {"OK\r\n"}, State::kOpen, false},
    {Channel::kShell, {"hello\n", ""}, State::kComplete, false},
    {Channel::kShell, {""}, State::kComplete, false},
    {Channel::kRawShell, {"hello\n"}, State::kUntilSilent, false},
    {Channel::kRawShell, {"hello\n", ""}, State::kComplete, false},
    {Channel::kTestCase, {"pattern 0x55\n"}, State::kOpen, false},
    // Its confirmation is still to come, and is waited for.
    {Channel::kTestCase, {"result: pass"}, State::kOpen, false},
    {Channel::kTestCase, {"result: fail\n"}, State::kOpen, true},
    {Channel::kTestCase, {"a\r\nresult: fail\r\n"}, State::kOpen, true},
    {Channel::kTestCase, {"no result: pass"}, State::kOpen, false},
    {Channel::kTestCase, {"result: passed"}, State::kOpen, false},
    {Channel::kTestCase, {"result: pass", "result: fail"}, State::kOpen, false},
    {Channel::kTestCase, {"***error: no such test"}, State::kUntilSilent, true},
    {Channel::kController, {}, State::kUntilSilent, false},
    {Channel::kController, {"04 0e 04 01 03 0c 00\n", ""}, State::kUntilSilent, false},
};

TEST(ChannelAnswer, EndsAtTheMarkOfItsChannelHoweverItComesInPieces) {
  for (const AnswerRow& row : kAnswerRows) {
    ChannelAnswer answer;
    answer.Posted(row.channel);
    // Both kinds of shell answer under one id.
    const Channel from = row.channel == Channel::kRawShell ? Channel::kShell : row.channel;
    std::string shown;
    for (const std::string_view piece : row.pieces) {
      EXPECT_TRUE(answer.Arrived(from, piece));
      shown += "[" + std::string(piece) + "]";
    }
    EXPECT_EQ(answer.GetState(), row.state) << shown;
    EXPECT_EQ(answer.IsFailed(), row.failed) << shown;
  }
}

TEST(ChannelAnswer, ATestCaseIsCompleteWithItsResultAndItsConfirmationInAnyOrder) {
  ChannelAnswer answer;
  answer.Posted(Channel::kTestCase);
  EXPECT_TRUE(answer.Confirmed(Channel::kTestCase, 0));
  EXPECT_EQ(answer.GetState(), State::kOpen);
  answer.Arrived(Channel::kTestCase, "result: pass");
  EXPECT_EQ(answer.GetState(), State::kComplete);

  answer.Begin();
  answer.Posted(Channel::kTestCase);
  answer.Arrived(Channel::kTestCase, "result: fail");
  answer.Confirmed(Channel::kTestCase, 0);
  EXPECT_EQ(answer.GetState(), State::kComplete);
  EXPECT_TRUE(answer.IsFailed());
}

TEST(ChannelAnswer, ARefusedPostIsBadNewsAndWaitsForNoMark) {
  for (const Channel channel :
       {Channel::kAt, Channel::kShell, Channel::kTestCase, Channel::kController}) {
    ChannelAnswer answer;
    answer.Posted(channel);
    EXPECT_TRUE(answer.Confirmed(channel, 0));
    EXPECT_EQ(answer.GetRefusal(), 0u);
    EXPECT_TRUE(answer.Confirmed(channel, 704));
    EXPECT_TRUE(answer.Confirmed(channel, 705));
    EXPECT_EQ(answer.GetRefusal(), 704u);
    EXPECT_EQ(answer.GetState(), State::kUntilSilent);
    EXPECT_TRUE(answer.IsFailed());
  }
}

TEST(ChannelAnswer, WithAResultIsBadNewsOfATextThatWasConfirmed) {
  ChannelAnswer shell;
  shell.Posted(Channel::kShell);
  shell.Confirmed(Channel::kShell, 0);
  shell.Arrived(Channel::kShell, "not allowed\n");
  EXPECT_FALSE(shell.IsFailed());
  EXPECT_TRUE(shell.Arrived(Channel::kShell, "", 704));
  EXPECT_EQ(shell.GetState(), State::kComplete);
  EXPECT_TRUE(shell.IsFailed());
  EXPECT_EQ(shell.GetRefusal(), 0u);  // the device said it in words
  ChannelAnswer controller;
  controller.Posted(Channel::kController);
  EXPECT_TRUE(controller.Arrived(Channel::kController, "*** no packet\n", 703));
  EXPECT_EQ(controller.GetState(), State::kUntilSilent);
  EXPECT_TRUE(controller.IsFailed());
  // An answer to somebody else's text.
  EXPECT_FALSE(controller.Arrived(Channel::kAt, "", 703));
}

TEST(ChannelAnswer, ConfirmationsOfAtAndShellEndNothing) {
  for (const Channel channel : {Channel::kAt, Channel::kShell}) {
    ChannelAnswer answer;
    answer.Posted(channel);
    EXPECT_TRUE(answer.Confirmed(channel, 0));
    EXPECT_EQ(answer.GetState(), State::kOpen);
  }
}

TEST(ChannelAnswer, TextOfAChannelThatDidNotPostDoesNotMatter) {
  ChannelAnswer answer;
  EXPECT_EQ(answer.GetState(), State::kNothingPosted);
  answer.Posted(Channel::kShell);
  EXPECT_FALSE(answer.Arrived(Channel::kAt, "\r\nERROR\r\n"));
  EXPECT_FALSE(answer.Arrived(Channel::kTestCase, "result: fail"));
  EXPECT_FALSE(answer.Arrived(Channel::kNone, ""));
  EXPECT_FALSE(answer.Confirmed(Channel::kNone, 700));
  EXPECT_EQ(answer.GetState(), State::kOpen);
  EXPECT_FALSE(answer.IsFailed());
}

TEST(ChannelAnswer, APostBehindAMarkTakesTheMarkBack) {
  ChannelAnswer answer;
  answer.Posted(Channel::kShell);
  answer.Arrived(Channel::kShell, "");
  answer.Posted(Channel::kShell);
  EXPECT_EQ(answer.GetState(), State::kOpen);
  answer.Arrived(Channel::kShell, "");
  EXPECT_EQ(answer.GetState(), State::kComplete);
}

TEST(ChannelAnswer, ALineOfTwoChannelsWaitsForBoth) {
  ChannelAnswer answer;
  answer.Posted(Channel::kAt);
  answer.Posted(Channel::kController);
  EXPECT_EQ(answer.GetState(), State::kOpen);
  answer.Arrived(Channel::kAt, "ERROR\r\n");
  EXPECT_EQ(answer.GetState(), State::kUntilSilent);
  EXPECT_TRUE(answer.IsFailed());
}

TEST(ChannelAnswer, APostThatCouldNotBeWrittenIsNotWaitedFor) {
  ChannelAnswer answer;
  answer.Posted(Channel::kAt);
  answer.PostFailed(Channel::kAt);
  answer.PostFailed(Channel::kNone);
  EXPECT_EQ(answer.GetState(), State::kNothingPosted);
}

TEST(ChannelAnswer, ALineOfAnyLengthIsReadOverAndTheNextIsRead) {
  ChannelAnswer answer;
  answer.Posted(Channel::kAt);
  answer.Arrived(Channel::kAt, "OK " + std::string(100'000, ' '));
  EXPECT_EQ(answer.GetState(), State::kOpen);
  answer.Arrived(Channel::kAt, "\r\n");
  EXPECT_EQ(answer.GetState(), State::kOpen);
  answer.Arrived(Channel::kAt, "OK\r\n");
  EXPECT_EQ(answer.GetState(), State::kComplete);
}

}  // namespace
}  // namespace kiv
