// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <csignal>
#include <string>
#include <vector>

#include "tests/integration/service_test.h"

namespace integration {

using support::BusClient;
using support::ExitStatus;
using support::Reply;
using ::testing::AnyOf;
using ::testing::IsEmpty;

namespace {

constexpr const char* kBusName = "com.ovra.WSEventDataSource1";
constexpr const char* kTerminating = "Terminating lumenfeed";
constexpr ExitStatus kFailed{false, 1};

std::string exceptionLine(const std::string& text) {
  return "Exception when starting lumenfeed: " + text + ", could not start";
}

}  // namespace

/// Also by unique name, so that the object can be asked for when the name is gone.
class Stop : public ServiceTest {
 protected:
  Stop() : ServiceTest(support::PrivateBus::allowAllCalls()) {}

  /// Asks the service to stop, and returns when its last object is about to go.
  void stopUntilConsumerIsFreed() {
    platform.hold("event_consumer_free");
    platform.sync();
    service.process->signal(SIGTERM);
    ASSERT_TRUE(platform.waitUntilHeld("event_consumer_free"));
  }
  /// The last line, and nothing of the platform after the consumer was freed.
  void expectLastLine(int level, const std::string& text) {
    const std::vector<support::PlatformRecord>& records = platform.records();
    std::string afterFree;
    for (const support::PlatformRecord& record : records) {
      if (record.function == "event_consumer_free") {
        afterFree.clear();
      } else if (record.function == "log" && record.arguments[1] == "-") {
        afterFree += record.arguments[0] + " " + record.arguments[2] + "\n";
      }
    }
    EXPECT_EQ(afterFree, std::to_string(level) + " " + text + "\n");
  }
};

TEST_F(Stop, TerminationEndsInOrderWithTheLineLast) {
  start();
  configured("s");
  EXPECT_EQ(service.stop(), kInOrder);
  expectLastLine(kInfo, kTerminating);
  EXPECT_EQ(platform.count("event_consumer_free"), 1U);
}

TEST_F(Stop, NameAndObjectAreGoneBeforeTheConsumerIsFreed) {
  start();
  configured("s");
  const std::string connection = client.connectionOf(service.process->pid());
  stopUntilConsumerIsFreed();
  EXPECT_EQ(client.ownerOf(kBusName), "");
  client.setDestination(connection);
  const Reply reply = client.createSession("t");
  EXPECT_THAT(reply.errorName, AnyOf("org.freedesktop.DBus.Error.UnknownMethod",
                                     "org.freedesktop.DBus.Error.UnknownObject"));
  platform.release();
  EXPECT_EQ(service.process->wait(), kInOrder);
}

TEST_F(Stop, WorksWithCallsInFlightAndRequestsAndEventsQueued) {
  ASSERT_NO_FATAL_FAILURE(startWithCallsInFlight(5));
  streaming.clear();
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  service.process->signal(SIGTERM);
  platform.send("urgent");
  ASSERT_TRUE(platform.waitForCall("urgent"));
  platform.deliver("all", "{}", 50);
  const auto accepted = client.sendHandleRequest("s", topicPayload(), "late");
  const auto removed = client.sendRemoveSession("s");
  client.barrier();
  platform.release();
  EXPECT_EQ(service.process->wait(), kInOrder);
  expectLastLine(kInfo, kTerminating);
  EXPECT_THAT(streaming.calls(), IsEmpty());
  EXPECT_EQ(platform.count("event_get_json"), 55U);
  // Each is answered, by the service or by the bus.
  BusClient::await(accepted);
  BusClient::await(removed);
}

TEST_F(Stop, WorksWithARequestThatIsQueuedAlready) {
  start();
  configured("s");
  streaming.clear();
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  service.process->signal(SIGTERM);
  platform.send("urgent");
  ASSERT_TRUE(platform.waitForCall("urgent"));
  forgetCalls();
  const auto accepted = client.sendHandleRequest("s", topicPayload(), "late");
  client.barrier();
  platform.release();
  EXPECT_TRUE(BusClient::await(accepted).ok());
  EXPECT_EQ(service.process->wait(), kInOrder);
  // It was accepted in the last turn of the loop, and never had its own.
  EXPECT_THAT(platformCalls(),
              ::testing::Not(::testing::Contains(::testing::HasSubstr("wse_filter_new"))));
  EXPECT_THAT(streaming.calls(), IsEmpty());
}

TEST_F(Stop, BeforeTheLoopRunsEndsInOrder) {
  platform.hold("event_consumer_new");
  service.launch();
  ASSERT_TRUE(platform.waitUntilHeld("event_consumer_new"));
  service.process->signal(SIGTERM);
  platform.send("urgent");
  ASSERT_TRUE(platform.waitForCall("urgent"));
  platform.release();
  EXPECT_EQ(service.process->wait(), kInOrder);
  expectLastLine(kInfo, kTerminating);
  // The object is unexported in any case. GLib says so if there was nothing to do: a thread of its
  // own has the bus ready before the loop's only turn, or has not.
  service.allowGlibLog(G_LOG_LEVEL_CRITICAL, "GLib-GIO",
                       "g_dbus_interface_skeleton_unexport: assertion "
                       "'interface_->priv->connections != NULL' failed");
}

TEST_F(Stop, SecondTerminationHasTheDefaultAction) {
  start();
  stopUntilConsumerIsFreed();
  service.process->signal(SIGTERM);
  expectEnd({true, SIGTERM});
  EXPECT_EQ(service.process->wait(), (ExitStatus{true, SIGTERM}));
  EXPECT_FALSE(platform.logged(kInfo, kTerminating));
}

TEST_F(Stop, InterruptHasTheDefaultAction) {
  start();
  service.process->signal(SIGINT);
  expectEnd({true, SIGINT});
  EXPECT_EQ(service.process->wait(), (ExitStatus{true, SIGINT}));
  EXPECT_FALSE(platform.logged(kInfo, kTerminating));
  EXPECT_EQ(platform.count("event_consumer_free"), 0U);
}

TEST_F(Stop, HangUpHasTheDefaultAction) {
  start();
  service.process->signal(SIGHUP);
  expectEnd({true, SIGHUP});
  EXPECT_EQ(service.process->wait(), (ExitStatus{true, SIGHUP}));
}

TEST_F(Stop, ExceptionThatEscapesTheLoopEndsWithStatusOneAfterTheObjectsAreGone) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  platform.fail("event_consumer_subscribe", 1, "throw", "out of luck");
  platform.sync();
  expectEnd(kFailed);
  EXPECT_TRUE(client.handleRequest("s", topicPayload()).ok());
  EXPECT_EQ(service.process->wait(), kFailed);
  service.expectLog(kError, exceptionLine("out of luck"));
  expectLastLine(kError, exceptionLine("out of luck"));
  EXPECT_FALSE(platform.logged(kInfo, kTerminating));
  EXPECT_EQ(client.ownerOf(kBusName), "");
}

