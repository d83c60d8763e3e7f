// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/host/event/arrival.h"
#include "platform/host/event/configuration.h"
#include "platform/host/event/stop_signal.h"
#include "platform/host/event/timing.h"

namespace event {

/// Finds out what became of properties that were not among the states that the broker sent: a
/// broker whose queue is short drops most of many states, and says nothing. So each is asked for by
/// its own topic, a few at a time.
///
/// That is done on a connection of its own, by a thread of its own: on the connection of the events
/// a second subscription would double or swallow events, as the broker has it. The answers have to
/// wait for what was published before them and comes on the other connection; see Intake.
class StateCheck {
 public:
  /// `onAnswers` is called on this one's thread and must return at once.
  StateCheck(const Configuration& configuration, const Timing& timing,
             std::function<void()> onAnswers);
  StateCheck(const StateCheck&) = delete;
  StateCheck& operator=(const StateCheck&) = delete;

  /// Consumer's thread. Replaces what was asked before.
  void ask(std::uint64_t asking, std::vector<PublicationPtr> properties);

  /// Network thread. The answers are about properties that are gone or have another state.
  bool hasAnswers();
  void takeAnswers(std::vector<Arrival>& target);
  /// Nothing of what was asked is wanted any more.
  void cancel() { ask(0, {}); }

  /// The thread's work; returns after stop().
  void run();
  void stop() { stop_.stop(); }

 private:
  std::uint64_t takeWork(std::vector<PublicationPtr>& properties, std::uint64_t& asking);
  void answer(std::vector<PublicationPtr>& properties, std::uint64_t asking, std::uint64_t version);
  void report(std::vector<Arrival>& answers, std::uint64_t version);
  void logKept(const std::string& reason) const;

  const Configuration& configuration_;
  const Timing& timing_;
  std::function<void()> onAnswers_;
  StopSignal stop_;
  std::mutex mutex_;  // guards the next three
  std::uint64_t asking_ = 0;
  std::vector<PublicationPtr> properties_;
  std::vector<Arrival> answers_;
  /// Of what is asked; changed under the lock.
  std::atomic<std::uint64_t> version_{0};
  /// False once the broker has taken the connection of the events for this one's.
  bool usable_ = true;
};

}  // namespace event
