// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <string>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

using support::LiveSubscription;
using support::Reply;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Sessions : public ServiceTest {
 protected:
  void fill() {
    for (int i = 0; i < 32; ++i) {
      ASSERT_TRUE(client.createSession("s" + std::to_string(i)).ok()) << i;
    }
  }
  void expectAlreadyUsed(const Reply& reply, const std::string& id) {
    EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "SessionAlreadyUsed");
    EXPECT_EQ(reply.errorMessage, "Session " + id + " already exists");
    service.expectLog(kError, "Session " + id + " already exists");
  }
  void expectInvalid(const Reply& reply, const std::string& id) {
    EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "InvalidSession");
    EXPECT_EQ(reply.errorMessage, "Session " + id + " does not exist");
    service.expectLog(kWarning, "Session " + id + " does not exist");
  }
  void expectTooMany(const Reply& reply) {
    EXPECT_EQ(reply.errorName, std::string(kErrorPrefix) + "TooManySessions");
    EXPECT_EQ(reply.errorMessage, "The maximum number of sessions has been exceeded");
    service.expectLog(kInfo, "The maximum number of sessions has been exceeded");
  }
};

TEST_F(Sessions, ThirtyThirdIsRefusedAndAcceptedAfterOneWasRemoved) {
  start();
  fill();
  expectTooMany(client.createSession("next"));
  EXPECT_TRUE(client.removeSession("s17").ok());
  EXPECT_TRUE(client.createSession("next").ok());
  expectTooMany(client.createSession("s17"));
}

TEST_F(Sessions, OpenIdInAFullTableIsADuplicateNotOneTooMany) {
  start();
  fill();
  expectAlreadyUsed(client.createSession("s31"), "s31");
}

TEST_F(Sessions, FillEmptyAndFillAgain) {
  start();
  for (int round = 0; round < 3; ++round) {
    fill();
    for (int i = 31; i >= 0; --i) {
      ASSERT_TRUE(client.removeSession("s" + std::to_string(i)).ok());
    }
  }
  expectInvalid(client.removeSession("s0"), "s0");
}

TEST_F(Sessions, SecondCreateSessionWithTheSameIdLeavesTheFirstUntouched) {
  start();
  const std::string id = configured("s");
  forgetCalls();
  expectAlreadyUsed(client.createSession("s"), "s");
  EXPECT_THAT(platformCalls(), IsEmpty());
  platform.deliver(id, "{}");
  EXPECT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
}

TEST_F(Sessions, EmptyIdIsASessionLikeAnyOther) {
  start();
  const std::string id = configured("");
  platform.deliver(id, R"({"a":1})");
  ASSERT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
  EXPECT_EQ(streaming.calls().back(), streamData("", R"({"a":1})"));
  expectAlreadyUsed(client.createSession(""), "");
  EXPECT_TRUE(client.removeSession("").ok());
  expectInvalid(client.removeSession(""), "");
}

TEST_F(Sessions, IdsThatDifferInCaseAreTwo) {
  start();
  EXPECT_TRUE(client.createSession("camera").ok());
  EXPECT_TRUE(client.createSession("Camera").ok());
  EXPECT_TRUE(client.removeSession("camera").ok());
  expectInvalid(client.removeSession("camera"), "camera");
  EXPECT_TRUE(client.removeSession("Camera").ok());
}

TEST_F(Sessions, IdsAreTakenAsTheyAre) {
  start();
  for (const std::string id : {" s", "s ", "s", "%s%n%d", "a\"b\\c", "\xc3\xa4\xe2\x82\xac"}) {
    EXPECT_TRUE(client.createSession(id).ok()) << id;
    expectAlreadyUsed(client.createSession(id), id);
  }
  EXPECT_TRUE(client.createSession(std::string(1 << 20, 'x')).ok());
}

TEST_F(Sessions, UserGroupsMakeNoDifference) {
  start();
  EXPECT_TRUE(client.createSession("none", {}).ok());
  EXPECT_TRUE(client.createSession("some", {"admin", "", "admin"}).ok());
  EXPECT_TRUE(client.createSession("many", std::vector<std::string>(1000, "group")).ok());
  expectAlreadyUsed(client.createSession("some", {}), "some");
}

TEST_F(Sessions, RemovingOneThatWasNeverConfiguredCallsNothing) {
  start();
  EXPECT_TRUE(client.createSession("s").ok());
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(), IsEmpty());
  expectInvalid(client.removeSession("s"), "s");
}

TEST_F(Sessions, RemovingCancelsItsSubscriptionsInAscendingOrderBeforeTheReply) {
  start();
  const std::string other = configured("other");
  EXPECT_TRUE(client.createSession("s").ok());
  configure("s", R"({"eventFilterList":[{"topicFilter":"a"},{"topicFilter":"b"},
                     {"topicFilter":"c"}]})");
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 2, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 3, null) = TRUE",
                          "event_consumer_unsubscribe(consumer1, 4, null) = TRUE"));
  const std::vector<LiveSubscription> left = platform.subscriptions();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].id, other);
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "1", "0", "0", "0"));
}

TEST_F(Sessions, SubscriptionThatCannotBeCancelledIsLoggedAndDoesNotKeepTheSession) {
  start();
  EXPECT_TRUE(client.createSession("s").ok());
  configure("s", R"({"eventFilterList":[{"topicFilter":"a"},{"topicFilter":"b"}]})");
  platform.send("refuse 1");
  platform.sync();
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(),
              ElementsAre("event_consumer_unsubscribe(consumer1, 1, null) = FALSE",
                          "event_consumer_unsubscribe(consumer1, 2, null) = TRUE"));
  service.expectLog(kError, "Failed to unsubscribe to subscription id: 1");
  EXPECT_TRUE(client.createSession("s").ok());
}

TEST_F(Sessions, RemovedIdStartsOverWithoutSubscriptions) {
  start();
  configured("s");
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_TRUE(client.createSession("s").ok());
  forgetCalls();
  EXPECT_TRUE(client.removeSession("s").ok());
  EXPECT_THAT(platformCalls(), IsEmpty());
}

TEST_F(Sessions, NothingOfTheStreamingServiceEndsOne) {
  start();
  const std::string id = configured("s");
  streaming.disappear();
  streaming.appear();
  EXPECT_TRUE(client.createSession("t").ok());
  platform.deliver(id, "{}");
  EXPECT_TRUE(streaming.waitForCalls(1, "SendStreamData"));
}

TEST_F(Sessions, OnesStillOpenAtTheEndAreNotCancelled) {
  start();
  configured("s");
  forgetCalls();
  EXPECT_EQ(service.stop(), kInOrder);
  EXPECT_THAT(platformCalls(), ElementsAre("event_consumer_free(consumer1)"));
}

}  // namespace integration
