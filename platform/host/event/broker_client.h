// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <mosquitto.h>

#include <chrono>
#include <string>

#include "common/ptr.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/duplicate_guard.h"
#include "platform/host/event/mqtt_properties.h"
#include "platform/host/event/stop_signal.h"
#include "platform/host/event/timing.h"

namespace event {

/// One connection to the broker, from the first step of connecting to its end, with what every one
/// needs: login, TLS, time limits, errors as text. What is asked and answered on it is for those
/// who derive from it. Used by one thread.
///
/// libmosquitto's own loop is left aside: it gives up on some errors, reads one message for each
/// poll, and cannot be told to stop reading.
class BrokerClient {
 public:
  /// A client id that no other has.
  static std::string makeId();

  BrokerClient(const BrokerClient&) = delete;
  BrokerClient& operator=(const BrokerClient&) = delete;

 protected:
  using Clock = std::chrono::steady_clock;

  BrokerClient(const Configuration& configuration, const Timing& timing, std::string clientId,
               StopSignal& stop);
  virtual ~BrokerClient() = default;

  /// What the broker says, called within connect() and step().
  virtual void onConnected(bool sessionPresent, const mosquitto_property* properties) = 0;
  virtual void onSubscribed(int count, const int* granted) = 0;
  virtual void onProbeAnswered() = 0;
  virtual void onReceived(const mosquitto_message& message,
                          const mosquitto_property* properties) = 0;
  /// Some messages have been read.
  virtual void onBatch() {}

  /// Returns when the connection is ready(), has failed or is to stop.
  void connect();
  /// Takes in what has come, or waits for it; without `reading` only keeps the connection alive.
  void step(bool reading, std::chrono::milliseconds patience);
  /// Asks something that the broker must answer and that needs no right: to end a subscription
  /// that we do not have.
  void probe();
  bool probing() const { return probing_; }
  /// Leaves for good: the broker need not keep anything for us. What cannot be sent is not waited
  /// for.
  void disconnect();

  void ready() { ready_ = true; }
  bool isReady() const { return ready_ && goesOn(); }
  bool goesOn() const { return failure_.empty() && !stop_.stopped(); }
  /// The first one counts.
  void fail(const std::string& reason);
  void check(int code);
  const std::string& failure() const { return failure_; }
  mosquitto* client() const { return client_.get(); }
  const Timing& timing() const { return timing_; }

 private:
  using Client = common::Ptr<mosquitto, mosquitto_destroy>;

  static void onConnect(mosquitto* client, void* self, int code, int flags,
                        const mosquitto_property* properties);
  static void onDisconnect(mosquitto* client, void* self, int code,
                           const mosquitto_property* properties);
  static void onSubscribe(mosquitto* client, void* self, int packetId, int count,
                          const int* granted);
  static void onUnsubscribe(mosquitto* client, void* self, int packetId);
  static void onMessage(mosquitto* client, void* self, const mosquitto_message* message,
                        const mosquitto_property* properties);
  static void onLog(mosquitto* client, void* self, int level, const char* text);

  bool prepare();
  bool prepareLogin();
  bool prepareProperties();
  void readAll();

  const Configuration& configuration_;
  const Timing& timing_;
  const std::string clientId_;
  StopSignal& stop_;
  Client client_;
  bool ready_ = false;
  bool probing_ = false;
  std::string failure_;
  /// libmosquitto tells the details of a TLS failure to its log alone.
  std::string lastError_;
};

}  // namespace event
