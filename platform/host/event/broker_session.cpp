// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/broker_session.h"

#include <string_view>
#include <utility>

namespace event {

namespace {

/// How often things that are due are looked at while nothing arrives: as often as libmosquitto's
/// keep-alive, which counts seconds, needs it.
constexpr std::chrono::milliseconds kIdle{500};
/// Between an answered question of StateSync and the next one.
constexpr std::chrono::milliseconds kProbePause{20};

}  // namespace

BrokerSession::BrokerSession(const Configuration& configuration, const Timing& timing,
                             std::string clientId, Intake& intake, StopSignal& stop)
    : BrokerClient(configuration, timing, std::move(clientId), stop),
      filter_(configuration.topicPrefix + "/onvif-ej/#"),
      intake_(intake) {}

std::string BrokerSession::run(const std::function<void()>& onReady) {
  connect();
  if (isReady()) {
    nextProbe_ = Clock::now() + timing().stateSettling;
    onReady();
  }
  while (goesOn()) {
    readStep();
  }
  intake_.flush();
  if (failure().empty()) {
    disconnect();
  }
  return failure();
}

void BrokerSession::subscribe(bool hasIdentifiers) {
  const std::uint32_t identifier = intake_.subscribing(hasIdentifiers);
  MqttProperties properties;
  if (hasIdentifiers) {
    properties.addVarint(MQTT_PROP_SUBSCRIPTION_IDENTIFIER, identifier);
  }
  check(mosquitto_subscribe_v5(client(), nullptr, filter_.c_str(), 1,
                               MQTT_SUB_OPT_RETAIN_AS_PUBLISHED | MQTT_SUB_OPT_SEND_RETAIN_ALWAYS,
                               properties.get()));
}

void BrokerSession::readStep() {
  // While the hand-over is full nothing is read, so that the broker holds the rest; what must be
  // sent to keep the connection alive is sent all the same.
  step(intake_.hasRoom(), probing() || !intake_.wantsRound() ? kIdle : kProbePause);
  if (goesOn() && !probing() && intake_.wantsRound() && Clock::now() >= nextProbe_) {
    probe();
    intake_.probeSent();
  }
  intake_.tick();
}

void BrokerSession::onConnected(bool sessionPresent, const mosquitto_property* properties) {
  intake_.connected(sessionPresent);
  std::uint8_t hasIdentifiers = 1;
  mosquitto_property_read_byte(properties, MQTT_PROP_SUBSCRIPTION_ID_AVAILABLE, &hasIdentifiers,
                               false);
  subscribe(hasIdentifiers != 0);
}

void BrokerSession::onSubscribed(int count, const int* granted) {
  if (count == 1 && granted[0] < MQTT_RC_UNSPECIFIED) {
    ready();
    return;
  }
  fail("subscription to " + filter_ + " refused by the broker: " +
       mosquitto_reason_string(count == 1 ? granted[0] : MQTT_RC_UNSPECIFIED));
}

void BrokerSession::onProbeAnswered() {
  nextProbe_ = Clock::now() + kProbePause;
  intake_.probeAnswered();
}

void BrokerSession::onReceived(const mosquitto_message& message,
                               const mosquitto_property* properties) {
  std::uint32_t subscription = 0;
  mosquitto_property_read_varint(properties, MQTT_PROP_SUBSCRIPTION_IDENTIFIER, &subscription,
                                 false);
  intake_.received({static_cast<std::uint16_t>(message.qos > 0 ? message.mid : 0), message.topic,
                    std::string_view(static_cast<const char*>(message.payload),
                                     static_cast<std::size_t>(message.payloadlen)),
                    message.retain, subscription});
}

}  // namespace event
