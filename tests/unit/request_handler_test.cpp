// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/unit/handlers_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using unit::takeRecord;

namespace {

constexpr const char* kPayload = R"({"eventFilterList":[{"topicFilter":"T"}]})";

class RequestHandler : public unit::HandlersTest {
 protected:
  RequestHandler() {
    expectEmptyReply(client_.createSession("s"));
    takeRecord();
  }

  /// What happened, up to the answer of the call.
  static std::vector<std::string> recordUntilAnswer() {
    std::vector<std::string> record = takeRecord();
    for (auto it = record.begin(); it != record.end(); ++it) {
      if (it->compare(0, 7, "answer(") == 0) {
        record.erase(it + 1, record.end());
        break;
      }
    }
    return record;
  }

  /// Refused with an error response that is sent before the empty answer; nothing is logged.
  static void expectRefused(const support::Reply& reply, const std::string& errorResponse) {
    expectEmptyReply(reply);
    unit::turnMainContext();
    EXPECT_THAT(takeRecord(), ElementsAre("sendErrorResponse(" + errorResponse + ")", "answer()"));
  }
};

TEST_F(RequestHandler, QueuesAGoodRequestThenAnswersThenAppliesIt) {
  expectEmptyReply(client_.handleRequest("s", kPayload, "r"));
  unit::turnMainContext();
  const std::vector<std::string> record = takeRecord();
  ASSERT_GT(record.size(), 3U);
  EXPECT_EQ(record[0], "queue()");
  EXPECT_EQ(record[1], "answer()");
  EXPECT_EQ(record[2], "wse_filter_new() = filter1");
  EXPECT_THAT(record, testing::Contains("sendResponse(s, 1.0, r, events, configure, {})"));
}

TEST_F(RequestHandler, AnswersAWrongSourceWithAnErrorOfTheCall) {
  for (const char* source : {"", "Events", "events "}) {
    const std::string text(source);
    expectError(client_.handleRequest("s", kPayload, "r", "1.0", text), "InvalidSource",
                "Invalid data source id. Expected: events, received: " + text);
    EXPECT_THAT(
        takeRecord(),
        ElementsAre(
            "log(256, no domain, Invalid data source id. Expected: events; received: " + text + ")",
            "answer(WebSocketEventError, 3, Invalid data source id. Expected: events, "
            "received: " +
                text + ")"));
  }
}

TEST_F(RequestHandler, LooksAtTheSourceBeforeTheSession) {
  expectError(client_.handleRequest("unknown", "", "r", "2", "x", "y"), "InvalidSource",
              "Invalid data source id. Expected: events, received: x");
}

TEST_F(RequestHandler, AnswersAnUnknownSessionWithAnErrorOfTheCall) {
  expectError(client_.handleRequest("unknown", kPayload), "InvalidSession",
              "Session unknown does not exist");
  EXPECT_THAT(takeRecord(),
              ElementsAre("log(16, no domain, Session unknown does not exist)",
                          "answer(WebSocketEventError, 2, Session unknown does not exist)"));
}

TEST_F(RequestHandler, LooksAtTheSessionBeforeTheVersion) {
  expectError(client_.handleRequest("S", "", "r", "2", "events", "y"), "InvalidSession",
              "Session S does not exist");
  EXPECT_EQ(takeRecord().size(), 2U);
}

TEST_F(RequestHandler, RefusesAVersionWithOneErrorResponse) {
  const std::string expected =
      "s, 1.0, r, events, , 2100, Invalid apiVersion. Current version is: 1.0";
  expectRefused(client_.handleRequest("s", kPayload, "r", "2.0"), expected);
  expectRefused(client_.handleRequest("s", kPayload, "r", ""), expected);
  // Neither the method nor the payload is looked at.
  expectRefused(client_.handleRequest("s", "", "r", "v1", "events", "y"), expected);
}

TEST_F(RequestHandler, RefusesAMethodWithOneErrorResponse) {
  const std::string expected =
      "s, 1.0, r, events, , 2102, Invalid handle request configuration method. "
      "Expected method: configure; received method: ";
  expectRefused(client_.handleRequest("s", kPayload, "r", "1.0", "events", "Configure"),
                expected + "Configure");
  expectRefused(client_.handleRequest("s", kPayload, "r", "1.0", "events", ""), expected);
  // The payload is not looked at, and the version of the answer is the service's own.
  expectRefused(client_.handleRequest("s", "", "r", "1.7", "events", "\"%s\""),
                expected + "\"%s\"");
}

TEST_F(RequestHandler, RefusesAPayloadWithOneErrorResponseThatSaysWhy) {
  const std::string expected =
      "s, 1.0, r, events, configure, 2104, Invalid event datasource payload: ";
  expectRefused(client_.handleRequest("s", "[]", "r", "1"),
                expected + "eventFilterList key is not found in the JSON object");
  expectRefused(client_.handleRequest("s", R"({"eventFilterList":[{}]})", "r"),
                expected + "Invalid event filter");
  expectRefused(client_.handleRequest("s", "", "r"),
                expected + "Failed to decode JSON string: unexpected token near end of file");
}

TEST_F(RequestHandler, ARefusedRequestLeavesTheEarlierConfigurationInForce) {
  expectEmptyReply(client_.handleRequest("s", kPayload));
  unit::turnMainContext();
  client_.handleRequest("s", kPayload, "r", "2");
  client_.handleRequest("s", kPayload, "r", "1", "events", "x");
  client_.handleRequest("s", "{}");
  client_.handleRequest("s", kPayload, "r", "1", "x");
  unit::turnMainContext();
  EXPECT_THAT(sessions().at("s").subscriptionIds, ElementsAre(1U));
  EXPECT_EQ(platform_.outstanding().subscriptions, 1U);
}

TEST_F(RequestHandler, PassesTheRequestIdOnAsItIs) {
  for (const char* id : {"", "Dummy request ID", "\xc3\xa5\"%s"}) {
    takeRecord();
    expectEmptyReply(client_.handleRequest("s", kPayload, id));
    unit::turnMainContext();
    EXPECT_THAT(takeRecord(), testing::Contains(std::string("sendResponse(s, 1.0, ") + id +
                                                ", events, configure, {})"));
  }
}

TEST_F(RequestHandler, DropsARequestWhoseSessionIsRemovedBeforeItsTurn) {
  const auto request = client_.sendHandleRequest("s", kPayload);
  const auto removal = client_.sendRemoveSession("s");
  readCallsOf(client_);
  expectEmptyReply(client_.await(request));
  expectEmptyReply(client_.await(removal));
  unit::turnMainContext();
  EXPECT_THAT(takeRecord(), ElementsAre("queue()", "answer()", "answer()"));
}

TEST_F(RequestHandler, AppliesTwoRequestsInTheOrderInWhichTheyCame) {
  const auto first = client_.sendHandleRequest("s", kPayload, "first");
  const auto second = client_.sendHandleRequest("s", kPayload, "second");
  readCallsOf(client_);
  expectEmptyReply(client_.await(first));
  expectEmptyReply(client_.await(second));
  unit::turnMainContext();
  std::vector<std::string> sent;
  for (const std::string& text : takeRecord()) {
    if (text.compare(0, 4, "send") == 0) {
      sent.push_back(text);
    }
  }
  EXPECT_THAT(sent, ElementsAre("sendResponse(s, 1.0, first, events, configure, {})",
                                "sendResponse(s, 1.0, second, events, configure, {})"));
  EXPECT_THAT(sessions().at("s").subscriptionIds, ElementsAre(2U));
}

}  // namespace
