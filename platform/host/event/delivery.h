// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "platform/host/event/arrival.h"
#include "platform/host/event/event.h"
#include "platform/host/event/hand_over.h"
#include "platform/host/event/property_store.h"
#include "platform/host/event/state_check.h"
#include "platform/host/event/subscriptions.h"

namespace event {

/// Turns what arrives into calls of the subscriptions' callbacks, a few at a time. Used by the
/// consumer's thread alone. A callback may do everything here, close() included.
///
/// Arrivals go first, in their order. What may concern very many calls at once goes in between
/// them: the known states for a new subscription, and the ends of properties that were gone when
/// the connection came back. Neither is queued: a subscription has a place in the store.
class Delivery {
 public:
  Delivery(HandOver& handOver, StateCheck& check) : handOver_(handOver), check_(check) {}
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  /// 0 if it cannot be made.
  unsigned int subscribe(const SubscribeExpression& expression, EventCallback callback,
                         void* userData);
  bool unsubscribe(unsigned int id) { return subscriptions_.remove(id); }
  /// Nothing is called any more.
  void close();
  bool closed() const { return closed_; }

  /// Makes at most `limit` calls, of which at most `slowLimit` are not for arrivals, and not too
  /// much work in all. Returns how many calls it made.
  unsigned int deliver(unsigned int limit, unsigned int slowLimit);
  /// True if deliver() has something to do; else the hand-over wakes us.
  bool hasWork();

 private:
  /// A call that is to be made, with a reference to the event for the callback.
  struct Call {
    unsigned int id;
    EventPtr event;
  };
  /// Arrivals and states looked at in one deliver(): they may match nobody.
  static constexpr unsigned int kMaxLooks = 256;
  /// While arrivals wait, one call in so many is for the slow rest.
  static constexpr unsigned int kSlowShare = 8;

  bool makeCall();
  bool hasSlowWork() const { return nextVanished_ < vanished_.size() || !replays_.empty(); }
  bool arrivalsWait();
  void takeArrival();
  void takePublication(const PublicationPtr& publication);
  void slowStep();
  void replayStep();
  void vanishStep();
  void emit(const PropertyStore::Change& change, const model::Topic& topic);

  HandOver& handOver_;
  StateCheck& check_;
  Subscriptions subscriptions_;
  PropertyStore store_;
  std::deque<Arrival> arrivals_;
  std::vector<Call> calls_;
  std::size_t nextCall_ = 0;
  std::vector<std::string> vanished_;
  std::size_t nextVanished_ = 0;
  /// Subscriptions that do not have all known states yet; they take turns.
  std::deque<unsigned int> replays_;
  unsigned int sinceSlow_ = 0;
  bool closed_ = false;
};

}  // namespace event
