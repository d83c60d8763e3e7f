// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "platform/host/event/configuration.h"
#include "platform/host/event/hand_over.h"
#include "platform/host/event/timing.h"

namespace event {

/// The connection to the broker with a thread of its own, which connects again for as long as this
/// lives. What arrives goes into the hand-over.
class BrokerConnection {
 public:
  BrokerConnection(const Configuration& configuration, const Timing& timing);
  /// Does not wait for the broker, nor for a name server.
  ~BrokerConnection();
  BrokerConnection(const BrokerConnection&) = delete;
  BrokerConnection& operator=(const BrokerConnection&) = delete;

  HandOver& handOver();
  /// Starts connecting; does not block. `wakeConsumer` is called on the network thread, and not
  /// after the destructor.
  void start(std::function<void()> wakeConsumer);

 private:
  class Worker;
  std::shared_ptr<Worker> worker_;
  std::thread thread_;
};

}  // namespace event
