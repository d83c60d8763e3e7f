// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/platform/event_support.h"

#include <mqtt_protocol.h>

#include <stdexcept>
#include <utility>

#include "common/log_level.h"

namespace support {

Publisher::Publisher(const std::string& host, int port) {
  mosquitto_lib_init();
  client_ = mosquitto_new(nullptr, true, this);
  mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
  mosquitto_connect_callback_set(client_, onConnect);
  mosquitto_publish_callback_set(client_, onPublish);
  // libmosquitto sends twice what is published while the connection is being accepted.
  const auto turn = [this] { return mosquitto_loop(client_, 0, 1) != MOSQ_ERR_SUCCESS; };
  if (mosquitto_connect(client_, host.c_str(), port, 60) != MOSQ_ERR_SUCCESS ||
      !waitFor([this, &turn] { return turn() || accepted_; }) || !accepted_) {
    mosquitto_destroy(client_);
    throw std::runtime_error("cannot publish to " + host);
  }
  mosquitto_loop_start(client_);
}

Publisher::~Publisher() {
  mosquitto_disconnect(client_);
  mosquitto_loop_stop(client_, false);
  mosquitto_destroy(client_);
}

void Publisher::publish(const std::string& topic, const std::string& payload, bool retain) {
  send(topic, payload, retain);
  flush();
}

void Publisher::send(const std::string& topic, const std::string& payload, bool retain) {
  // Under the lock: the broker's answer may be faster than we.
  const std::lock_guard<std::mutex> lock(mutex_);
  int packetId = 0;
  const int code = mosquitto_publish(client_, &packetId, topic.c_str(),
                                     static_cast<int>(payload.size()), payload.data(), 1, retain);
  if (code != MOSQ_ERR_SUCCESS) {
    throw std::runtime_error(std::string("cannot publish: ") + mosquitto_strerror(code));
  }
  pending_.insert(packetId);
}

void Publisher::flush() {
  if (!waitFor([this] { return pending() == 0; })) {
    throw std::runtime_error("the broker does not take what is published");
  }
}

std::size_t Publisher::pending() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return pending_.size();
}

void Publisher::onConnect(mosquitto* /*client*/, void* self, int reason) {
  static_cast<Publisher*>(self)->accepted_ = reason == 0;
}

void Publisher::onPublish(mosquitto* /*client*/, void* self, int packetId) {
  auto& publisher = *static_cast<Publisher*>(self);
  const std::lock_guard<std::mutex> lock(publisher.mutex_);
  publisher.pending_.erase(packetId);
}

LogCapture::LogCapture()
    : handler_(g_log_set_handler(
          "event2", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | common::kErrorLevelBits), onLog,
          this)) {}

LogCapture::~LogCapture() {
  g_log_remove_handler("event2", handler_);
}

void LogCapture::onLog(const char* /*domain*/, GLogLevelFlags /*level*/, const char* message,
                       void* self) {
  auto& capture = *static_cast<LogCapture*>(self);
  const std::lock_guard<std::mutex> lock(capture.mutex_);
  capture.lines_.emplace_back(message);
}

std::vector<std::string> LogCapture::lines() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return lines_;
}

std::vector<std::string> LogCapture::linesWith(const std::string& text) const {
  std::vector<std::string> found;
  for (const std::string& line : lines()) {
    if (line.find(text) != std::string::npos) {
      found.push_back(line);
    }
  }
  return found;
}

Subscriber::Subscriber(EventConsumer* consumer) : Subscriber(consumer, model::EventMatcher()) {}

Subscriber::Subscriber(EventConsumer* consumer, const model::EventMatcher& matcher)
    : consumer_(consumer) {
  const SubscribeExpression expression{std::make_shared<const model::EventMatcher>(matcher)};
  id_ = event_consumer_subscribe(consumer, &expression, onEvent, this);
}

Subscriber::~Subscriber() {
  if (id_ != 0) {
    event_consumer_unsubscribe(consumer_, id_, nullptr);
  }
}

std::vector<std::string> Subscriber::summary() const {
  const std::string property = R"("property":")";
  const std::string message = R"("message":)";
  std::vector<std::string> result;
  for (const std::string& event : events_) {
    const std::size_t at = event.find(message);
    std::string text = event.substr(at + message.size());
    text.pop_back();
    if (const std::size_t how = event.find(property); how < at) {
      const std::size_t start = how + property.size();
      text = event.substr(start, event.find('"', start) - start) + " " + text;
    }
    result.push_back(text);
  }
  return result;
}

bool Subscriber::waitForEvents(std::size_t count) const {
  return waitFor([this, count] { return events_.size() >= count; });
}

void Subscriber::unsubscribe() {
  event_consumer_unsubscribe(consumer_, std::exchange(id_, 0), nullptr);
}

void Subscriber::onEvent(Event* event, void* self) {
  auto& subscriber = *static_cast<Subscriber*>(self);
  const common::Ptr<Event, event_free> owned(event);
  const common::MallocCharPtr json(event_get_json(event, nullptr));
  subscriber.events_.emplace_back(json.get());
  if (subscriber.then_) {
    subscriber.then_();
  }
}

model::EventMatcher onTopic(const std::string& local, bool subtree) {
  model::EventMatcher matcher;
  matcher.topics.push_back({model::topicFromLocal(local), subtree});
  return matcher;
}

event::Timing quickTiming() {
  using Milliseconds = event::Timing::Milliseconds;
  event::Timing timing;
  timing.firstBackOff = Milliseconds(20);
  timing.longestBackOff = Milliseconds(100);
  timing.keepAlive = std::chrono::seconds(5);
  timing.stateSettling = Milliseconds(50);
  timing.badMessageLog = Milliseconds(200);
  return timing;
}

ConsumerPtr consumerOf(const std::string& address, const event::Timing& timing) {
  event::Configuration configuration;
  std::string error;
  const TempDir directory;
  if (!configuration.loadFile(directory.write("c", "[broker]\naddress=" + address + "\n"), error)) {
    throw std::runtime_error(error);
  }
  return consumerOf(configuration, timing);
}

ConsumerPtr consumerOf(const event::Configuration& configuration, const event::Timing& timing) {
  return ConsumerPtr(new EventConsumer(configuration, timing));
}

void EventTest::SetUpTestSuite() {
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL));
}

void EventTest::TearDown() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

bool EventTest::waitForLog(const std::string& text, std::size_t count) {
  return waitFor([this, &text, count] { return log_.linesWith(text).size() >= count; });
}

}  // namespace support
