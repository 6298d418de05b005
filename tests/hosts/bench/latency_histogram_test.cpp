// Durations in a fixed amount of memory, and the quantiles of them.
#include "hosts/bench/latency_histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using hostbench::LatencyHistogram;
using Nanoseconds = std::chrono::nanoseconds;

namespace {

TEST(LatencyHistogram, AnswersNothingOfNone) {
  EXPECT_EQ(LatencyHistogram().Quantile(500), Nanoseconds(0));
  EXPECT_EQ(LatencyHistogram().Count(), 0u);
}

TEST(LatencyHistogram, KeepsShortDurationsExactly) {
  LatencyHistogram histogram;
  for (int ns = 1; ns <= 60; ++ns) histogram.Add(Nanoseconds(ns));
  EXPECT_EQ(histogram.Count(), 60u);
  EXPECT_EQ(histogram.Quantile(0), Nanoseconds(1));
  EXPECT_EQ(histogram.Quantile(500), Nanoseconds(30));
  EXPECT_EQ(histogram.Quantile(990), Nanoseconds(60));
  EXPECT_EQ(histogram.Quantile(1000), Nanoseconds(60));
}

TEST(LatencyHistogram, CountsANegativeDurationAsNone) {
  LatencyHistogram histogram;
  histogram.Add(Nanoseconds(-5));
  EXPECT_EQ(histogram.Quantile(500), Nanoseconds(0));
  EXPECT_EQ(histogram.Count(), 1u);
}

TEST(LatencyHistogram, TakesTheLongestDurationThereIs) {
  LatencyHistogram histogram;
  histogram.Add(Nanoseconds::max());
  EXPECT_EQ(histogram.Quantile(500), Nanoseconds::max());
}

TEST(LatencyHistogram, AnswersQuantilesAtMostAThirtySecondTooLong) {
  std::mt19937_64 random(20261121);
  for (int run = 0; run < 50; ++run) {
    LatencyHistogram histogram;
    std::vector<std::int64_t> all;
    for (int i = 0; i < 1000; ++i) {
      all.push_back(static_cast<std::int64_t>(random() >> (random() % 40 + 2)));
      histogram.Add(Nanoseconds(all.back()));
    }
    std::sort(all.begin(), all.end());
    for (const std::uint32_t perMille : {1u, 10u, 500u, 900u, 990u, 999u, 1000u}) {
      const std::int64_t exact = all[perMille - 1];
      const std::int64_t answered = histogram.Quantile(perMille).count();
      ASSERT_GE(answered, exact) << perMille;
      ASSERT_LE(answered - exact, exact / 32) << perMille;
    }
  }
}

}  // namespace
