#include "hosts/terminal/link_watch.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kiv {
namespace {

using devlink::Direction;
using devlink::LinkState;
using devlink::MessageKind;

class LinkWatchTest : public testing::Test {
 protected:
  void Up() { watch.OnState({LinkState::kConnected, &peer, ""}); }
  void Down(const char* reason = "gone") {
    watch.OnState({LinkState::kDisconnected, nullptr, reason});
  }
  void Post(std::uint32_t cmdId, std::uint16_t tag, MessageKind kind = MessageKind::kRequest) {
    watch.OnMessage({Direction::kToDevice, kind, cmdId, tag, 0, 0, 0, 0, nullptr, 0, 0});
  }
  static ReceivedPacket Cnf(std::uint32_t cmdId, std::uint16_t tag, std::uint32_t result = 0) {
    ReceivedPacket record = {};
    record.cmdId = cmdId;
    record.tag = tag;
    record.resultCode = result;
    return record;
  }
  static ReceivedPacket Answer(std::uint32_t cmdId, std::string_view text) {
    ReceivedPacket record = {};
    record.cmdId = cmdId;
    record.isInd = 1;
    record.body = reinterpret_cast<const std::uint8_t*>(text.data());
    record.bodyLengthBytes = static_cast<std::uint32_t>(text.size());
    return record;
  }
  void HandOver(std::vector<ReceivedPacket> records) {
    watch.OnHandedOver(records.data(), static_cast<std::uint32_t>(records.size()));
  }
  ViewEvent End() {
    ViewEvent outcome;
    watch.EndLine(outcome);
    return outcome;
  }
  std::vector<ViewEvent> Events() {
    const auto taken = queue.TakeAll();
    return {taken.begin(), taken.end()};
  }

  devlink::PeerInfo peer{"board", 1, 248, 0, 0, 0, false};
  std::vector<bool> told;
  ViewQueue queue{[] {}};
  LinkWatch watch{queue, "unix:/x", [this](bool up) { told.push_back(up); }};
};

TEST_F(LinkWatchTest, TellsTheModuleOncePerChangeAndTheUserWhatItIsConnectedTo) {
  watch.OnState({LinkState::kConnecting, nullptr, ""});
  Up();
  Down("the device went away");
  Down("the device went away");
  EXPECT_EQ(told, (std::vector<bool>{true, false}));
  const auto events = Events();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].text, "kiv: connected to board (variant 248, product 0) over unix:/x\n");
  EXPECT_EQ(events[1].text, "the device went away");
  EXPECT_LT(events[0].epoch, events[1].epoch);
  EXPECT_EQ(events[1].epoch, events[2].epoch);
}

TEST_F(LinkWatchTest, EscapesTheNameOfADevice) {
  peer.agentName = "b\x1b[2J\nkiv: x";
  Up();
  EXPECT_EQ(Events().at(0).text,
            "kiv: connected to b\\x1b[2J\\x0akiv: x (variant 248, product 0) over unix:/x\n");
}

TEST_F(LinkWatchTest, ALineIsAnsweredWhenItsConfirmationWasHandedOver) {
  Up();
  Events();
  watch.BeginLine(4);
  Post(0x1001, 9);
  const ViewEvent outcome = End();
  EXPECT_EQ(outcome.line, 4u);
  EXPECT_EQ(outcome.posts, 1u);
  EXPECT_FALSE(outcome.answered);
  EXPECT_FALSE(outcome.linkDown);
  HandOver({Cnf(0x1001, 8), Cnf(0x1002, 9)});
  EXPECT_TRUE(Events().empty());
  HandOver({Cnf(0x1001, 9, 703)});
  const auto events = Events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].kind, ViewEvent::Kind::kAnswered);
  EXPECT_EQ(events[0].line, 4u);
  EXPECT_TRUE(events[0].answered);
  EXPECT_EQ(events[0].result, 703u);
}

TEST_F(LinkWatchTest, AConfirmationThatComesWhileTheLineRunsIsToldAtItsEnd) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  Events();
  HandOver({Cnf(5, 1)});
  EXPECT_TRUE(Events().empty());
  EXPECT_TRUE(End().answered);
}

