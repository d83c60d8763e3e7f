// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/delivery.h"

#include <utility>

namespace event {

unsigned int Delivery::subscribe(const SubscribeExpression& expression, EventCallback callback,
                                 void* userData) {
  const unsigned int id =
      subscriptions_.add({expression.matcher, callback, userData, 0, store_.now()});
  if (id != 0 && store_.size() > 0) {
    replays_.push_back(id);
  }
  return id;
}

void Delivery::close() {
  closed_ = true;
  subscriptions_.clear();
}

unsigned int Delivery::deliver(unsigned int limit, unsigned int slowLimit) {
  unsigned int made = 0;
  unsigned int slow = 0;
  bool slowCall = false;
  for (unsigned int looks = 0; made < limit && looks < kMaxLooks && !closed_;) {
    if (nextCall_ < calls_.size()) {
      if (makeCall()) {
        ++made;
        slow += slowCall ? 1 : 0;
        ++sinceSlow_;
      }
      continue;
    }
    calls_.clear();
    nextCall_ = 0;
    ++looks;
    const bool mayBeSlow = hasSlowWork() && slow < slowLimit;
    const bool waiting = arrivalsWait();
    slowCall = mayBeSlow && (!waiting || sinceSlow_ >= kSlowShare);
    if (slowCall) {
      sinceSlow_ = 0;
      slowStep();
    } else if (waiting) {
      takeArrival();
    } else {
      break;
    }
  }
  return made;
}

bool Delivery::hasWork() {
  return !closed_ && (nextCall_ < calls_.size() || hasSlowWork() || arrivalsWait());
}

/// False if the subscription has ended meanwhile.
bool Delivery::makeCall() {
  Call call = std::move(calls_[nextCall_++]);
  const Subscription* const subscription = subscriptions_.find(call.id);
  if (subscription == nullptr) {
    return false;
  }
  // The callback may end its subscription.
  const EventCallback callback = subscription->callback;
  callback(call.event.release(), subscription->userData);
  return true;
}

bool Delivery::arrivalsWait() {
  if (arrivals_.empty()) {
    handOver_.take(arrivals_);
  }
  return !arrivals_.empty();
}

void Delivery::takeArrival() {
  const Arrival arrival = std::move(arrivals_.front());
  arrivals_.pop_front();
  handOver_.done(arrival);
  switch (arrival.kind) {
    case Arrival::Kind::StatesAsked:
      store_.statesAsked();
      vanished_.clear();
      nextVanished_ = 0;
      break;
    case Arrival::Kind::StatesIn:
      check_.ask(store_.asking(), store_.unseen());
      break;
    case Arrival::Kind::StateGone:
      if (arrival.asking == store_.asking()) {
        vanished_.push_back(arrival.publication->source->key);
      }
      break;
    case Arrival::Kind::StateFound:
      if (arrival.asking == store_.asking()) {
        emit(store_.find(arrival.publication), arrival.publication->source->topic);
      }
      break;
    case Arrival::Kind::Publication:
      takePublication(arrival.publication);
      break;
  }
}

void Delivery::takePublication(const PublicationPtr& publication) {
  PropertyStore::Change change;
  if (publication->retained) {
    change = store_.apply(publication);
  } else {
    change.event.reset(new Event(publication, Operation::None));
  }
  emit(change, publication->source->topic);
}

void Delivery::slowStep() {
  if (nextVanished_ < vanished_.size()) {
    vanishStep();
  } else {
    replayStep();
  }
}

void Delivery::vanishStep() {
  const PropertyStore::Change change = store_.vanish(vanished_[nextVanished_++]);
  if (nextVanished_ == vanished_.size()) {
    vanished_.clear();
    nextVanished_ = 0;
  }
  if (change.event != nullptr) {
    emit(change, change.before->source->topic);
  }
}

/// Shows one state to one subscription.
void Delivery::replayStep() {
  const unsigned int id = replays_.front();
  replays_.pop_front();
  Subscription* const subscription = subscriptions_.find(id);
  if (subscription == nullptr) {
    return;
  }
  const PropertyStore::State* const state = store_.next(subscription->replayed);
  if (state == nullptr || subscription->replayed > subscription->replayUntil) {
    // States past the end changed since: their events are on the way, or have come.
    subscription->replayed = subscription->replayUntil;
    return;
  }
  replays_.push_back(id);
  const PublicationPtr& publication = state->publication;
  if (subscription->matcher->matchesTopic(publication->source->topic) &&
      subscription->matcher->matchesContent(*publication->message)) {
    calls_.push_back({id, EventPtr(new Event(publication, Operation::Initialized))});
  }
}

void Delivery::emit(const PropertyStore::Change& change, const model::Topic& topic) {
  if (change.event == nullptr) {
    return;
  }
  EventPtr before;
  for (const unsigned int id : subscriptions_.match(topic)) {
    const Subscription& subscription = *subscriptions_.find(id);
    // The state that was changes its place in the store: now or never.
    if (change.before != nullptr && subscription.awaits(change.place) &&
        subscription.matcher->matchesContent(*change.before->message)) {
      if (before == nullptr) {
        before.reset(new Event(change.before, Operation::Initialized));
      }
      calls_.push_back({id, EventPtr(before->ref())});
    }
    if (subscription.matcher->matchesContent(*change.event->publication->message)) {
      calls_.push_back({id, EventPtr(change.event->ref())});
    }
  }
}

}  // namespace event
