// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>
#include <gtest/gtest.h>
#include <mosquitto.h>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/event_consumer.h"
#include "platform/host/model/subscribe_expression.h"
#include "tests/support/glib_test.h"
#include "tests/support/temp_dir.h"

namespace support {

/// Publishes to a broker and waits until the broker has taken it.
class Publisher {
 public:
  /// `host` is the path of a Unix socket if `port` is 0. Throws if the broker does not answer.
  explicit Publisher(const std::string& host, int port = 0);
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  void publish(const std::string& topic, const std::string& payload, bool retain = false);
  void retain(const std::string& topic, const std::string& payload) {
    publish(topic, payload, true);
  }
  /// Goes on at once; flush() waits for all.
  void send(const std::string& topic, const std::string& payload, bool retain = false);
  void flush();
  /// How many were not taken yet.
  std::size_t pending();

 private:
  static void onConnect(mosquitto* client, void* self, int reason);
  static void onPublish(mosquitto* client, void* self, int packetId);

  mosquitto* client_;
  /// Before its thread runs.
  bool accepted_ = false;
  std::mutex mutex_;
  std::set<int> pending_;
};

/// What the library logs, kept instead of printed.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<std::string> lines() const;
  std::vector<std::string> linesWith(const std::string& text) const;
  bool has(const std::string& text) const { return !linesWith(text).empty(); }

 private:
  static void onLog(const char* domain, GLogLevelFlags level, const char* message, void* self);

  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
  unsigned int handler_;
};

/// A subscription and the events that it got, as JSON.
class Subscriber {
 public:
  /// Everything, or what a matcher says. Ends with this object unless ended before.
  explicit Subscriber(EventConsumer* consumer);
  Subscriber(EventConsumer* consumer, const model::EventMatcher& matcher);
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  unsigned int id() const { return id_; }
  const std::vector<std::string>& events() const { return events_; }
  /// The same, without what the test knows: "Initialized {…}" or "{…}".
  std::vector<std::string> summary() const;
  [[nodiscard]] bool waitForEvents(std::size_t count) const;
  void unsubscribe();
  void forget() { id_ = 0; }
  void clear() { events_.clear(); }
  /// Called for each event after it was recorded.
  void onEvent(std::function<void()> then) { then_ = std::move(then); }

 private:
  static void onEvent(Event* event, void* self);

  EventConsumer* consumer_;
  unsigned int id_ = 0;
  std::vector<std::string> events_;
  std::function<void()> then_;
};

/// A matcher for one topic, or with `subtree` for all within it.
model::EventMatcher onTopic(const std::string& local, bool subtree = false);

/// Short waits, for tests of what happens after them. Connecting may take its time: a try that is
/// given up would be one more, and its reason another line.
event::Timing quickTiming();

using ConsumerPtr = common::Ptr<EventConsumer, event_consumer_free>;
ConsumerPtr consumerOf(const std::string& address, const event::Timing& timing = quickTiming());
ConsumerPtr consumerOf(const event::Configuration& configuration,
                       const event::Timing& timing = quickTiming());

/// A test of the library with its log captured; criticals of GLib end it.
class EventTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  void TearDown() override;
  /// Waits for a log line that contains the text.
  [[nodiscard]] bool waitForLog(const std::string& text, std::size_t count = 1);

  LogCapture log_;
};

}  // namespace support
