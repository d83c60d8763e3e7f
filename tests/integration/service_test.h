// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/bus_client.h"
#include "tests/support/fake_streaming_service.h"
#include "tests/support/glib_test.h"
#include "tests/support/platform_control.h"
#include "tests/support/private_bus.h"
#include "tests/support/process.h"

namespace integration {

// The levels of the service's log lines.
constexpr int kInfo = 64;
constexpr int kWarning = 16;
constexpr int kError = 256;

constexpr const char* kErrorPrefix = "com.ovra.WSDataStreaming1.DataSource.Error.";

/// One filter with this topic, as a configuration request's payload.
std::string topicPayload(const std::string& topic = "tns1:Device//.");

/// The program as it is shipped, one or several of it, on the doubles and on a private bus.
class Service {
 public:
  /// `busEnvironment`: which bus is the system bus.
  explicit Service(support::Environment busEnvironment);

  /// Starts, and goes on at once.
  void launch(const std::vector<std::string>& arguments = {});
  /// Starts, and returns when the name is owned.
  void start();
  /// Asks to stop, and waits for the end.
  support::ExitStatus stop();
  /// This line is no surprise, and must come; waits for it.
  void expectLog(int level, const std::string& text);
  /// A line of GLib's own that is no surprise, and need not come.
  void allowGlibLog(int level, const std::string& domain, const std::string& text);
  /// The lines that came, without GLib's own talk about its authentication and its threads.
  std::vector<support::LogLine> log();
  /// Lines that came and that no expectLog() named, other than those of a plain start and stop.
  std::vector<support::LogLine> surprises();

  support::PlatformControl platform;
  /// What launch() sets for the process.
  support::Environment environment;
  std::unique_ptr<support::Process> process;

 private:
  std::vector<support::LogLine> expected_;
};

/// A service, the streaming service and a caller. After each test the service is stopped, if it
/// still runs, and must have ended in order, without a log line that nobody expected, and without
/// a handle of the platform left.
class ServiceTest : public support::GlibTest {
 protected:
  explicit ServiceTest(const std::string& busFragments = {}, bool streamingPresent = true);
  void TearDown() override;

  /// Starts the service, with a caller that is connected.
  void start();
  /// Opens a session and configures it with one filter; returns the subscription's id.
  std::string configured(const std::string& session);
  /// Configures a session, and returns when the streaming service has the answer.
  void configure(const std::string& session, const std::string& payload);
  /// Starts, with session "s" configured and so many of its events sent that are never answered.
  void startWithCallsInFlight(unsigned count);
  /// The calls of the platform from now on are those of platformCalls().
  void forgetCalls();
  std::vector<std::string> platformCalls();
  /// The test ended the service itself, in another way than with status 0.
  void expectEnd(support::ExitStatus status) { expectedEnd_ = status; }

  support::PrivateBus bus;
  support::FakeStreamingService streaming;
  Service service;
  support::BusClient client;
  support::PlatformControl& platform;

 private:
  support::ExitStatus expectedEnd_{false, 0};
  std::size_t forgotten_ = 0;
};

/// Status 0.
constexpr support::ExitStatus kInOrder{false, 0};

constexpr const char* kTopicDialect = "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";
constexpr const char* kContentDialect =
    "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";

// What the streaming service gets.
support::ReceivedCall response(const std::string& session, const std::string& requestId = "r1");
support::ReceivedCall errorResponse(const std::string& session, const std::string& requestId,
                                    const std::string& method, const std::string& payload);
support::ReceivedCall streamData(const std::string& session, const std::string& eventJson);

}  // namespace integration
