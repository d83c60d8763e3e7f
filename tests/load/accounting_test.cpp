// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "tests/load/load_test.h"
#include "tests/load/wishes.h"

namespace load {

/// Every event is accounted for by its number: none lost, none twice, none out of turn, none for a
/// session whose filters do not match it.
class Accounting : public LoadTest {};

constexpr std::size_t kBurst = 50'000;

TEST_F(Accounting, SessionsGetEveryEventThatTheirFiltersMatchAndNoOther) {
  const std::size_t events = support::scaled(5000);
  Numbers expected;
  std::size_t calls = 0;
  for (std::size_t session = 0; session < kSessions; ++session) {
    for (std::size_t number = 0; number < events; ++number) {
      if (wants(session, number)) {
        expected[sessionName(session)].push_back(number);
        ++calls;
      }
    }
    const std::vector<std::string> filters = filtersOf(session);
    ASSERT_EQ(filters.size(), 8U);
    ASSERT_NO_FATAL_FAILURE(open(sessionName(session), filters));
  }
  streaming_.clear();
  for (std::size_t number = 0; number < events; ++number) {
    publish(topicOf(number), number);
  }
  ASSERT_TRUE(waitForCalls(calls)) << streaming_.calls().size();
  EXPECT_EQ(takeNumbers(), expected);
}

TEST_F(Accounting, BurstForOneSessionArrivesWholeThroughTheShippedBusConfiguration) {
  ASSERT_NO_FATAL_FAILURE(open("only", {"Burst"}));
  streaming_.clear();
  const std::size_t events = support::scaled(kBurst);
  for (std::size_t number = 0; number < events; ++number) {
    publish("Burst", number);
  }
  ASSERT_TRUE(waitForCalls(events)) << streaming_.calls().size();
  EXPECT_EQ(takeNumbers(), (Numbers{{"only", numbersBelow(events)}}));
}

TEST_F(Accounting, BurstForAllSessionsArrivesWholeThroughTheShippedBusConfiguration) {
  const std::size_t events = support::scaled(kBurst / kSessions + 1);
  Numbers expected;
  for (std::size_t session = 0; session < kSessions; ++session) {
    ASSERT_NO_FATAL_FAILURE(open(sessionName(session), {"Burst"}));
    expected[sessionName(session)] = numbersBelow(events);
  }
  streaming_.clear();
  for (std::size_t number = 0; number < events; ++number) {
    publish("Burst", number);
  }
  ASSERT_TRUE(waitForCalls(events * kSessions)) << streaming_.calls().size();
  EXPECT_EQ(takeNumbers(), expected);
}

}  // namespace load
