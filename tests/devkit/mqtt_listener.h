// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <mosquitto.h>

#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "common/ptr.h"
#include "tests/platform/broker.h"

namespace devkit_test {

struct MqttMessage {
  std::string topic;
  std::string payload;
  /// Kept by the broker from before the subscription.
  bool retained = false;
};
std::ostream& operator<<(std::ostream& out, const MqttMessage& message);

/// Subscribes to everything at a broker and records what comes, while it is waited for.
class MqttListener {
 public:
  /// Returns when the subscription stands.
  explicit MqttListener(const support::Broker& broker);
  MqttListener(const MqttListener&) = delete;
  MqttListener& operator=(const MqttListener&) = delete;

  const std::vector<MqttMessage>& messages() const { return messages_; }
  [[nodiscard]] bool waitFor(const std::function<bool()>& predicate);
  /// Until a message with this topic came whose payload contains the text.
  [[nodiscard]] bool waitForMessage(const std::string& topic, const std::string& text);
  std::vector<std::string> payloads(const std::string& topic) const;
  /// What the broker keeps: of each topic the payload, its time replaced by "TIME".
  std::map<std::string, std::string> retained();

 private:
  /// Returns when the broker has sent everything that it had for this client.
  void catchUp();

  common::Ptr<mosquitto, mosquitto_destroy> client_;
  std::vector<MqttMessage> messages_;
  bool subscribed_ = false;
  int confirmed_ = 0;
};

/// A payload with its UtcTime, if that is one with milliseconds, replaced by "TIME".
std::string withoutTime(const std::string& payload);

}  // namespace devkit_test
