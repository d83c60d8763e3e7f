// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <functional>
#include <memory>
#include <thread>

#include "platform/host/event/configuration.h"
#include "platform/host/event/hand_over.h"
#include "platform/host/event/state_check.h"
#include "platform/host/event/timing.h"

namespace event {

/// The connection to the broker with threads of its own, made again and again for as long as this
/// lives. What arrives goes into the hand-over.
class BrokerConnection {
 public:
  BrokerConnection(const Configuration& configuration, const Timing& timing);
  /// Does not wait for the broker, nor for a name server.
  ~BrokerConnection();
  BrokerConnection(const BrokerConnection&) = delete;
  BrokerConnection& operator=(const BrokerConnection&) = delete;

  HandOver& handOver();
  StateCheck& stateCheck();
  /// Starts connecting; does not block. `wakeConsumer` is called on the network thread, and not
  /// after the destructor.
  void start(std::function<void()> wakeConsumer);

 private:
  class Worker;
  std::shared_ptr<Worker> worker_;
  /// One takes the events in, one works for StateCheck.
  static constexpr std::size_t kThreads = 2;
  std::array<std::thread, kThreads> threads_;
};

}  // namespace event
