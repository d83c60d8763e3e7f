// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <gmock/gmock.h>
#include <jansson.h>
#include <utime.h>

#include <csignal>

#include "tests/devkit/host_monitor_test.h"

namespace devkit_test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;

constexpr const char* kUsage = "p/onvif-ej/Monitoring/ProcessorUsage/&cpu";
constexpr const char* kReboot = "p/onvif-ej/Monitoring/OperatingTime/LastReboot";
constexpr const char* kLink = "p/onvif-ej/Monitoring/LinkStatus/&eth0";

std::string event(const std::string& source, const std::string& data) {
  return R"({"UtcTime":"TIME","Source":)" + source + R"(,"Data":)" + data + "}";
}

class HostMonitorEvents : public HostMonitorTest {};

TEST_F(HostMonitorEvents, PublishesWhatThereIsAsRetainedMessagesAndNothingElse) {
  EXPECT_THAT(once(),
              ElementsAre(Pair(kReboot, event("{}", R"({"Status":"2023-11-14T22:13:20Z"})")),
                          Pair(kUsage, event(R"({"Token":"cpu"})", R"({"Value":40.0})"))));
}

TEST_F(HostMonitorEvents, EachProcessorIsPublishedWhenAsked) {
  file("/proc/stat",
       "cpu  2 0 0 6 0 0 0 0 0 0\ncpu0 1 0 0 3 0 0 0 0 0 0\ncpu1 1 0 0 0 0 1 1 0 0 0\nintr 7");
  const auto states = once({"--per-cpu"});
  EXPECT_THAT(states, ElementsAre(Pair(kUsage, event(R"({"Token":"cpu"})", R"({"Value":25.0})")),
                                  Pair("p/onvif-ej/Monitoring/ProcessorUsage/&cpu0",
                                       event(R"({"Token":"cpu0"})", R"({"Value":25.0})")),
                                  Pair("p/onvif-ej/Monitoring/ProcessorUsage/&cpu1",
                                       event(R"({"Token":"cpu1"})", R"({"Value":100.0})"))));
}

TEST_F(HostMonitorEvents, ALinkIsPublishedWithWhatItsDriverKnows) {
  file("/sys/class/net/eth0/speed", "1000");
  file("/sys/class/net/eth0/duplex", "full");
  file("/sys/class/net/eth1/speed", "100");
  file("/sys/class/net/eth1/duplex", "unknown");
  file("/sys/class/net/wan0/speed", "-1");
  file("/sys/class/net/lo/operstate", "unknown");
  const auto states = once();
  EXPECT_THAT(states, Contains(Pair(kLink, event(R"({"Token":"eth0"})",
                                                 R"({"Link":{"Speed":1000,"Duplex":"Full"}})"))));
  EXPECT_THAT(states, Contains(Pair("p/onvif-ej/Monitoring/LinkStatus/&eth1",
                                    event(R"({"Token":"eth1"})", R"({"Link":{"Speed":100}})"))));
  EXPECT_EQ(states.size(), 4U);
}

