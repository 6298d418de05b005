#include "hosts/terminal/due_answers.h"

#include <gtest/gtest.h>

namespace kiv {
namespace {

TEST(DueAnswers, ANumberIsItsOwnUntilItsPostIsDueAndAnotherGoesOut) {
  DueAnswers due;
  EXPECT_TRUE(due.Posted(5, 1));
  EXPECT_TRUE(due.Posted(5, 2));
  EXPECT_TRUE(due.Posted(6, 1));
  EXPECT_FALSE(due.Posted(5, 1));
}

TEST(DueAnswers, WhatWasAnsweredOrNeverWrittenIsNotDue) {
  DueAnswers due;
  due.Posted(5, 1);
  due.Answered(5, 1);
  EXPECT_TRUE(due.Posted(5, 1));
  due.Failed(5, 1);
  EXPECT_TRUE(due.Posted(5, 1));
  due.Answered(5, 7);
  due.Answered(7, 1);
  EXPECT_FALSE(due.Posted(5, 1));
}

TEST(DueAnswers, OfTwoWithOneNumberOneStaysDueBehindTheFirstAnswer) {
  DueAnswers due;
  due.Posted(5, 1);
  due.Restart();
  due.Posted(5, 1);
  due.Answered(5, 1);
  EXPECT_TRUE(due.IsOldDue(5));
  due.Answered(5, 1);
  EXPECT_FALSE(due.IsOldDue(5));
  EXPECT_TRUE(due.Posted(5, 1));
}

TEST(DueAnswers, OnlyWhatWasDueAtTheRestartIsOld) {
  DueAnswers due;
  due.Posted(5, 1);
  EXPECT_FALSE(due.IsOldDue(5));
  due.Restart();
  EXPECT_TRUE(due.IsOldDue(5));
  EXPECT_FALSE(due.IsOldDue(6));
  due.Posted(6, 1);
  EXPECT_FALSE(due.IsOldDue(6));
}

TEST(DueAnswers, WhatIsNotHopedForAnyMoreStillTakesItsNumber) {
  DueAnswers due;
  due.Posted(5, 1);
  due.Posted(6, 1);
  due.Restart();
  due.GiveUpOld(5);
  EXPECT_FALSE(due.IsOldDue(5));
  EXPECT_TRUE(due.IsOldDue(6));
  EXPECT_FALSE(due.Posted(5, 1));
}

TEST(DueAnswers, ANewSessionOwesNothing) {
  DueAnswers due;
  due.Posted(5, 1);
  due.Restart();
  due.Clear();
  EXPECT_FALSE(due.IsOldDue(5));
  EXPECT_TRUE(due.Posted(5, 1));
}

TEST(DueAnswers, TheOldestOfMoreThanCanBeNumberedIsForgotten) {
  DueAnswers due(1000);
  for (std::uint32_t id = 1; id <= 1001; ++id) due.Posted(id, 1);
  EXPECT_TRUE(due.Posted(1, 1));
  EXPECT_FALSE(due.Posted(3, 1));
}

}  // namespace
}  // namespace kiv
