// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/broker_session.h"

#include <mqtt_protocol.h>
#include <poll.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace event {

namespace {

/// Larger ones are dropped by the broker: we could not log them, but they would cost us memory.
constexpr std::uint32_t kMaxPacket = 8 * 1024 * 1024;
/// How long mosquitto_loop() may look away from the stop signal while we connect.
constexpr int kConnectSlice = 50;
/// How often things that are due are looked at while nothing arrives: as often as libmosquitto's
/// keep-alive, which counts seconds, needs it.
constexpr int kIdle = 500;
/// Messages between two looks at the stop signal, and at most in a batch.
constexpr int kBatch = 64;
/// Between an answered question of StateSync and the next one.
constexpr std::chrono::milliseconds kProbePause{20};

/// MQTT properties for one call.
class Properties {
 public:
  Properties() = default;
  ~Properties() { mosquitto_property_free_all(&list_); }
  Properties(const Properties&) = delete;
  Properties& operator=(const Properties&) = delete;

  void addInt16(int id, std::uint16_t value) { mosquitto_property_add_int16(&list_, id, value); }
  void addInt32(int id, std::uint32_t value) { mosquitto_property_add_int32(&list_, id, value); }
  void addVarint(int id, std::uint32_t value) { mosquitto_property_add_varint(&list_, id, value); }
  const mosquitto_property* get() const { return list_; }

 private:
  mosquitto_property* list_ = nullptr;
};

/// A code of libmosquitto's, or of the broker's (those from 128 on).
std::string describe(int code) {
  if (code == MOSQ_ERR_ERRNO) {
    return std::strerror(errno);
  }
  return code >= MQTT_RC_UNSPECIFIED ? mosquitto_reason_string(code) : mosquitto_strerror(code);
}

}  // namespace

BrokerSession::BrokerSession(const Configuration& configuration, const Timing& timing,
                             std::string clientId, Intake& intake, StopSignal& stop)
    : configuration_(configuration),
      timing_(timing),
      clientId_(std::move(clientId)),
      filter_(configuration.topicPrefix + "/onvif-ej/#"),
      intake_(intake),
      stop_(stop) {}

std::string BrokerSession::run(const std::function<void()>& onReady) {
  const Clock::time_point deadline = Clock::now() + timing_.connectTimeout;
  if (prepare()) {
    connect();
  }
  while (failure_.empty() && !ready_ && !stop_.stopped()) {
    connectStep();
    if (!ready_ && Clock::now() >= deadline) {
      fail("no answer");
    }
  }
  if (ready_ && failure_.empty()) {
    nextProbe_ = Clock::now() + timing_.stateSettling;
    onReady();
  }
  while (failure_.empty() && !stop_.stopped()) {
    readStep();
  }
  intake_.flush();
  if (failure_.empty()) {
    disconnect();
  }
  return failure_;
}

bool BrokerSession::prepare() {
  client_.reset(mosquitto_new(clientId_.c_str(), false, this));
  if (client_ == nullptr) {
    fail(std::strerror(errno));
    return false;
  }
  mosquitto* const client = client_.get();
  mosquitto_connect_v5_callback_set(client, onConnect);
  mosquitto_disconnect_v5_callback_set(client, onDisconnect);
  mosquitto_subscribe_callback_set(client, onSubscribe);
  mosquitto_unsubscribe_callback_set(client, onUnsubscribe);
  mosquitto_message_v5_callback_set(client, onMessage);
  mosquitto_log_callback_set(client, onLog);
  check(mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5));
  check(mosquitto_int_option(client, MOSQ_OPT_RECEIVE_MAXIMUM, DuplicateGuard::kMaxInFlight));
  return failure_.empty() && prepareLogin() && prepareProperties();
}

bool BrokerSession::prepareLogin() {
  const Configuration& wanted = configuration_;
  const auto orNull = [](const std::string& text) { return text.empty() ? nullptr : text.c_str(); };
  if (!wanted.username.empty()) {
    check(
        mosquitto_username_pw_set(client_.get(), wanted.username.c_str(), orNull(wanted.password)));
  }
  // Read again for each connection, so that a renewed certificate needs no restart.
  if (failure_.empty() && !wanted.caFile.empty()) {
    check(mosquitto_tls_set(client_.get(), wanted.caFile.c_str(), nullptr, orNull(wanted.certFile),
                            orNull(wanted.keyFile), nullptr));
  }
  return failure_.empty();
}

bool BrokerSession::prepareProperties() {
  Properties properties;
  properties.addInt32(MQTT_PROP_SESSION_EXPIRY_INTERVAL,
                      static_cast<std::uint32_t>(timing_.sessionExpiry.count()));
  properties.addInt32(MQTT_PROP_MAXIMUM_PACKET_SIZE, kMaxPacket);
  // Only the blocking call takes properties. Without a host it keeps them and goes no further, and
  // the call that does not block uses them.
  const int code =
      mosquitto_connect_bind_v5(client_.get(), nullptr, 0, 0, nullptr, properties.get());
  if (code != MOSQ_ERR_INVAL) {
    check(code);
  }
  return failure_.empty();
}

void BrokerSession::connect() {
  check(mosquitto_connect_async(client_.get(), configuration_.host.c_str(), configuration_.port,
                                static_cast<int>(timing_.keepAlive.count())));
}

void BrokerSession::connectStep() {
  check(mosquitto_loop(client_.get(), kConnectSlice, 1));
}

