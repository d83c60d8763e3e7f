// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <mosquitto.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "common/ptr.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/intake.h"
#include "platform/host/event/stop_signal.h"
#include "platform/host/event/timing.h"

namespace event {

/// One connection to the broker, from the first step of connecting to its end. The session that
/// the broker keeps under our client id goes on in the next one. Used by the network thread.
///
/// libmosquitto's own loop is left aside: it gives up on some errors, reads one message for each
/// poll, and cannot be told to stop reading.
class BrokerSession {
 public:
  BrokerSession(const Configuration& configuration, const Timing& timing, std::string clientId,
                Intake& intake, StopSignal& stop);
  BrokerSession(const BrokerSession&) = delete;
  BrokerSession& operator=(const BrokerSession&) = delete;

  /// Connects, calls `onReady` once the subscription is confirmed, and returns when the connection
  /// has ended, with the reason; or, without one, after the stop signal.
  std::string run(const std::function<void()>& onReady);

 private:
  using Clock = std::chrono::steady_clock;
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
  void connect();
  void connectStep();
  void subscribe(bool hasIdentifiers);
  void readStep();
  void readAll();
  void probe();
  void disconnect();
  void fail(const std::string& reason);
  void check(int code);

  const Configuration& configuration_;
  const Timing& timing_;
  const std::string clientId_;
  const std::string filter_;
  Intake& intake_;
  StopSignal& stop_;
  Client client_;
  bool ready_ = false;
  bool probing_ = false;
  Clock::time_point nextProbe_{};
  std::string failure_;
  /// libmosquitto tells the details of a TLS failure to its log alone.
  std::string lastError_;
};

}  // namespace event
