// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <memory>
#include <string>
#include <vector>

#include "tests/integration/service_test.h"
#include "tests/support/raw_client.h"

namespace integration {

using support::LogLine;
using support::PrivateBus;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kBusName = "com.ovra.WSEventDataSource1";
constexpr const char* kRefused = "Failed to register the name com.ovra.WSEventDataSource1 on dbus";
constexpr const char* kAcquired = "Registered the name com.ovra.WSEventDataSource1 on dbus";
constexpr support::ExitStatus kFailed{false, 1};

}  // namespace

class Start : public ServiceTest {};

TEST_F(Start, LogsThatItStartsThenThatItHasTheName) {
  start();
  EXPECT_EQ(platform.records().front().function, "ov_log_syslog");
  std::vector<LogLine> lines;
  for (const LogLine& line : platform.log()) {
    if (line.domain == "-") {
      lines.push_back(line);
    }
  }
  EXPECT_THAT(lines, ElementsAre(LogLine{kInfo, "-", "Starting lumenfeed"},
                                 LogLine{kInfo, "-", kAcquired}));
  EXPECT_EQ(client.ownerOf(kBusName), client.connectionOf(service.process->pid()));
}

TEST_F(Start, HandsItsArgumentsToTheLogAndTakesNoneItself) {
  service.launch({"--help", "-x", "file"});
  EXPECT_TRUE(platform.waitForLog(kInfo, kAcquired));
  const std::vector<std::string>& arguments = platform.records().front().arguments;
  ASSERT_EQ(arguments.size(), 5U);
  EXPECT_EQ(arguments[0], "4");
  EXPECT_THAT(std::vector<std::string>(arguments.begin() + 2, arguments.end()),
              ElementsAre("--help", "-x", "file"));
}

TEST(StartWithoutABus, EndsWithStatusOneAndExactlyTwoErrorLines) {
  const support::TempDir directory;
  Service service({{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + directory.file("nobody")}});
  service.launch();
  EXPECT_EQ(service.process->wait(), kFailed);
  EXPECT_THAT(
      service.log(),
      ElementsAre(LogLine{kInfo, "-", "Starting lumenfeed"},
                  LogLine{kError, "-", "Could not establish DBus connection"},
                  LogLine{kError, "-",
                          "Exception when starting lumenfeed: Could not establish DBus connection, "
                          "could not start"}));
  ASSERT_EQ(service.platform.calls().size(), 1U);
}

struct ServiceThatCannotStart {
  ServiceThatCannotStart() {
    directory.write("com.ovra.WSDataStreaming1.Service.service",
                    "[D-BUS Service]\nName=com.ovra.WSDataStreaming1.Service\nExec=/bin/false\n"
                    "User=root\n");
  }
  support::TempDir directory;
};

class StartWithFailingActivation : private ServiceThatCannotStart, public ServiceTest {
 protected:
  StartWithFailingActivation() : ServiceTest(PrivateBus::activation(directory.path()), false) {}
};

TEST_F(StartWithFailingActivation, EndsWithStatusOneAndExactlyTwoErrorLines) {
  service.launch();
  expectEnd(kFailed);
  EXPECT_EQ(service.process->wait(), kFailed);
  service.expectLog(kError, "Could not create proxy for data streaming service");
  service.expectLog(kError,
                    "Exception when starting lumenfeed: Could not create proxy for data streaming "
                    "service, could not start");
  EXPECT_EQ(platform.log().back().text.rfind("Exception", 0), 0U);
  EXPECT_EQ(platform.calls().size(), 1U);
  EXPECT_FALSE(platform.logged(kInfo, "Terminating lumenfeed"));
}

class StartWithAMuteStreamingService : public ServiceTest {
 protected:
  StartWithAMuteStreamingService() : ServiceTest("", false) {}
};

TEST_F(StartWithAMuteStreamingService, WaitsForItAndGoesOnWhenItGoes) {
  auto mute = std::make_unique<support::RawClient>(bus.address());
  mute->own("com.ovra.WSDataStreaming1.Service");
  service.launch();
  ASSERT_TRUE(mute->receive("GetAll"));
  EXPECT_EQ(platform.count("event_consumer_new"), 0U);
  EXPECT_EQ(client.ownerOf(kBusName), "");
  mute.reset();
  EXPECT_TRUE(platform.waitForLog(kInfo, kAcquired));
}

class StartWithTheNameDenied : public ServiceTest {
 protected:
  StartWithTheNameDenied()
      : ServiceTest(
            "<policy context=\"mandatory\"><deny own=\"com.ovra.WSEventDataSource1\"/>"
            "<allow send_type=\"method_call\"/></policy>") {}
};

TEST_F(StartWithTheNameDenied, IsLoggedAndTheServiceGoesOnWithItsObject) {
  service.launch();
  service.expectLog(kError, kRefused);
  client.setDestination(client.connectionOf(service.process->pid()));
  EXPECT_TRUE(client.createSession("s").ok());
  EXPECT_EQ(service.stop(), kInOrder);
  EXPECT_FALSE(platform.logged(kInfo, kAcquired));
  EXPECT_TRUE(platform.logged(kInfo, "Terminating lumenfeed"));
}

/// Two services on one bus, where calls by unique name are allowed.
class SecondInstance : public ServiceTest {
 protected:
  SecondInstance() : ServiceTest(PrivateBus::allowAllCalls()), second(bus.environment()) {}

  void SetUp() override {
    start();
    second.launch();
    second.expectLog(kError, kRefused);
  }
  Service second;
};

TEST_F(SecondInstance, KeepsRunningWithItsObjectAndDoesNotDisplaceTheFirst) {
  EXPECT_EQ(client.ownerOf(kBusName), client.connectionOf(service.process->pid()));
  EXPECT_TRUE(client.createSession("s").ok());
  client.setDestination(client.connectionOf(second.process->pid()));
  EXPECT_TRUE(client.createSession("s").ok());
  EXPECT_EQ(second.stop(), kInOrder);
  EXPECT_THAT(second.surprises(), IsEmpty());
  EXPECT_FALSE(second.platform.logged(kInfo, kAcquired));
  EXPECT_TRUE(second.platform.logged(kInfo, "Terminating lumenfeed"));
  EXPECT_EQ(second.platform.calls().back(), "event_consumer_free(consumer1)");
}

TEST_F(SecondInstance, GetsTheNameWhenTheFirstGoes) {
  EXPECT_EQ(service.stop(), kInOrder);
  EXPECT_TRUE(second.platform.waitForLog(kInfo, kAcquired));
  EXPECT_EQ(client.ownerOf(kBusName), client.connectionOf(second.process->pid()));
  EXPECT_TRUE(client.createSession("s").ok());
  EXPECT_EQ(second.stop(), kInOrder);
  EXPECT_THAT(second.surprises(), IsEmpty());
}

}  // namespace integration