void BrokerSession::subscribe(bool hasIdentifiers) {
  const std::uint32_t identifier = intake_.subscribing(hasIdentifiers);
  Properties properties;
  if (hasIdentifiers) {
    properties.addVarint(MQTT_PROP_SUBSCRIPTION_IDENTIFIER, identifier);
  }
  check(mosquitto_subscribe_v5(client_.get(), nullptr, filter_.c_str(), 1,
                               MQTT_SUB_OPT_RETAIN_AS_PUBLISHED | MQTT_SUB_OPT_SEND_RETAIN_ALWAYS,
                               properties.get()));
}

void BrokerSession::readStep() {
  // While the hand-over is full nothing is read, so that the broker holds the rest; what must be
  // sent to keep the connection alive is sent all the same.
  const bool reading = intake_.hasRoom();
  const bool writing = mosquitto_want_write(client_.get());
  const auto events = static_cast<short>((reading ? POLLIN : 0) | (writing ? POLLOUT : 0));
  pollfd watched[] = {{events == 0 ? -1 : mosquitto_socket(client_.get()), events, 0},
                      {stop_.fd(), POLLIN, 0}};
  poll(watched, std::size(watched),
       probing_ || !intake_.awaitsStates() ? kIdle : static_cast<int>(kProbePause.count()));
  if (watched[1].revents != 0) {
    stop_.clear();
  }
  if (reading && watched[0].revents != 0) {
    readAll();
  }
  if (failure_.empty() && mosquitto_want_write(client_.get())) {
    check(mosquitto_loop_write(client_.get(), 1));
  }
  if (failure_.empty()) {
    check(mosquitto_loop_misc(client_.get()));
  }
  if (failure_.empty() && !probing_ && intake_.awaitsStates() && Clock::now() >= nextProbe_) {
    probe();
  }
  intake_.tick();
}

void BrokerSession::readAll() {
  for (int count = 0; count < kBatch && failure_.empty(); ++count) {
    errno = 0;
    check(mosquitto_loop_read(client_.get(), 1));
    if (errno == EAGAIN) {
      break;
    }
  }
  intake_.flush();
}

void BrokerSession::probe() {
  const std::string nobodys = clientId_ + "/probe";
  check(mosquitto_unsubscribe(client_.get(), nullptr, nobodys.c_str()));
  probing_ = failure_.empty();
  intake_.probeSent();
}

/// Leaves for good: the broker need not keep anything for us. What cannot be sent is not waited
/// for.
void BrokerSession::disconnect() {
  if (client_ != nullptr) {
    Properties properties;
    properties.addInt32(MQTT_PROP_SESSION_EXPIRY_INTERVAL, 0);
    mosquitto_disconnect_v5(client_.get(), MQTT_RC_NORMAL_DISCONNECTION, properties.get());
  }
}

void BrokerSession::fail(const std::string& reason) {
  if (failure_.empty()) {
    failure_ = lastError_.empty() ? reason : reason + " (" + lastError_ + ")";
  }
}

void BrokerSession::check(int code) {
  if (code != MOSQ_ERR_SUCCESS) {
    fail(describe(code));
  }
}

void BrokerSession::onConnect(mosquitto* /*client*/, void* self, int code, int flags,
                              const mosquitto_property* properties) {
  auto& session = *static_cast<BrokerSession*>(self);
  if (code != 0) {
    session.fail(std::string("connection refused by the broker: ") + mosquitto_reason_string(code));
    return;
  }
  constexpr int kSessionPresent = 1;
  session.intake_.connected((flags & kSessionPresent) != 0);
  std::uint8_t hasIdentifiers = 1;
  mosquitto_property_read_byte(properties, MQTT_PROP_SUBSCRIPTION_ID_AVAILABLE, &hasIdentifiers,
                               false);
  session.subscribe(hasIdentifiers != 0);
}

void BrokerSession::onDisconnect(mosquitto* /*client*/, void* self, int code,
                                 const mosquitto_property* /*properties*/) {
  auto& session = *static_cast<BrokerSession*>(self);
  if (code >= MQTT_RC_UNSPECIFIED) {
    session.fail(std::string("ended by the broker: ") + mosquitto_reason_string(code));
  }
}

void BrokerSession::onSubscribe(mosquitto* /*client*/, void* self, int /*packetId*/, int count,
                                const int* granted) {
  auto& session = *static_cast<BrokerSession*>(self);
  if (count != 1 || granted[0] >= MQTT_RC_UNSPECIFIED) {
    session.fail("subscription to " + session.filter_ + " refused by the broker: " +
                 mosquitto_reason_string(count == 1 ? granted[0] : MQTT_RC_UNSPECIFIED));
    return;
  }
  session.ready_ = true;
}

void BrokerSession::onUnsubscribe(mosquitto* /*client*/, void* self, int /*packetId*/) {
  auto& session = *static_cast<BrokerSession*>(self);
  session.probing_ = false;
  session.nextProbe_ = Clock::now() + kProbePause;
  session.intake_.probeAnswered();
}

void BrokerSession::onMessage(mosquitto* /*client*/, void* self, const mosquitto_message* message,
                              const mosquitto_property* properties) {
  auto& session = *static_cast<BrokerSession*>(self);
  std::uint32_t subscription = 0;
  mosquitto_property_read_varint(properties, MQTT_PROP_SUBSCRIPTION_IDENTIFIER, &subscription,
                                 false);
  session.intake_.received({static_cast<std::uint16_t>(message->qos > 0 ? message->mid : 0),
                            message->topic,
                            std::string_view(static_cast<const char*>(message->payload),
                                             static_cast<std::size_t>(message->payloadlen)),
                            message->retain, subscription});
}

void BrokerSession::onLog(mosquitto* /*client*/, void* self, int level, const char* text) {
  if (level == MOSQ_LOG_ERR) {
    static_cast<BrokerSession*>(self)->lastError_ = text;
  }
}

}  // namespace event
