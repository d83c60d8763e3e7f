// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

// Takes longer than what CTest runs: a part of load_long, for $LUMENFEED_LOAD_MINUTES.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

#include "tests/load/load_test.h"
#include "tests/load/process_figures.h"
#include "tests/load/wishes.h"

namespace load {

using Clock = std::chrono::steady_clock;

/// Every second a thousand events, for 32 sessions of 8 filters, for minutes.
class Paced : public LoadTest {
 protected:
  static constexpr std::size_t kEventsPerSecond = 1000;

  void SetUp() override {
    LoadTest::SetUp();
    for (std::size_t session = 0; session < kSessions; ++session) {
      ASSERT_NO_FATAL_FAILURE(open(sessionName(session), filtersOf(session)));
    }
    streaming_.clear();
  }
  /// Publishes what is due by now.
  void publishDue(Clock::time_point begin, std::size_t total) {
    const std::chrono::duration<double> since = Clock::now() - begin;
    const auto due = static_cast<std::size_t>(since.count() * double{kEventsPerSecond});
    for (; published_ < std::min(due, total); ++published_) {
      publish(topicOf(published_), published_);
    }
  }
  /// Checks each number that came against the next one that is to come, and forgets it.
  void account() {
    for (const auto& [session, numbers] : takeNumbers()) {
      std::size_t& next = next_[session];
      const std::size_t index = std::stoul(session.substr(std::string(kSessionPrefix).size()));
      for (const std::size_t number : numbers) {
        while (!wants(index, next)) {
          ++next;
        }
        ASSERT_EQ(number, next) << session;
        ++next;
        ++calls_;
      }
    }
  }
  /// The calls that these events make.
  static std::size_t callsFor(std::size_t events) {
    std::size_t calls = 0;
    for (std::size_t number = 0; number < events; ++number) {
      for (std::size_t session = 0; session < kSessions; ++session) {
        calls += wants(session, number) ? 1U : 0U;
      }
    }
    return calls;
  }

  std::size_t published_ = 0;
  std::size_t calls_ = 0;
  std::map<std::string, std::size_t> next_;
};

TEST_F(Paced, EveryMatchingEventOfAThousandASecondIsAccountedForByItsNumber) {
  const double minutes = support::setting("LUMENFEED_LOAD_MINUTES", 10);
  const auto total = static_cast<std::size_t>(60 * minutes * double{kEventsPerSecond});
  const std::size_t expected = callsFor(total);
  std::size_t behind = 0;
  const ProcessFigures before = figuresOf(service_->pid());
  const auto begin = Clock::now();
  while (calls_ < expected) {
    const std::size_t seen = calls_;
    ASSERT_TRUE(support::waitFor([&] {
      publishDue(begin, total);
      return !streaming_.calls().empty();
    })) << seen
        << " of " << expected;
    ASSERT_NO_FATAL_FAILURE(account());
    behind = std::max(behind, published_ - std::min(published_, next_[sessionName(0)]));
  }
  const std::chrono::duration<double> took = Clock::now() - begin;
  const ProcessFigures after = figuresOf(service_->pid());
  EXPECT_EQ(published_, total);
  EXPECT_EQ(after.descriptors, before.descriptors);
  std::printf(
      "%zu events, %zu calls in %.1f s; the first session at most %zu events behind; "
      "memory, KB: %zu before, %zu after\n",
      published_, calls_, took.count(), behind, before.residentBytes / 1024,
      after.residentBytes / 1024);
}

}  // namespace load
