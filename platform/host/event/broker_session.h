// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/host/event/broker_client.h"
#include "platform/host/event/intake.h"

namespace event {

/// The connection on which the events come. The session that the broker keeps under our client id
/// goes on in the next one. Used by the network thread.
class BrokerSession : private BrokerClient {
 public:
  BrokerSession(const Configuration& configuration, const Timing& timing, std::string clientId,
                Intake& intake, StopSignal& stop);

  /// Connects, calls `onReady` once the subscription is confirmed, and returns when the connection
  /// has ended, with the reason; or, without one, after the stop signal.
  std::string run(const std::function<void()>& onReady);

 private:
  void onConnected(bool sessionPresent, const mosquitto_property* properties) override;
  void onSubscribed(int count, const int* granted) override;
  void onProbeAnswered() override;
  void onReceived(const mosquitto_message& message, const mosquitto_property* properties) override;
  void onBatch() override { intake_.flush(); }

  void subscribe(bool hasIdentifiers);
  void readStep();

  const std::string filter_;
  Intake& intake_;
  Clock::time_point nextProbe_{};
};

}  // namespace event
