// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>

#include <ostream>

#include "tests/devkit/host_monitor_test.h"
#include "tests/devkit/usage.h"

namespace devkit_test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::Key;
using ::testing::StartsWith;

constexpr const char* kReboot = "p/onvif-ej/Monitoring/OperatingTime/LastReboot";

class HostMonitorConnection : public HostMonitorTest {};

TEST_F(HostMonitorConnection, ABrokerThatLostEverythingGetsEveryStateAgain) {
  start();
  ASSERT_TRUE(MqttListener(broker_).waitForMessage(kReboot, "2023"));
  broker_.kill();
  ASSERT_TRUE(monitor_->waitForLine("lost the connection to the broker at " + broker_.address() +
                                    "; trying again"));
  broker_.start();
  EXPECT_TRUE(MqttListener(broker_).waitForMessage(kReboot, "2023"));
}

TEST_F(HostMonitorConnection, ABrokerThatComesLaterIsFound) {
  broker_.kill();
  start();
  ASSERT_TRUE(monitor_->waitForLine("cannot reach the broker at " + broker_.address()));
  broker_.start();
  EXPECT_TRUE(MqttListener(broker_).waitForMessage(kReboot, "2023"));
  // What it publishes may be with the broker before its line is here.
  ASSERT_TRUE(monitor_->waitForLine("connected to the broker"));
  std::vector<std::string> lines = monitor_->standardError();
  EXPECT_EQ(lines.back(),
            "lumenfeed-host-monitor: connected to the broker at " + broker_.address());
  lines.pop_back();
  // More than one, if it tried again while the broker was starting.
  EXPECT_THAT(lines, Each(StartsWith("lumenfeed-host-monitor: cannot reach the broker at ")));
}

TEST_F(HostMonitorConnection, ABrokerOnAPortIsReached) {
  support::Broker broker;
  broker.listenOnPort();
  broker.start();
  support::Process monitor({LUMENFEED_HOST_MONITOR,
                            "--broker=127.0.0.1:" + std::to_string(broker.port()), "--prefix=p",
                            "--once", "--root=" + machine_.path()});
  EXPECT_EQ(monitor.wait(), (support::ExitStatus{false, 0}));
  EXPECT_THAT(MqttListener(broker).retained(), Contains(Key(kReboot)));
}

TEST_F(HostMonitorConnection, ARefusalOfTheBrokerIsTold) {
  broker_.kill();
  broker_.setSettings("allow_anonymous false");
  broker_.start();
  start();
  EXPECT_TRUE(monitor_->waitForLine("lumenfeed-host-monitor: the broker at " + broker_.address() +
                                    " refuses the connection: Not authorized; trying again"));
}

TEST_F(HostMonitorConnection, OnceWithABrokerThatRefusesFails) {
  broker_.kill();
  broker_.setSettings("allow_anonymous false");
  broker_.start();
  start({"--once", "--wait=2"});
  EXPECT_EQ(monitor_->wait(), (support::ExitStatus{false, 1}));
}

TEST_F(HostMonitorConnection, OnceWithoutABrokerFails) {
  broker_.kill();
  start({"--once", "--wait=0.1"});
  EXPECT_EQ(monitor_->wait(), (support::ExitStatus{false, 1}));
}

class HostMonitorUsage : public ::testing::TestWithParam<Usage> {};

TEST_P(HostMonitorUsage, IsToldOnStandardErrorWithStatus2) {
  expectRefused(LUMENFEED_HOST_MONITOR, GetParam());
}

Usage badBroker(const char* name, const char* address, const char* message) {
  return {name, {std::string("--broker=") + address}, message};
}

INSTANTIATE_TEST_SUITE_P(
    Mistakes, HostMonitorUsage,
    ::testing::Values(
        Usage{"UnknownOption", {"--what"}, "Unknown option --what"},
        Usage{"Argument", {"x"}, "unexpected argument 'x'"},
        badBroker("RelativeSocket", "unix:a",
                  "--broker 'unix:a' is neither unix:/path nor "
                  "host[:port]"),
        badBroker("NoHost", ":1883", "--broker ':1883' is neither unix:/path nor host[:port]"),
        badBroker("PortZero", "h:0", "--broker 'h:0' is neither unix:/path nor host[:port]"),
        badBroker("HighPort", "h:65536",
                  "--broker 'h:65536' is neither unix:/path nor "
                  "host[:port]"),
        badBroker("Url", "mqtt://h", "--broker 'mqtt://h' is neither unix:/path nor host[:port]"),
        Usage{"EmptyPrefix",
              {"--prefix="},
              "--prefix '' is no MQTT topic (empty, '+', '#' or no "
              "UTF-8)"},
        Usage{"WildcardPrefix",
              {"--prefix=a/#"},
              "--prefix 'a/#' is no MQTT topic (empty, '+', "
              "'#' or no UTF-8)"},
        Usage{"NoInterval", {"--interval=0"}, "--interval is not from 0.01 to 86400 seconds"},
        Usage{"NoWait", {"--wait=0"}, "--wait is not above 0 and up to 86400 seconds"}),
    [](const auto& mistake) { return mistake.param.name; });

}  // namespace
}  // namespace devkit_test
