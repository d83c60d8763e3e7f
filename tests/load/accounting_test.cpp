// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "tests/load/load_test.h"

namespace load {

/// Every event is accounted for by its number: none lost, none twice, none out of turn, none for a
/// session whose filters do not match it.
class Accounting : public LoadTest {};

constexpr std::size_t kSessions = 32;
constexpr std::size_t kFilters = 8;
constexpr std::size_t kTopics = 80;
constexpr std::size_t kBurst = 50'000;

namespace {

std::string topic(std::size_t number) {
  return "T" + std::to_string(number % kTopics);
}

/// The topics of a session: eight of eighty, others for each session.
bool wants(std::size_t session, std::size_t number) {
  return number % kTopics % (kTopics / kFilters) == session % (kTopics / kFilters);
}

std::string name(std::size_t session) {
  return "session" + std::to_string(session);
}

}  // namespace

TEST_F(Accounting, SessionsGetEveryEventThatTheirFiltersMatchAndNoOther) {
  const std::size_t events = support::scaled(5000);
  Numbers expected;
  std::size_t calls = 0;
  for (std::size_t session = 0; session < kSessions; ++session) {
    std::vector<std::string> filters;
    for (std::size_t number = 0; number < events; ++number) {
      // The first topic of each session only for events whose number ends with this digit.
      const bool limited = number % kTopics < kTopics / kFilters;
      if (wants(session, number) && (!limited || number % 10 == session % 10)) {
        expected[name(session)].push_back(number);
        ++calls;
      }
    }
    for (std::size_t number = 0; number < kTopics; ++number) {
      if (wants(session, number)) {
        const bool limited = number < kTopics / kFilters;
        filters.push_back(topic(number) +
                          (limited ? " boolean(//tt:SimpleItem[@Name='Last' and @Value='" +
                                         std::to_string(session % 10) + "'])"
                                   : ""));
      }
    }
    ASSERT_EQ(filters.size(), kFilters);
    ASSERT_NO_FATAL_FAILURE(open(name(session), filters));
  }
  streaming_.clear();
  for (std::size_t number = 0; number < events; ++number) {
    publish(topic(number), number);
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
    ASSERT_NO_FATAL_FAILURE(open(name(session), {"Burst"}));
    expected[name(session)] = numbersBelow(events);
  }
  streaming_.clear();
  for (std::size_t number = 0; number < events; ++number) {
    publish("Burst", number);
  }
  ASSERT_TRUE(waitForCalls(events * kSessions)) << streaming_.calls().size();
  EXPECT_EQ(takeNumbers(), expected);
}

}  // namespace load
