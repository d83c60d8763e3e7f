// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/integration/service_test.h"

namespace integration {

using support::LiveSubscription;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Doubles : public ServiceTest {};

TEST_F(Doubles, TheProgramRunsOnThemAndStopsInOrder) {
  start();
  EXPECT_EQ(service.stop(), kInOrder);
  const std::vector<std::string> calls = platform.calls();
  ASSERT_EQ(calls.size(), 3U);
  EXPECT_THAT(calls[0], ::testing::MatchesRegex("ov_log_syslog\\(1, .*/lumenfeed\\)"));
  EXPECT_EQ(calls[1], "event_consumer_new(Event-Consumer-Handler) = consumer1");
  EXPECT_EQ(calls[2], "event_consumer_free(consumer1)");
}

TEST_F(Doubles, CountWhatTheServiceHolds) {
  start();
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "0", "0", "0", "0"));
  const std::string id = configured("s");
  EXPECT_EQ(id, "1");
  EXPECT_THAT(platform.outstanding(), ElementsAre("1", "1", "0", "0", "0"));
  const std::vector<LiveSubscription> live = platform.subscriptions();
  ASSERT_EQ(live.size(), 1U);
  EXPECT_EQ(live[0].sessionId, "s");
}

TEST_F(Doubles, ReadTheirScriptBeforeTheServiceDoesAnything) {
  platform.hold("event_consumer_new");
  service.launch();
  ASSERT_TRUE(platform.waitUntilHeld("event_consumer_new"));
  EXPECT_FALSE(platform.logged(kInfo, "Registered the name com.ovra.WSEventDataSource1 on dbus"));
  platform.release();
  EXPECT_TRUE(
      platform.waitForLog(kInfo, "Registered the name com.ovra.WSEventDataSource1 on dbus"));
}

TEST_F(Doubles, SayWhenACommandNamesNoSubscription) {
  start();
  platform.deliver("7", "{}");
  platform.sync();
  EXPECT_EQ(platform.count("no such subscription"), 1U);
  EXPECT_THAT(streaming.calls(), IsEmpty());
}

TEST_F(Doubles, DeliverNumberedBurstsInOrder) {
  start();
  const std::string id = configured("s");
  streaming.clear();
  platform.deliver(id, R"({"n":@N@,"text":"a	b\n"})", 3);
  ASSERT_TRUE(streaming.waitForCalls(3, "SendStreamData"));
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(streaming.calls()[i].arguments.back(),
              R"({"notification":{"n":)" + std::to_string(i + 1) + R"(,"text":"a	b\n"}})");
  }
}

}  // namespace integration