TEST_F(LinkWatchTest, ALinesRecordHasItsBodiesAndTimesOnce) {
  Up();
  watch.BeginLine(7);
  const std::uint8_t request[] = {1, 2};
  const std::uint8_t reply[] = {3};
  const LineRecord::Time readAt = std::chrono::steady_clock::now();
  watch.OnMessage({Direction::kToDevice, MessageKind::kRequest, 5, 1, 0, 0, 0, 0, request, 2, 0});
  End();
  watch.OnMessage(
      {Direction::kFromDevice, MessageKind::kCnf, 5, 1, 0, 0, 0, 0, reply, 1, 0, readAt});
  ReceivedPacket confirmation = Cnf(5, 1);
  confirmation.body = reply;
  confirmation.bodyLengthBytes = 1;
  HandOver({confirmation});
  const LineRecord record = watch.TakeRecord();
  EXPECT_EQ(record.line, 7u);
  EXPECT_EQ(record.cmdId, 5u);
  EXPECT_TRUE(record.isComparable);
  EXPECT_EQ(record.request, (std::vector<std::uint8_t>{1, 2}));
  EXPECT_EQ(record.reply, (std::vector<std::uint8_t>{3}));
  EXPECT_GE(record.posted, readAt);
  EXPECT_EQ(record.firstByte, readAt);
  EXPECT_GE(record.decoded, record.posted);
  EXPECT_EQ(watch.TakeRecord().line, 0u);
}

TEST_F(LinkWatchTest, AnIndicationIsNoConfirmation) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  End();
  Events();
  ReceivedPacket indication = Cnf(5, 1);
  indication.isInd = 1;
  HandOver({indication});
  EXPECT_TRUE(Events().empty());
}

TEST_F(LinkWatchTest, ALineWithTwoPostsWaitsForBothAndKeepsTheFirstBadResult) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  Post(6, 1);
  EXPECT_EQ(End().posts, 2u);
  Events();
  HandOver({Cnf(6, 1, 700)});
  EXPECT_TRUE(Events().empty());
  HandOver({Cnf(5, 1, 0)});
  EXPECT_EQ(Events().at(0).result, 700u);
}

TEST_F(LinkWatchTest, ADoubledConfirmationCountsOnce) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  Post(5, 2);
  End();
  Events();
  HandOver({Cnf(5, 1), Cnf(5, 1)});
  EXPECT_TRUE(Events().empty());
  HandOver({Cnf(5, 2)});
  EXPECT_EQ(Events().size(), 1u);
}

TEST_F(LinkWatchTest, PostsThatAreNoRequestsOrNotOfTheLineAreNotWaitedFor) {
  Up();
  Post(1, 1);
  watch.BeginLine(1);
  Post(2, 1, MessageKind::kRawText);
  std::thread([this] { Post(3, 1); }).join();
  EXPECT_EQ(End().posts, 0u);
  Post(4, 1);
  ViewEvent again;
  watch.EndLine(again);
  EXPECT_EQ(again.posts, 0u);
}

TEST_F(LinkWatchTest, APostThatCouldNotBeWrittenIsNotWaitedFor) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  watch.OnPostFailed(1, 5, 3207);
  const ViewEvent outcome = End();
  EXPECT_EQ(outcome.posts, 0u);
  EXPECT_TRUE(outcome.linkDown);
}

TEST_F(LinkWatchTest, APostThatWasRefusedWithoutASessionSaysThatTheLinkIsDown) {
  Up();
  watch.BeginLine(1);
  watch.OnPostFailed(1, 5, 3207);
  const ViewEvent outcome = End();
  EXPECT_EQ(outcome.posts, 0u);
  EXPECT_TRUE(outcome.linkDown);
}

TEST_F(LinkWatchTest, APostThatFailedElsewhereSaysNothingOfTheLine) {
  Up();
  watch.OnPostFailed(1, 5, 3207);
  watch.BeginLine(1);
  std::thread([this] { watch.OnPostFailed(1, 5, 3207); }).join();
  watch.OnPostFailed(1, 5, 500);
  EXPECT_FALSE(End().linkDown);
}

TEST_F(LinkWatchTest, AnAbandonedLineIsNotAnsweredLater) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  End();
  watch.Abandon();
  Events();
  HandOver({Cnf(5, 1)});
  EXPECT_TRUE(Events().empty());
}

