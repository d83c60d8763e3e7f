// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>

#include "tests/unit/handlers_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::UnorderedElementsAre;
using unit::takeRecord;

namespace {

constexpr const char* kOneFilter = R"({"eventFilterList":[{"topicFilter":"T"}]})";
constexpr const char* kTwoFilters =
    R"({"eventFilterList":[{"topicFilter":"T"},{"topicFilter":"U"}]})";

class SessionHandlers : public unit::HandlersTest {
 protected:
  void fillTable() {
    for (int i = 1; i <= 32; ++i) {
      expectEmptyReply(client_.createSession("s" + std::to_string(i)));
    }
    takeRecord();
  }
  void configure(const std::string& id, const char* payload) {
    expectEmptyReply(client_.handleRequest(id, payload));
    unit::turnMainContext();
    takeRecord();
  }
};

TEST_F(SessionHandlers, CreateSessionOpensASessionWithoutSubscriptions) {
  expectEmptyReply(client_.createSession("s"));
  EXPECT_THAT(takeRecord(), ElementsAre("answer()"));
  ASSERT_THAT(sessions(), ElementsAre(Key("s")));
  EXPECT_EQ(sessions().at("s").consumerHandler, handler_.get());
  EXPECT_THAT(sessions().at("s").subscriptionIds, IsEmpty());
}

TEST_F(SessionHandlers, UserGroupsMakeNoDifference) {
  expectEmptyReply(client_.createSession("a", {}));
  expectEmptyReply(client_.createSession("b", {"admin", "", "viewer"}));
  expectError(client_.createSession("a", {"admin"}), "SessionAlreadyUsed",
              "Session a already exists");
  EXPECT_THAT(sessions(), ElementsAre(Key("a"), Key("b")));
}

TEST_F(SessionHandlers, SecondCreateSessionWithTheSameIdLeavesTheFirstUntouched) {
  expectEmptyReply(client_.createSession("s"));
  configure("s", kOneFilter);
  const auto* const entry = &*sessions().find("s");
  expectError(client_.createSession("s"), "SessionAlreadyUsed", "Session s already exists");
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(256, no domain, Session s already exists)",
                          "answer(WebSocketEventError, 0, Session s already exists)"));
  EXPECT_EQ(&*sessions().find("s"), entry);
  EXPECT_THAT(entry->second.subscriptionIds, ElementsAre(1U));
  EXPECT_EQ(platform_.outstanding().subscriptions, 1U);
}

TEST_F(SessionHandlers, TheThirtyThirdSessionIsRefusedUntilOneIsRemoved) {
  fillTable();
  expectError(client_.createSession("s33"), "TooManySessions",
              "The maximum number of sessions has been exceeded");
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(64, no domain, The maximum number of sessions has been exceeded)",
                          "answer(WebSocketEventError, 1, "
                          "The maximum number of sessions has been exceeded)"));
  EXPECT_EQ(sessions().size(), 32U);
  EXPECT_EQ(sessions().count("s33"), 0U);
  expectEmptyReply(client_.removeSession("s7"));
  expectEmptyReply(client_.createSession("s33"));
  expectError(client_.createSession("s7"), "TooManySessions",
              "The maximum number of sessions has been exceeded");
}

TEST_F(SessionHandlers, AnOpenIdIsADuplicateAlsoInAFullTable) {
  fillTable();
  expectError(client_.createSession("s32"), "SessionAlreadyUsed", "Session s32 already exists");
}

TEST_F(SessionHandlers, TheEmptyIdIsASessionLikeAnyOther) {
  expectEmptyReply(client_.createSession(""));
  expectError(client_.createSession(""), "SessionAlreadyUsed", "Session  already exists");
  configure("", kOneFilter);
  expectEmptyReply(client_.removeSession(""));
  expectError(client_.removeSession(""), "InvalidSession", "Session  does not exist");
}

TEST_F(SessionHandlers, IdsThatDifferInCaseAreTwoSessions) {
  expectEmptyReply(client_.createSession("a"));
  expectEmptyReply(client_.createSession("A"));
  expectEmptyReply(client_.removeSession("a"));
  EXPECT_THAT(sessions(), ElementsAre(Key("A")));
}

TEST_F(SessionHandlers, RemoveSessionCancelsThenAnswersAndForgets) {
  expectEmptyReply(client_.createSession("s"));
  configure("s", kTwoFilters);
  expectEmptyReply(client_.removeSession("s"));
  EXPECT_THAT(takeRecord(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE", "answer()"));
  EXPECT_THAT(sessions(), IsEmpty());
}

TEST_F(SessionHandlers, RemoveSessionGoesOnWhenACancellationIsRefused) {
  expectEmptyReply(client_.createSession("s"));
  configure("s", kTwoFilters);
  platform_.refuseUnsubscribe(1);
  expectEmptyReply(client_.removeSession("s"));
  EXPECT_THAT(takeRecord(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = FALSE",
                          "log(256, no domain, Failed to unsubscribe to subscription id: 1)",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE", "answer()"));
  EXPECT_THAT(sessions(), IsEmpty());
}

TEST_F(SessionHandlers, RemoveSessionOfASessionWithoutARequestJustAnswers) {
  expectEmptyReply(client_.createSession("s"));
  takeRecord();
  expectEmptyReply(client_.removeSession("s"));
  EXPECT_THAT(takeRecord(), ElementsAre("answer()"));
}

TEST_F(SessionHandlers, RemoveSessionOfAnUnknownIdIsAnError) {
  expectEmptyReply(client_.createSession("other"));
  takeRecord();
  expectError(client_.removeSession("s"), "InvalidSession", "Session s does not exist");
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(16, no domain, Session s does not exist)",
                          "answer(WebSocketEventError, 2, Session s does not exist)"));
  EXPECT_THAT(sessions(), ElementsAre(Key("other")));
}

TEST_F(SessionHandlers, ARemovedIdStartsOverWithoutSubscriptions) {
  expectEmptyReply(client_.createSession("s"));
  configure("s", kOneFilter);
  expectEmptyReply(client_.removeSession("s"));
  expectEmptyReply(client_.createSession("s"));
  EXPECT_THAT(sessions().at("s").subscriptionIds, IsEmpty());
  takeRecord();
}

TEST_F(SessionHandlers, IdsWithFormatCharactersComeThroughAsTheyAre) {
  expectError(client_.removeSession("%s%n"), "InvalidSession", "Session %s%n does not exist");
  EXPECT_THAT(takeRecord(), testing::Contains("log(16, no domain, Session %s%n does not exist)"));
}

TEST_F(SessionHandlers, EventsOfTheLastSessionReachItsKeyWhileThirtyOneOthersComeAndGo) {
  expectEmptyReply(client_.createSession("m"));
  configure("m", kOneFilter);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 31; ++i) {
      expectEmptyReply(client_.createSession((i % 2 == 0 ? "a" : "z") + std::to_string(i)));
    }
    EXPECT_EQ(platform_.subscriptions().at(1).userData, &sessions().find("m")->first);
    for (int i = 0; i < 31; ++i) {
      expectEmptyReply(client_.removeSession((i % 2 == 0 ? "a" : "z") + std::to_string(i)));
    }
  }
  takeRecord();
  platform_.deliver(1, {"{}"});
  unit::turnMainContext();
  EXPECT_THAT(takeRecord(),
              testing::Contains(R"(sendStreamData(m, 1.0, events, notify, {"notification":{}}))"));
}

}  // namespace
