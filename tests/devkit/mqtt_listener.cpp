// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/devkit/mqtt_listener.h"

#include <ostream>
#include <stdexcept>

#include "tests/support/glib_test.h"

namespace devkit_test {

std::ostream& operator<<(std::ostream& out, const MqttMessage& message) {
  return out << message.topic << (message.retained ? " (retained): " : ": ") << message.payload;
}

std::string withoutTime(const std::string& payload) {
  const common::Ptr<GRegex, g_regex_unref> time(
      g_regex_new(R"re("UtcTime":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")re",
                  static_cast<GRegexCompileFlags>(0), static_cast<GRegexMatchFlags>(0), nullptr));
  const common::GCharPtr text(g_regex_replace_literal(time.get(), payload.c_str(), -1, 0,
                                                      R"("UtcTime":"TIME")",
                                                      static_cast<GRegexMatchFlags>(0), nullptr));
  return text.get();
}

MqttListener::MqttListener(const support::Broker& broker)
    : client_(mosquitto_new(nullptr, true, this)) {
  mosquitto_message_callback_set(
      client_.get(), [](mosquitto* /*client*/, void* data, const mosquitto_message* message) {
        static_cast<MqttListener*>(data)->messages_.push_back(
            {message->topic,
             std::string(static_cast<const char*>(message->payload),
                         static_cast<std::size_t>(message->payloadlen)),
             message->retain});
      });
  mosquitto_subscribe_callback_set(client_.get(), [](mosquitto* /*client*/, void* data, int /*id*/,
                                                     int /*count*/, const int* /*qos*/) {
    static_cast<MqttListener*>(data)->subscribed_ = true;
  });
  mosquitto_publish_callback_set(client_.get(), [](mosquitto* /*client*/, void* data, int id) {
    static_cast<MqttListener*>(data)->confirmed_ = id;
  });
  if (mosquitto_connect(client_.get(), broker.socketPath().c_str(), 0, 60) != MOSQ_ERR_SUCCESS ||
      mosquitto_subscribe(client_.get(), nullptr, "#", 1) != MOSQ_ERR_SUCCESS ||
      !waitFor([this] { return subscribed_; })) {
    throw std::runtime_error("cannot listen at " + broker.address());
  }
}

bool MqttListener::waitFor(const std::function<bool()>& predicate) {
  return support::waitFor([&] {
    mosquitto_loop(client_.get(), 0, 1);
    return predicate();
  });
}

bool MqttListener::waitForMessage(const std::string& topic, const std::string& text) {
  return waitFor([&] {
    for (const std::string& payload : payloads(topic)) {
      if (payload.find(text) != std::string::npos) {
        return true;
      }
    }
    return false;
  });
}

std::vector<std::string> MqttListener::payloads(const std::string& topic) const {
  std::vector<std::string> payloads;
  for (const MqttMessage& message : messages_) {
    if (message.topic == topic) {
      payloads.push_back(message.payload);
    }
  }
  return payloads;
}

void MqttListener::catchUp() {
  // The broker confirms in order: behind the messages that it had to send before.
  int id = 0;
  mosquitto_publish(client_.get(), &id, "$test/caught-up", 0, nullptr, 1, false);
  if (!waitFor([&] { return confirmed_ == id; })) {
    throw std::runtime_error("the broker does not answer");
  }
}

std::map<std::string, std::string> MqttListener::retained() {
  catchUp();
  std::map<std::string, std::string> states;
  for (const MqttMessage& message : messages_) {
    if (message.retained) {
      states[message.topic] = withoutTime(message.payload);
    }
  }
  return states;
}

}  // namespace devkit_test