TEST_F(Stop, ExceptionInAMethodHandlerEndsTheSameWay) {
  start();
  const std::string id = configured("s");
  platform.fail("event_consumer_unsubscribe", 1, "throw", "out of order");
  platform.sync();
  expectEnd(kFailed);
  client.sendRemoveSession("s");
  EXPECT_EQ(service.process->wait(), kFailed);
  service.expectLog(kError, exceptionLine("out of order"));
  expectLastLine(kError, exceptionLine("out of order"));
  EXPECT_FALSE(platform.logged(kInfo, kTerminating));
}

TEST_F(Stop, ExceptionThatIsNoStandardOneEndsTheProcessAbnormally) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  platform.fail("event_consumer_subscribe", 1, "throw-text", "out of everything");
  platform.sync();
  expectEnd({true, SIGABRT});
  client.sendHandleRequest("s", topicPayload());
  EXPECT_EQ(service.process->wait(), (ExitStatus{true, SIGABRT}));
  EXPECT_EQ(platform.count("event_consumer_free"), 0U);
  EXPECT_FALSE(platform.logged(kInfo, kTerminating));
}

TEST_F(Stop, FurtherExceptionsOnTheWayDownChangeNothing) {
  start();
  configured("s");
  configured("t");
  platform.fail("event_consumer_unsubscribe", 1, "throw", "out of order");
  platform.fail("event_consumer_unsubscribe", 2, "throw", "out of order again");
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  expectEnd(kFailed);
  client.sendRemoveSession("s");
  client.sendRemoveSession("t");
  client.barrier();
  platform.release();
  EXPECT_EQ(service.process->wait(), kFailed);
  EXPECT_EQ(platform.count("event_consumer_unsubscribe"), 2U);
  service.expectLog(kError, exceptionLine("out of order"));
  expectLastLine(kError, exceptionLine("out of order"));
}

