// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/integration/service_test.h"

#include <algorithm>
#include <csignal>
#include <utility>

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

support::ReceivedCall response(const std::string& session, const std::string& requestId) {
  return {"SendResponse", {session, "1.0", requestId, "events", "configure", "{}"}};
}

support::ReceivedCall errorResponse(const std::string& session, const std::string& requestId,
                                    const std::string& method, const std::string& payload) {
  return {"SendErrorResponse", {session, "1.0", requestId, "events", method, payload}};
}

support::ReceivedCall streamData(const std::string& session, const std::string& eventJson) {
  return {"SendStreamData",
          {session, "1.0", "events", "notify", "{\"notification\":" + eventJson + "}"}};
}

Service::Service(support::Environment busEnvironment) : environment(std::move(busEnvironment)) {
  environment["LD_LIBRARY_PATH"] = LUMENFEED_DOUBLES_DIR;
  environment.merge(platform.environment());
}

void Service::launch(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = support::underTest(LUMENFEED_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  process = std::make_unique<support::Process>(command, environment);
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

void Service::allowGlibLog(int level, const std::string& domain, const std::string& text) {
  expected_.push_back({level, domain, text});
}

std::vector<LogLine> Service::log() {
  std::vector<LogLine> lines = platform.log();
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const LogLine& line) {
                               return line.domain != "-" && line.level == G_LOG_LEVEL_DEBUG;
                             }),
              lines.end());
  return lines;
}

std::vector<LogLine> Service::surprises() {
  std::vector<LogLine> lines = log();
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

ServiceTest::ServiceTest(const std::string& busFragments, bool streamingPresent)
    : bus(busFragments),
      streaming(bus, streamingPresent),
      service(bus.environment()),
      client(bus.connect()),
      platform(service.platform) {}

void ServiceTest::start() {
  ASSERT_NO_FATAL_FAILURE(service.start());
}

std::string ServiceTest::configured(const std::string& session) {
  EXPECT_TRUE(client.createSession(session).ok());
  configure(session, topicPayload());
  return platform.subscriptions().back().id;
}

void ServiceTest::configure(const std::string& session, const std::string& payload) {
  const std::size_t answered = streaming.calls("SendResponse").size();
  EXPECT_TRUE(client.handleRequest(session, payload).ok());
  EXPECT_TRUE(streaming.waitForCalls(answered + 1, "SendResponse"));
}

void ServiceTest::startWithCallsInFlight(unsigned count) {
  start();
  const std::string id = configured("s");
  streaming.neverAnswer();
  platform.deliver(id, "{}", count);
  ASSERT_TRUE(streaming.waitForCalls(count, "SendStreamData"));
}

void ServiceTest::forgetCalls() {
  // An answer may be here before the service has done the rest.
  platform.sync();
  forgotten_ = platform.calls().size();
}

std::vector<std::string> ServiceTest::platformCalls() {
  if (service.process->running()) {
    platform.sync();
  }
  const std::vector<std::string> all = platform.calls();
  return {all.begin() + static_cast<std::ptrdiff_t>(forgotten_), all.end()};
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