TEST_F(HostMonitorEvents, AWildcardInANameStaysOutOfTheTopicAndInTheEvent) {
  file("/sys/class/net/a+b#c/speed", "10");
  EXPECT_THAT(once(), Contains(Pair("p/onvif-ej/Monitoring/LinkStatus/&a_b_c",
                                    event(R"({"Token":"a+b#c"})", R"({"Link":{"Speed":10}})"))));
}

TEST_F(HostMonitorEvents, TheTemperatureIsTheHottestZones) {
  file("/sys/class/thermal/thermal_zone0/temp", "41250");
  file("/sys/class/thermal/thermal_zone1/temp", "-5000");
  file("/sys/class/thermal/cooling_device0/temp", "99000");
  const auto states = once();
  EXPECT_THAT(states, Contains(Pair("p/onvif-ej/Monitoring/EnvironmentalConditions/Temperature",
                                    event("{}", R"({"Status":41.3})"))));
  EXPECT_THAT(states, Not(Contains(Key("p/onvif-ej/Device/HardwareFailure/TemperatureCritical"))));
}

TEST_F(HostMonitorEvents, AZoneAtItsCriticalPointIsCritical) {
  const std::string topic = "p/onvif-ej/Device/HardwareFailure/TemperatureCritical";
  const std::string zone = "/sys/class/thermal/thermal_zone0/";
  file(zone + "temp", "94999");
  file(zone + "trip_point_0_type", "passive");
  file(zone + "trip_point_0_temp", "60000");
  file(zone + "trip_point_1_type", "critical");
  file(zone + "trip_point_1_temp", "95000");
  EXPECT_THAT(once(), Contains(Pair(topic, event("{}", R"({"Critical":false})"))));
  file(zone + "temp", "95000");
  EXPECT_THAT(once(), Contains(Pair(topic, event("{}", R"({"Critical":true})"))));
}

TEST_F(HostMonitorEvents, StorageFailsWithErrorsOfAFileSystemOrTheLossOfADisk) {
  const std::string topic = "p/onvif-ej/Device/HardwareFailure/StorageFailure/&";
  file("/sys/fs/ext4/features/lazy_itable_init", "supported");
  file("/sys/fs/ext4/sda1/errors_count", "0");
  file("/sys/fs/ext4/sda2/errors_count", "3");
  file("/sys/block/sda/device/state", "running");
  file("/sys/block/sdb/device/state", "offline");
  file("/sys/block/loop0/size", "0");
  const auto states = once();
  const auto failed = [](const char* token, const char* value) {
    return event(R"({"Token":")" + std::string(token) + R"("})",
                 R"({"Failed":)" + std::string(value) + "}");
  };
  EXPECT_THAT(states, Contains(Pair(topic + "sda1", failed("sda1", "false"))));
  EXPECT_THAT(states, Contains(Pair(topic + "sda2", failed("sda2", "true"))));
  EXPECT_THAT(states, Contains(Pair(topic + "sda", failed("sda", "false"))));
  EXPECT_THAT(states, Contains(Pair(topic + "sdb", failed("sdb", "true"))));
  EXPECT_EQ(states.size(), 6U);
}

TEST_F(HostMonitorEvents, TheLastClockSynchronizationIsThatOfTimesyncd) {
  const std::string path = "/run/systemd/timesync/synchronized";
  file(path, "");
  const utimbuf times = {1700000060, 1700000060};
  ASSERT_EQ(utime((machine_.path() + path).c_str(), &times), 0);
  EXPECT_THAT(once(), Contains(Pair("p/onvif-ej/Monitoring/OperatingTime/LastClockSynchronization",
                                    event("{}", R"({"Status":"2023-11-14T22:14:20Z"})"))));
}

TEST_F(HostMonitorEvents, LaterUsageIsThatOfTheTimeBetween) {
  MqttListener listener(broker_);
  start();
  ASSERT_TRUE(listener.waitForMessage(kUsage, R"({"Value":40.0})"));
  // 30 ticks of work of 40.
  file("/proc/stat", "cpu  40 10 20 60 10 0 0 0 0 0\nbtime 1700000000\n");
  EXPECT_TRUE(listener.waitForMessage(kUsage, R"({"Value":75.0})"));
}

TEST_F(HostMonitorEvents, UsageComesAtEveryIntervalAndTheRestOnlyWhenItChanged) {
  MqttListener listener(broker_);
  start();
  ASSERT_TRUE(listener.waitFor([&] { return listener.payloads(kUsage).size() >= 4; }));
  EXPECT_EQ(listener.payloads(kReboot).size(), 1U);
  file("/proc/stat", "cpu  10 10 20 50 10 0 0 0 0 0\nbtime 1700000001\n");
  ASSERT_TRUE(listener.waitForMessage(kReboot, R"("2023-11-14T22:13:21Z")"));
  EXPECT_EQ(listener.payloads(kReboot).size(), 2U);
}

TEST_F(HostMonitorEvents, AStateThatIsNoLongerMeasuredIsRemoved) {
  file("/sys/class/net/eth0/speed", "1000");
  MqttListener listener(broker_);
  start();
  ASSERT_TRUE(listener.waitForMessage(kLink, "1000"));
  remove("/sys/class/net/eth0");
  ASSERT_TRUE(listener.waitFor([&] { return listener.payloads(kLink).size() == 2; }));
  EXPECT_EQ(listener.payloads(kLink).back(), "");
  EXPECT_THAT(MqttListener(broker_).retained(), Not(Contains(Key(kLink))));
}

TEST_F(HostMonitorEvents, TheEndRemovesEveryState) {
  for (const int number : {SIGINT, SIGTERM}) {
    MqttListener listener(broker_);
    start();
    ASSERT_TRUE(listener.waitForMessage(kUsage, "Value"));
    ASSERT_TRUE(listener.waitForMessage(kReboot, "Status"));
    monitor_->signal(number);
    EXPECT_EQ(monitor_->wait(), (support::ExitStatus{false, 0}));
    EXPECT_THAT(MqttListener(broker_).retained(), IsEmpty());
  }
}

TEST_F(HostMonitorEvents, AMachineThatTellsNothingPublishesNothing) {
  remove("/proc/stat");
  EXPECT_THAT(once(), IsEmpty());
}

TEST_F(HostMonitorEvents, ThisMachineIsMeasured) {
  support::Process monitor(
      {LUMENFEED_HOST_MONITOR, "--broker=" + broker_.address(), "--prefix=p", "--once"});
  EXPECT_EQ(monitor.wait(), (support::ExitStatus{false, 0}));
  auto states = MqttListener(broker_).retained();
  EXPECT_THAT(states, Contains(Key(kReboot)));
  json_t* event = json_loads(states[kUsage].c_str(), 0, nullptr);
  double percent = -1;
  EXPECT_EQ(json_unpack(event, "{s:{s:F}}", "Data", "Value", &percent), 0);
  json_decref(event);
  EXPECT_GE(percent, 0);
  EXPECT_LE(percent, 100);
}

}  // namespace
}  // namespace devkit_test
