// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "platform/host/event/pace.h"

namespace {

using event::Pace;

/// A consumer whose callbacks each set one thing going, and a context that turns for results.
class PaceTest : public ::testing::Test {
 protected:
  static constexpr unsigned int kBatch = 16;

  /// As the delivery does it, until nothing more is allowed. Returns the calls made.
  unsigned int deliver() {
    unsigned int made = 0;
    for (;;) {
      pace_.settle(now_);
      const unsigned int calls = std::min(kBatch, pace_.allowed(Pace::kWindow));
      if (calls == 0) {
        return made;
      }
      pace_.called(calls, now_);
      made += calls;
      pace_.turned(now_ += 300);  // what the callbacks left to be done
    }
  }
  void results(unsigned int count, std::int64_t gap) {
    for (; count > 0; --count) {
      pace_.turned(now_ += gap);
    }
  }

  Pace pace_;
  std::int64_t now_ = 1'000'000;
};

TEST_F(PaceTest, AllowsAWindowAndThenWaitsForResults) {
  EXPECT_EQ(deliver(), Pace::kWindow);
  EXPECT_EQ(deliver(), 0U);
  results(10, 20);
  EXPECT_EQ(deliver(), 0U) << "results still come";
  now_ += pace_.wait(now_);
  EXPECT_EQ(deliver(), Pace::kWindow) << "they came, and then no more";
}

TEST_F(PaceTest, CallsInFlightStayFewForAnOtherSideThatIsSlow) {
  unsigned int flying = 0;
  unsigned int most = 0;
  for (int round = 0; round < 5000; ++round) {
    flying += deliver();
    most = std::max(most, flying);
    if (flying > 0) {
      --flying;
      results(1, 5000);
    }
    now_ += flying > 0 ? 0 : pace_.wait(now_);
  }
  EXPECT_LT(most, 5 * Pace::kWindow);
}

TEST_F(PaceTest, TriesAFewCallsAtGrowingIntervalsWhenNothingComesBack) {
  deliver();
  unsigned int tried = 0;
  for (const std::int64_t end = now_ + 40'000'000; now_ < end; now_ += pace_.wait(now_)) {
    tried += deliver();
  }
  EXPECT_GT(tried, 0U);
  EXPECT_LT(tried, 400U) << "in 40 s, with the other side stopped";
  results(Pace::kWindow, 20);
  now_ += pace_.wait(now_);
  EXPECT_EQ(deliver(), Pace::kWindow) << "healthy at once when it goes on";
}

TEST_F(PaceTest, WhatIsKnownToFlyIsWaitedForThoughTheOtherSidePauses) {
  deliver();
  results(10, 20);
  now_ += 5000;
  pace_.settle(now_, true);
  EXPECT_EQ(pace_.allowed(Pace::kWindow), 0U) << "a pause";
  results(Pace::kWindow - 10, 20);
  now_ += pace_.wait(now_);
  pace_.settle(now_, false);
  EXPECT_EQ(pace_.allowed(Pace::kWindow), Pace::kWindow) << "all have come";
}

TEST_F(PaceTest, WhatIsStuckIsWaitedForAtGrowingIntervals) {
  unsigned int windows = 0;
  for (const std::int64_t end = now_ + 40'000'000; now_ < end; now_ += pace_.wait(now_)) {
    pace_.settle(now_, true);
    for (; pace_.allowed(Pace::kWindow) > 0; ++windows) {
      pace_.called(Pace::kWindow, now_);
      results(Pace::kWindow / 2, 20);
      pace_.settle(now_, true);
    }
  }
  EXPECT_GT(windows, 10U);
  EXPECT_LT(windows, 60U) << "in 40 s, with calls that are never answered";
}

TEST_F(PaceTest, TurnsForOthersDoNotStopItForEver) {
  deliver();
  unsigned int more = 0;
  for (int turn = 0; turn < 1000 && more == 0; ++turn) {
    results(1, 50);
    more = deliver();
  }
  EXPECT_GT(more, 0U);
}

}  // namespace
