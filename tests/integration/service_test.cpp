// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/integration/service_test.h"

#include <algorithm>
#include <csignal>

namespace integration {

using support::ExitStatus;
using support::LogLine;
using ::testing::IsEmpty;

namespace {

const std::vector<LogLine> kPlainRun = {
    {kInfo, "-", "Starting lumenfeed"},
    {kInfo, "-", "Registered the name com.ovra.WSEventDataSource1 on dbus"},
    {kInfo, "-", "Terminating lumenfeed"}};

}  // namespace

std::string topicPayload(const std::string& topic) {
  return R"({"eventFilterList":[{"topicFilter":")" + topic + R"("}]})";
}

Service::Service(const support::PrivateBus& bus) : environment_(bus.environment()) {
  environment_["LD_LIBRARY_PATH"] = LUMENFEED_DOUBLES_DIR;
  environment_.merge(platform.environment());
}

void Service::launch() {
  process =
      std::make_unique<support::Process>(std::vector<std::string>{LUMENFEED_PROGRAM}, environment_);
}

void Service::start() {
  launch();
  ASSERT_TRUE(platform.waitForLog(kPlainRun[1].level, kPlainRun[1].text))
      << ::testing::PrintToString(platform.log())
      << ::testing::PrintToString(process->standardError());
}

ExitStatus Service::stop() {
  process->signal(SIGTERM);
  return process->wait();
}

void Service::expectLog(int level, const std::string& text) {
  const LogLine line{level, "-", text};
  const auto times = std::count(expected_.begin(), expected_.end(), line) + 1;
  EXPECT_TRUE(support::waitFor([&] {
    const std::vector<LogLine> lines = platform.log();
    return std::count(lines.begin(), lines.end(), line) >= times;
  })) << "missing: "
      << line << ", logged: " << ::testing::PrintToString(platform.log());
  expected_.push_back(line);
}

std::vector<LogLine> Service::surprises() {
  std::vector<LogLine> lines = platform.log();
  // GIO's own talk about its authentication and the like.
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const LogLine& line) {
                               return line.domain != "-" && line.level == G_LOG_LEVEL_DEBUG;
                             }),
              lines.end());
  std::vector<LogLine> known = kPlainRun;
  known.insert(known.end(), expected_.begin(), expected_.end());
  for (const LogLine& line : known) {
    const auto found = std::find(lines.begin(), lines.end(), line);
    if (found != lines.end()) {
      lines.erase(found);
    }
  }
  return lines;
}

ServiceTest::ServiceTest(const std::string& busFragments)
    : bus(busFragments),
      streaming(bus),
      service(bus),
      client(bus.connect()),
      platform(service.platform) {}

void ServiceTest::start() {
  ASSERT_NO_FATAL_FAILURE(service.start());
}

std::string ServiceTest::configured(const std::string& session) {
  EXPECT_TRUE(client.createSession(session).ok());
  const std::size_t before = platform.count("event_consumer_subscribe");
  const std::size_t answered = streaming.calls().size();
  EXPECT_TRUE(client.handleRequest(session, topicPayload()).ok());
  EXPECT_TRUE(platform.waitForCall("event_consumer_subscribe", before + 1));
  EXPECT_TRUE(streaming.waitForCalls(answered + 1));
  return platform.subscriptions().back().id;
}

void ServiceTest::TearDown() {
  if (service.process != nullptr) {
    const ExitStatus status = service.process->running() ? service.stop() : service.process->wait();
    EXPECT_EQ(status, expectedEnd_) << ::testing::PrintToString(service.process->standardError());
    if (!status.signalled) {
      EXPECT_EQ(platform.outstandingAtExit(), std::vector<std::string>(5, "0"));
    }
    EXPECT_THAT(service.surprises(), IsEmpty());
    for (const support::PlatformRecord& record : platform.records()) {
      EXPECT_THAT(record.arguments, ::testing::Not(::testing::Contains("unknown")))
          << record.text();
    }
    EXPECT_EQ(platform.count("unknown command"), 0U);
  }
  GlibTest::TearDown();
}

}  // namespace integration
