// What is known of a line's request and its confirmation, on a clock of the test's own.
#include "hosts/terminal/line_record.h"

#include <gtest/gtest.h>

#include <vector>

namespace kiv {
namespace {

using Bytes = std::vector<std::uint8_t>;

LineRecord::Time At(int ms) { return LineRecord::Time(std::chrono::milliseconds(ms)); }

class LineRecorderTest : public testing::Test {
 protected:
  const LineRecord& Record() const { return recorder.Record(); }

  const Bytes request{1, 2};
  const Bytes reply{3};
  LineRecorder recorder;
};

TEST_F(LineRecorderTest, HasTheTimesAndBodiesOfARequestAndItsConfirmation) {
  recorder.Begin(4);
  recorder.Posted(7, 3, request, At(1));
  EXPECT_FALSE(Record().isComparable);
  recorder.ConfirmationRead(7, 3, At(5));
  recorder.ConfirmationHandedOver(7, 3, 0, reply, At(6));
  EXPECT_EQ(Record().posted, At(1));
  EXPECT_EQ(Record().firstByte, At(5));
  EXPECT_EQ(Record().decoded, At(6));
  EXPECT_EQ(Record().line, 4u);
  EXPECT_EQ(Record().cmdId, 7u);
  EXPECT_TRUE(Record().isComparable);
  EXPECT_EQ(Record().request, request);
  EXPECT_EQ(Record().reply, reply);
}

TEST_F(LineRecorderTest, ForgetsTheLineBefore) {
  recorder.Posted(7, 3, request, At(1));
  recorder.ConfirmationHandedOver(7, 3, 0, reply, At(6));
  recorder.Begin(4);
  EXPECT_EQ(Record().posted, std::nullopt);
  EXPECT_FALSE(Record().isComparable);
  EXPECT_EQ(Record().reply, Bytes());
}

TEST_F(LineRecorderTest, TakesOnlyTheConfirmationOfItsOwnRequest) {
  recorder.ConfirmationRead(0, 0, At(1));
  recorder.ConfirmationHandedOver(0, 0, 0, reply, At(1));
  EXPECT_EQ(Record().decoded, std::nullopt);
  recorder.Posted(7, 3, request, At(1));
  recorder.ConfirmationRead(7, 4, At(2));
  recorder.ConfirmationRead(8, 3, At(2));
  recorder.ConfirmationHandedOver(8, 3, 0, reply, At(2));
  EXPECT_EQ(Record().firstByte, std::nullopt);
  EXPECT_EQ(Record().decoded, std::nullopt);
}

TEST_F(LineRecorderTest, IsOfTheFirstOfSeveralRequestsAndOfTheFirstConfirmation) {
  recorder.Posted(7, 3, request, At(1));
  recorder.Posted(8, 4, reply, At(2));
  recorder.ConfirmationRead(8, 4, At(3));
  recorder.ConfirmationRead(7, 3, At(4));
  recorder.ConfirmationRead(7, 3, At(5));
  recorder.ConfirmationHandedOver(7, 3, 0, reply, At(6));
  recorder.ConfirmationHandedOver(7, 3, 0, request, At(7));
  EXPECT_EQ(Record().cmdId, 7u);
  EXPECT_EQ(Record().posted, At(1));
  EXPECT_EQ(Record().firstByte, At(4));
  EXPECT_EQ(Record().decoded, At(6));
  EXPECT_EQ(Record().reply, reply);
}

TEST_F(LineRecorderTest, DoesNotCompareAFailureOrBodiesBeyondItsLimit) {
  recorder.Posted(7, 3, request, At(1));
  recorder.ConfirmationHandedOver(7, 3, 703, reply, At(6));
  EXPECT_FALSE(Record().isComparable);
  recorder.Begin(4);
  const Bytes longBody(LineRecord::kMaxBodyBytes + 1);
  recorder.Posted(7, 3, request, At(1));
  recorder.ConfirmationHandedOver(7, 3, 0, longBody, At(6));
  EXPECT_FALSE(Record().isComparable);
  recorder.Begin(4);
  recorder.Posted(7, 3, longBody, At(1));
  recorder.ConfirmationHandedOver(7, 3, 0, reply, At(6));
  EXPECT_FALSE(Record().isComparable);
}

TEST_F(LineRecorderTest, KnowsNothingOfARequestThatCouldNotBeWritten) {
  recorder.Posted(7, 3, request, At(1));
  recorder.PostFailed(7, 3);
  EXPECT_EQ(Record().line, 0u);
  EXPECT_EQ(Record().posted, std::nullopt);
  EXPECT_EQ(Record().cmdId, 0u);
}

TEST_F(LineRecorderTest, HasTheTimesOfATextAndOfTheLastPartOfItsAnswer) {
  recorder.TextPosted(At(1));
  recorder.TextPosted(At(2));
  recorder.TextHandedOver(At(8));
  recorder.TextHandedOver(At(9));
  EXPECT_EQ(Record().posted, At(1));
  EXPECT_EQ(Record().firstByte, std::nullopt);
  EXPECT_EQ(Record().decoded, At(9));
}

}  // namespace
}  // namespace kiv