TEST_F(LinkWatchTest, ALineThatBeganWithoutALinkSaysSo) {
  watch.BeginLine(1);
  EXPECT_TRUE(End().linkDown);
}

TEST_F(LinkWatchTest, ALossBetweenPostAndEndOfTheLineIsTheLines) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  Down();
  const ViewEvent outcome = End();
  EXPECT_EQ(outcome.posts, 1u);
  EXPECT_GT(Events().back().epoch, outcome.epoch);
}

TEST_F(LinkWatchTest, ALossBeforeThePostIsNotTheLines) {
  Up();
  watch.BeginLine(1);
  Down();
  Up();
  Post(5, 1);
  const ViewEvent outcome = End();
  EXPECT_EQ(Events().back().epoch, outcome.epoch);
}

TEST_F(LinkWatchTest, AnAnswerThatEndsALineOfAChannelIsTold) {
  Up();
  watch.BeginLine(1);
  Post(0x500D, 0);
  EXPECT_TRUE(End().channelPosted);
  Events();
  HandOver({Answer(0xA011, "\r\n+CSQ: 20,99\r\n\r\nO")});
  EXPECT_TRUE(Events().empty());
  EXPECT_EQ(watch.Progress().state, ChannelAnswer::State::kOpen);
  HandOver({Answer(0xA012, "ERROR\r\n"), Answer(0xA011, "K\r\n")});
  EXPECT_EQ(Events().size(), 1u);
  EXPECT_EQ(watch.Progress().state, ChannelAnswer::State::kComplete);
  EXPECT_FALSE(watch.Progress().failed);
}

TEST_F(LinkWatchTest, AnAnswersTextEndsAtItsFirstZeroByte) {
  Up();
  watch.BeginLine(1);
  Post(0x805, 0);
  End();
  HandOver({Answer(0x4105, std::string_view("\0hidden", 7))});
  EXPECT_EQ(watch.Progress().state, ChannelAnswer::State::kComplete);
}

TEST_F(LinkWatchTest, RawTextAndFramesOfALineAreItsPosts) {
  Up();
  watch.BeginLine(1);
  Post(0, 0, MessageKind::kRawText);
  Post(0x7E0C, 0, MessageKind::kSdtFrame);
  const ViewEvent outcome = End();
  EXPECT_TRUE(outcome.channelPosted);
  EXPECT_EQ(outcome.posts, 0u);
  const auto posted = watch.Progress().latest;
  HandOver({Answer(0xA011, "OK\r\n")});
  EXPECT_EQ(watch.Progress().latest, posted);
  HandOver({Answer(0x7E0C, "04 0e")});
  EXPECT_GE(watch.Progress().latest, posted);
  EXPECT_EQ(watch.Progress().state, ChannelAnswer::State::kUntilSilent);
  HandOver({Cnf(0x7E0C, 0, 704)});
  EXPECT_TRUE(watch.Progress().failed);
  EXPECT_EQ(watch.Progress().refusal, 704u);
}

TEST_F(LinkWatchTest, BehindAWholePieceOfAControllersTextTheDeviceGetsTimeForAnother) {
  Up();
  const auto post = [this](std::size_t lengthBytes) {
    const std::vector<std::uint8_t> body(lengthBytes);
    watch.OnMessage({Direction::kToDevice, MessageKind::kSdtFrame, 0x7E0C, 0, 0, 0, 0, 0,
                     body.data(), body.size(), 0});
  };
  watch.BeginLine(1);
  post(406);
  EXPECT_EQ(watch.Progress().leastSilence, std::chrono::milliseconds(1500));
  post(405);
  EXPECT_EQ(watch.Progress().leastSilence, std::chrono::milliseconds(0));
  post(406);
  End();
  EXPECT_EQ(watch.Progress().leastSilence, std::chrono::milliseconds(1500));
  watch.BeginLine(2);
  EXPECT_EQ(watch.Progress().leastSilence, std::chrono::milliseconds(0));
}

TEST_F(LinkWatchTest, TextThatCouldNotBeWrittenIsNoPostOfTheLine) {
  Up();
  watch.BeginLine(1);
  Post(0, 0, MessageKind::kRawText);
  watch.OnPostFailed(0, 0, 3207);
  const ViewEvent outcome = End();
  EXPECT_FALSE(outcome.channelPosted);
  EXPECT_TRUE(outcome.linkDown);
}

