// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/broker.h"
#include "tests/platform/event_support.h"
#include "tests/support/bus_client.h"
#include "tests/support/fake_streaming_service.h"
#include "tests/support/glib_test.h"
#include "tests/support/long_form.h"
#include "tests/support/private_bus.h"
#include "tests/support/process.h"

namespace load {

/// The numbers of the events that each session got, in the order in which they came.
using Numbers = std::map<std::string, std::vector<std::size_t>>;

/// The service on the host's event system: a real broker, a bus with the shipped configuration,
/// and the streaming service played by the test. After each test the service must end in order,
/// without a log line that nobody expected.
class LoadTest : public support::GlibTest {
 protected:
  explicit LoadTest(const std::string& busFragments = {});
  void SetUp() override;
  void TearDown() override;

  /// Starts the service and returns when it can be called and gets events.
  void startService();
  /// Asks it to end, and checks how it did.
  void stopService();
  /// Opens a session with these topic filters, each with an optional content filter behind a blank.
  void open(const std::string& session, const std::vector<std::string>& filters);
  /// Applies filters to an open session, and returns when that was answered.
  void configure(const std::string& session, const std::vector<std::string>& filters);
  /// Publishes event number n on tns1:Load/TOPIC, and goes on.
  void publish(const std::string& topic, std::size_t number);
  /// Publishes what is no event.
  void publishRubbish();
  void killBroker();
  /// Starts it anew, with nothing of what it held.
  void startBroker();
  /// Waits until the streaming service has had so many calls, as long as there are more and more.
  [[nodiscard]] bool waitForCalls(std::size_t count);
  /// What the streaming service got; its record is empty afterwards.
  Numbers takeNumbers();
  /// A log line that contains this text is no surprise.
  void allowLog(const std::string& text) { allowed_.push_back(text); }
  [[nodiscard]] bool waitForLog(const std::string& text, std::size_t times = 1) const;
  /// How many lines of the log contain this text.
  std::size_t logLines(const std::string& text) const;

  /// What the service has beside its bus and its configuration; read by startService().
  support::Environment environment_;
  support::Broker broker_;
  support::PrivateBus bus_;
  support::FakeStreamingService streaming_;
  support::BusClient client_;
  std::unique_ptr<support::Process> service_;

 private:
  support::TempDir directory_;
  std::unique_ptr<support::Publisher> publisher_;
  std::vector<std::string> allowed_;
  std::size_t requests_ = 0;
};

/// Those of the events among these calls.
Numbers numbersOf(const std::vector<support::ReceivedCall>& calls);
/// 0, 1, 2 … count - 1.
std::vector<std::size_t> numbersBelow(std::size_t count);

}  // namespace load
