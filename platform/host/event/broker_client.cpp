// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/broker_client.h"

#include <poll.h>

#include <cerrno>
#include <cstring>
#include <iterator>
#include <random>
#include <utility>

namespace event {

namespace {

/// Larger ones are dropped by the broker: we could not log them, but they would cost us memory.
constexpr std::uint32_t kMaxPacket = 8 * 1024 * 1024;
/// How long mosquitto_loop() may look away from the stop signal while we connect.
constexpr int kConnectSlice = 50;
/// Messages between two looks at the stop signal, and at most in a batch.
constexpr int kBatch = 64;

/// A code of libmosquitto's, or of the broker's (those from 128 on).
std::string describe(int code) {
  if (code == MOSQ_ERR_ERRNO) {
    return std::strerror(errno);
  }
  return code >= MQTT_RC_UNSPECIFIED ? mosquitto_reason_string(code) : mosquitto_strerror(code);
}

}  // namespace

/// Of the 23 letters and digits that every broker takes.
std::string BrokerClient::makeId() {
  std::random_device random;
  std::string id = "event2x";
  constexpr const char* kDigits = "0123456789abcdef";
  for (int word = 0; word < 2; ++word) {
    unsigned int bits = random();
    for (int digit = 0; digit < 8; ++digit, bits >>= 4U) {
      id += kDigits[bits & 0xfU];
    }
  }
  return id;
}

BrokerClient::BrokerClient(const Configuration& configuration, const Timing& timing,
                           std::string clientId, StopSignal& stop)
    : configuration_(configuration), timing_(timing), clientId_(std::move(clientId)), stop_(stop) {}

void BrokerClient::connect() {
  const Clock::time_point deadline = Clock::now() + timing_.connectTimeout;
  if (prepare()) {
    check(mosquitto_connect_async(client(), configuration_.host.c_str(), configuration_.port,
                                  static_cast<int>(timing_.keepAlive.count())));
  }
  while (goesOn() && !ready_) {
    check(mosquitto_loop(client(), kConnectSlice, 1));
    if (!ready_ && Clock::now() >= deadline) {
      fail("no answer");
    }
  }
}

bool BrokerClient::prepare() {
  client_.reset(mosquitto_new(clientId_.c_str(), false, this));
  if (client_ == nullptr) {
    fail(std::strerror(errno));
    return false;
  }
  mosquitto_connect_v5_callback_set(client(), onConnect);
  mosquitto_disconnect_v5_callback_set(client(), onDisconnect);
  mosquitto_subscribe_callback_set(client(), onSubscribe);
  mosquitto_unsubscribe_callback_set(client(), onUnsubscribe);
  mosquitto_message_v5_callback_set(client(), onMessage);
  mosquitto_log_callback_set(client(), onLog);
  check(mosquitto_int_option(client(), MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5));
  check(mosquitto_int_option(client(), MOSQ_OPT_RECEIVE_MAXIMUM, DuplicateGuard::kMaxInFlight));
  return failure_.empty() && prepareLogin() && prepareProperties();
}

bool BrokerClient::prepareLogin() {
  const Configuration& wanted = configuration_;
  const auto orNull = [](const std::string& text) { return text.empty() ? nullptr : text.c_str(); };
  if (!wanted.username.empty()) {
    check(mosquitto_username_pw_set(client(), wanted.username.c_str(), orNull(wanted.password)));
  }
  // Read again for each connection, so that a renewed certificate needs no restart.
  if (failure_.empty() && !wanted.caFile.empty()) {
    check(mosquitto_tls_set(client(), wanted.caFile.c_str(), nullptr, orNull(wanted.certFile),
                            orNull(wanted.keyFile), nullptr));
  }
  return failure_.empty();
}

bool BrokerClient::prepareProperties() {
  MqttProperties properties;
  properties.addInt32(MQTT_PROP_SESSION_EXPIRY_INTERVAL,
                      static_cast<std::uint32_t>(timing_.sessionExpiry.count()));
  properties.addInt32(MQTT_PROP_MAXIMUM_PACKET_SIZE, kMaxPacket);
  // Only the blocking call takes properties. Without a host it keeps them and goes no further, and
  // the call that does not block uses them.
  const int code = mosquitto_connect_bind_v5(client(), nullptr, 0, 0, nullptr, properties.get());
  if (code != MOSQ_ERR_INVAL) {
    check(code);
  }
  return failure_.empty();
}

void BrokerClient::step(bool reading, std::chrono::milliseconds patience) {
  const bool writing = mosquitto_want_write(client());
  const auto events = static_cast<short>((reading ? POLLIN : 0) | (writing ? POLLOUT : 0));
  pollfd watched[] = {{events == 0 ? -1 : mosquitto_socket(client()), events, 0},
                      {stop_.fd(), POLLIN, 0}};
  poll(watched, std::size(watched), static_cast<int>(patience.count()));
  if (watched[1].revents != 0) {
    stop_.clear();
  }
  if (reading && watched[0].revents != 0) {
    readAll();
  }
  if (failure_.empty() && mosquitto_want_write(client())) {
    check(mosquitto_loop_write(client(), 1));
  }
  if (failure_.empty()) {
    check(mosquitto_loop_misc(client()));
  }
}

void BrokerClient::readAll() {
  for (int count = 0; count < kBatch && failure_.empty(); ++count) {
    errno = 0;
    check(mosquitto_loop_read(client(), 1));
    if (errno == EAGAIN) {
      break;
    }
  }
  onBatch();
}

void BrokerClient::probe() {
  const std::string nobodys = clientId_ + "/probe";
  check(mosquitto_unsubscribe(client(), nullptr, nobodys.c_str()));
  probing_ = failure_.empty();
}

void BrokerClient::disconnect() {
  if (client_ != nullptr) {
    MqttProperties properties;
    properties.addInt32(MQTT_PROP_SESSION_EXPIRY_INTERVAL, 0);
    mosquitto_disconnect_v5(client(), MQTT_RC_NORMAL_DISCONNECTION, properties.get());
  }
}

void BrokerClient::fail(const std::string& reason) {
  if (failure_.empty()) {
    failure_ = lastError_.empty() ? reason : reason + " (" + lastError_ + ")";
  }
}

void BrokerClient::check(int code) {
  if (code != MOSQ_ERR_SUCCESS) {
    fail(describe(code));
  }
}

void BrokerClient::onConnect(mosquitto* /*client*/, void* self, int code, int flags,
                             const mosquitto_property* properties) {
  auto& connection = *static_cast<BrokerClient*>(self);
  if (code != 0) {
    connection.fail(std::string("connection refused by the broker: ") +
                    mosquitto_reason_string(code));
    return;
  }
  constexpr int kSessionPresent = 1;
  connection.onConnected((flags & kSessionPresent) != 0, properties);
}

void BrokerClient::onDisconnect(mosquitto* /*client*/, void* self, int code,
                                const mosquitto_property* /*properties*/) {
  if (code >= MQTT_RC_UNSPECIFIED) {
    static_cast<BrokerClient*>(self)->fail(std::string("ended by the broker: ") +
                                           mosquitto_reason_string(code));
  }
}

void BrokerClient::onSubscribe(mosquitto* /*client*/, void* self, int /*packetId*/, int count,
                               const int* granted) {
  static_cast<BrokerClient*>(self)->onSubscribed(count, granted);
}

void BrokerClient::onUnsubscribe(mosquitto* /*client*/, void* self, int /*packetId*/) {
  auto& connection = *static_cast<BrokerClient*>(self);
  connection.probing_ = false;
  connection.onProbeAnswered();
}

void BrokerClient::onMessage(mosquitto* /*client*/, void* self, const mosquitto_message* message,
                             const mosquitto_property* properties) {
  static_cast<BrokerClient*>(self)->onReceived(*message, properties);
}

void BrokerClient::onLog(mosquitto* /*client*/, void* self, int level, const char* text) {
  if (level == MOSQ_LOG_ERR) {
    static_cast<BrokerClient*>(self)->lastError_ = text;
  }
}

}  // namespace event