TEST_F(LinkWatchTest, AnAbandonedLineOfAChannelIsOver) {
  Up();
  watch.BeginLine(1);
  Post(0x500E, 0);
  End();
  watch.Abandon();
  Events();
  HandOver({Answer(0xA012, "")});
  EXPECT_TRUE(Events().empty());
  EXPECT_EQ(watch.Progress().state, ChannelAnswer::State::kNothingPosted);
}

TEST_F(LinkWatchTest, ANoticeIsEscaped) {
  const std::string line = "oops\x1b[0m";
  watch.OnNotice(line.data(), line.size());
  EXPECT_EQ(Events().at(0).text, "oops\\x1b[0m");
}

TEST_F(LinkWatchTest, ALineWhoseNumberWasDueBeforeTheReloadIsAnsweredUnclearly) {
  Up();
  watch.BeginLine(1);
  Post(5, 1);
  End();
  watch.Abandon();
  watch.OnReload();
  watch.BeginLine(2);
  Post(5, 1);
  EXPECT_FALSE(End().isUnclear);
  Events();
  HandOver({Cnf(5, 1)});
  EXPECT_TRUE(Events().at(0).isUnclear);
  watch.BeginLine(3);
  Post(5, 2);
  End();
  HandOver({Cnf(5, 2)});
  EXPECT_FALSE(Events().at(0).isUnclear);
}

TEST_F(LinkWatchTest, AnAnswerToALoadOfBeforeTheReloadIsDueUntilItComesOrTheLinkGoes) {
  Up();
  const auto loadOnce = [this] {
    watch.BeginLoad(5);
    watch.BeginLine(1);
    Post(5, 1);
    End();
    watch.OnReload();
  };
  EXPECT_FALSE(watch.IsOldLoadDue());
  loadOnce();
  EXPECT_TRUE(watch.IsOldLoadDue());
  HandOver({Cnf(5, 1)});
  EXPECT_FALSE(watch.IsOldLoadDue());
  loadOnce();
  watch.GiveUpOldLoad();
  EXPECT_FALSE(watch.IsOldLoadDue());
  loadOnce();
  EXPECT_TRUE(watch.IsOldLoadDue());
  Down();
  EXPECT_FALSE(watch.IsOldLoadDue());
}

TEST_F(LinkWatchTest, ALoadThatWasLeftSaysOnceHowItWasEnded) {
  const auto leave = [this] {
    Up();
    watch.BeginLoad(5);
    watch.BeginLine(1);
    Post(5, 1);
    End();
    watch.LeaveLoad("f.bin", false);
    Events();
  };
  leave();
  watch.OnReload();
  watch.OnReload();
  auto events = Events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].text, "kiv: the load was stopped behind 0 chunks; f.bin is not stored\n");
  leave();
  watch.OnLoadFailure();
  watch.OnLoadFailure();
  events = Events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].text, "kiv: the load ended behind 0 chunks; f.bin is not stored\n");
  leave();
  Down();
  events = Events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].text, "kiv: the link was lost behind 0 chunks; f.bin is not stored\n");
  leave();
  EXPECT_EQ(watch.TakeLeftLoad(), "f.bin");
  EXPECT_EQ(watch.TakeLeftLoad(), "");
  watch.OnReload();
  EXPECT_TRUE(Events().empty());
}

TEST_F(LinkWatchTest, ALoadThatFailedBeforeItWasLeftSaysSoThen) {
  Up();
  watch.BeginLoad(5);
  watch.BeginLine(1);
  Post(5, 1);
  End();
  watch.OnLoadFailure();
  Events();
  watch.LeaveLoad("f.bin", false);
  EXPECT_EQ(Events().at(0).text, "kiv: the load ended behind 0 chunks; f.bin is not stored\n");
}

TEST_F(LinkWatchTest, OnlyTheAnswerToTheQuestionItselfIsKept) {
  Up();
  watch.BeginQuestion(5);
  watch.BeginLine(1);
  Post(5, 2);
  End();
  ReceivedPacket late = Answer(5, "late");
  late.isInd = 0;
  late.tag = 1;
  ReceivedPacket own = Answer(5, "own");
  own.isInd = 0;
  own.tag = 2;
  HandOver({own, late});
  const LinkWatch::Answer answer = watch.TakeAnswer();
  EXPECT_EQ(std::string(answer.body.begin(), answer.body.end()), "own");
}

