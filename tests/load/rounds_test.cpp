// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>

#include "tests/load/load_test.h"
#include "tests/load/process_figures.h"

namespace load {

namespace {

constexpr std::size_t kMebibyte = std::size_t{1024} * 1024;

}  // namespace

/// Sessions come and go under events, for months.
class Rounds : public LoadTest {
 protected:
  Rounds() : LoadTest(support::PrivateBus::allowAllCalls()) {}

  /// What the bus counts of the service's connection: its match rules, as text.
  std::string matchRules() {
    const std::string all =
        client_
            .call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                  "org.freedesktop.DBus.Debug.Stats", "GetConnectionStats",
                  g_variant_new("(s)", client_.connectionOf(service_->pid()).c_str()))
            .body;
    const std::size_t at = all.find("'MatchRules'");
    EXPECT_NE(at, std::string::npos) << all;
    return at == std::string::npos ? "" : all.substr(at, all.find('>', at) - at);
  }
  /// A session's whole life, with an event for each of its configurations.
  void round(std::size_t number) {
    const std::string session = "round" + std::to_string(number);
    ASSERT_NO_FATAL_FAILURE(open(session, {"A", "B"}));
    publish("A", number);
    ASSERT_TRUE(waitForCalls(streaming_.calls().size() + 1));
    publish("B", number);
    ASSERT_NO_FATAL_FAILURE(configure(session, {"C", "D", "E"}));
    publish("C", number);
    publish("D", number);
    ASSERT_TRUE(client_.removeSession(session).ok());
    streaming_.clear();
  }
};

TEST_F(Rounds, LeaveDescriptorsMemoryAndMatchRulesWhereTheyWere) {
  constexpr std::size_t kWarmUp = 100;
  std::size_t number = 0;
  for (; number < kWarmUp; ++number) {
    ASSERT_NO_FATAL_FAILURE(round(number));
  }
  const ProcessFigures before = figuresOf(service_->pid());
  const std::string rulesBefore = matchRules();
  for (; number < kWarmUp + support::scaled(500); ++number) {
    ASSERT_NO_FATAL_FAILURE(round(number));
  }
  const ProcessFigures after = figuresOf(service_->pid());
  EXPECT_EQ(after.descriptors, before.descriptors);
  EXPECT_EQ(matchRules(), rulesBefore);
  RecordProperty("descriptors", std::to_string(after.descriptors));
  RecordProperty("residentBytesBefore", std::to_string(before.residentBytes));
  RecordProperty("residentBytesAfter", std::to_string(after.residentBytes));
  if (!support::kSanitized && !support::isUnderSomething()) {
    EXPECT_LT(after.residentBytes, before.residentBytes + kMebibyte);
  }
}

}  // namespace load
