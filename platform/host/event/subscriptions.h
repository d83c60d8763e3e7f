// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <memory>
#include <unordered_map>
#include <vector>

#include "platform/host/event/property_store.h"
#include "platform/host/model/subscribe_expression.h"
#include "platform/host/model/topic_index.h"

namespace event {

/// A subscription, and how far it has got with the states that were known when it was made.
struct Subscription {
  std::shared_ptr<const model::EventMatcher> matcher;
  EventCallback callback;
  void* userData;
  PropertyStore::Place replayed;
  PropertyStore::Place replayUntil;

  /// True if the state at `place` is still to come.
  bool awaits(PropertyStore::Place place) const { return replayed < place && place <= replayUntil; }
};

/// The subscriptions of one consumer, found by id and by topic.
class Subscriptions {
 public:
  /// The new subscription's id, never used before in this process; 0 if there are none left.
  unsigned int add(Subscription subscription);
  bool remove(unsigned int id);
  void clear();

  /// Null if there is none; valid until the next add(), remove() or clear().
  Subscription* find(unsigned int id);
  /// The ids whose topics match, in the order of subscribing.
  std::vector<unsigned int> match(const model::Topic& topic) const { return index_.match(topic); }

 private:
  std::unordered_map<unsigned int, Subscription> subscriptions_;
  model::TopicIndex index_;
};

}  // namespace event