TEST_F(LinkWatchTest, TellsAControllersTextFromAShellsByTheBatchThatHasIt) {
  const std::vector<ReceivedPacket> records = {
      Answer(0xA012, "same"),   Answer(0x7E0C, "same"), Answer(0xA011, "OK"),
      Answer(0x7E0C, "hidden"), Answer(0x4105, "x"),    Answer(0x7E0C, {"04\0 0e", 6}),
      Answer(0xA012, "")};
  watch.OnHandingOver(records.data(), static_cast<std::uint32_t>(records.size()));
  EXPECT_EQ(watch.ChannelOfText("same"), Channel::kShell);
  EXPECT_EQ(watch.ChannelOfText("same"), Channel::kController);
  EXPECT_EQ(watch.ChannelOfText("x"), Channel::kShell);
  EXPECT_EQ(watch.ChannelOfText("04"), Channel::kController);
  EXPECT_EQ(watch.ChannelOfText(""), Channel::kShell);
  HandOver(records);
  EXPECT_EQ(watch.ChannelOfText("hidden"), Channel::kShell);
}

class RecordOfTextTest : public LinkWatchTest {
 protected:
  static constexpr std::uint32_t kUnknown = 0x3333;  // no catalogue has it: it has no fields

  static ReceivedPacket Ind(std::uint32_t cmdId, std::string_view body = "") {
    return Answer(cmdId, body);
  }
  void Begin(std::vector<ReceivedPacket> batch) {
    records = std::move(batch);
    watch.OnHandingOver(records.data(), static_cast<std::uint32_t>(records.size()));
  }
  // "i" or "c" and the command, with "-" behind a hidden one; "?" for none.
  std::string Next(std::string_view text = "\n.x = 1 \n") {
    const LinkWatch::ShownRecord record = watch.RecordOfText(text);
    if (!record.isKnown) return "?";
    return (record.isIndication ? "i" : "c") + std::to_string(record.cmdId) +
           (record.isHidden ? "-" : "");
  }

  std::vector<ReceivedPacket> records;
};

TEST_F(RecordOfTextTest, TextsAreOfTheRecordsInTheirOrder) {
  Begin({Ind(7), Cnf(8, 1), Ind(7), Cnf(9, 2)});
  EXPECT_EQ(Next(), "i7");
  EXPECT_EQ(Next(), "c8");
  EXPECT_EQ(Next(""), "i7");
  EXPECT_EQ(Next(), "c9");
  EXPECT_EQ(Next(), "?");
}

TEST_F(RecordOfTextTest, ChannelsAndTheDevicesBookkeepingHaveNoText) {
  Begin({Ind(0xA011, "OK"), Cnf(0x500E, 1), Ind(0x7007, "\xff"), Ind(0x7007, "x"), Cnf(5, 1)});
  EXPECT_EQ(Next(), "i28679");
  EXPECT_EQ(Next(), "c5");
  EXPECT_EQ(Next(), "?");
}

TEST_F(RecordOfTextTest, WhatWasRoutedIsNamedByItsInnerCommand) {
  Begin({Ind(0x7000, {"\0\0\0\0\0\0\0\0\x34\x12", 10}), Cnf(0x7000, 1)});
  EXPECT_EQ(Next(), "i4660");
  EXPECT_EQ(Next(), "c28672");
}

TEST_F(RecordOfTextTest, AnIndicationThatMayBeDroppedYieldsToTheConfirmationBehindIt) {
  watch.SetShowsIndications(false);
  Begin({Ind(kUnknown), Cnf(8, 1), Ind(kUnknown)});
  EXPECT_EQ(Next(), "c8");
  EXPECT_EQ(Next(), "i13107");
}

TEST_F(RecordOfTextTest, GoodConfirmationsOfAQuestionAreHiddenAndIndicationsOfItsCommandAreNot) {
  watch.BeginQuestion(8);
  Begin({Ind(8), Cnf(8, 1), Cnf(8, 2, 5)});
  EXPECT_EQ(Next(), "i8");
  EXPECT_EQ(Next(), "c8-");
  EXPECT_EQ(Next(), "c8");
}

}  // namespace
}  // namespace kiv