TEST_F(Stop, ExceptionInACallThatComesAfterTheLoopIsLoggedAndTheEndIsInOrder) {
  // What GLib holds while it dispatches a call is lost when an exception passes through it; the
  // leak sanitizer would turn that into another exit status.
  service.environment["ASAN_OPTIONS"] = support::asanOptions("detect_leaks=0");
  start();
  configured("s");
  configured("t");
  platform.fail("event_consumer_unsubscribe", 2, "throw", "out of order");
  platform.hold();
  ASSERT_TRUE(platform.waitUntilHeld());
  service.process->signal(SIGTERM);
  platform.send("urgent");
  ASSERT_TRUE(platform.waitForCall("urgent"));
  client.sendRemoveSession("s");
  client.barrier();
  // Held again in the loop's last turn: what is read now waits until the loop has ended.
  platform.hold("event_consumer_unsubscribe");
  platform.release();
  ASSERT_TRUE(platform.waitUntilHeld("event_consumer_unsubscribe"));
  client.sendRemoveSession("t");
  client.barrier();
  platform.release();
  EXPECT_EQ(service.process->wait(), kInOrder);
  service.expectLog(kError, "Exception when stopping lumenfeed: out of order");
  expectLastLine(kInfo, kTerminating);
}

TEST_F(Stop, NameAndObjectAreGoneBeforeTheConsumerIsFreedAlsoAfterAnException) {
  start();
  ASSERT_TRUE(client.createSession("s").ok());
  const std::string connection = client.connectionOf(service.process->pid());
  platform.fail("event_consumer_subscribe", 1, "throw", "out of luck");
  platform.hold("event_consumer_free");
  platform.sync();
  expectEnd(kFailed);
  EXPECT_TRUE(client.handleRequest("s", topicPayload()).ok());
  ASSERT_TRUE(platform.waitUntilHeld("event_consumer_free"));
  EXPECT_EQ(client.ownerOf(kBusName), "");
  client.setDestination(connection);
  EXPECT_THAT(client.createSession("t").errorName,
              AnyOf("org.freedesktop.DBus.Error.UnknownMethod",
                    "org.freedesktop.DBus.Error.UnknownObject"));
  platform.release();
  service.expectLog(kError, exceptionLine("out of luck"));
}

TEST_F(Stop, ExceptionWhileTheObjectsAreBuiltDestroysOnlyWhatWasBuilt) {
  platform.fail("event_consumer_new", 1, "throw", "no consumer");
  service.launch();
  expectEnd(kFailed);
  EXPECT_EQ(service.process->wait(), kFailed);
  service.expectLog(kError, exceptionLine("no consumer"));
  EXPECT_EQ(platform.log().back().text, exceptionLine("no consumer"));
  EXPECT_EQ(platform.count("event_consumer_free"), 0U);
}

TEST_F(Stop, BusThatGoesAwayStopsTheServiceInOrder) {
  start();
  configured("s");
  bus.kill();
  EXPECT_EQ(service.process->wait(), kInOrder);
  service.expectLog(kError, std::string("Failed to register the name ") + kBusName + " on dbus");
  expectLastLine(kInfo, kTerminating);
}

TEST_F(Stop, BusThatGoesAwayWithCallsInFlightStopsTheServiceInOrder) {
  ASSERT_NO_FATAL_FAILURE(startWithCallsInFlight(3));
  bus.kill();
  EXPECT_EQ(service.process->wait(), kInOrder);
  for (int i = 0; i < 3; ++i) {
    service.expectLog(kWarning, "sendStreamData failed: The connection is closed");
  }
  service.expectLog(kError, std::string("Failed to register the name ") + kBusName + " on dbus");
  expectLastLine(kInfo, kTerminating);
}

}  // namespace integration
