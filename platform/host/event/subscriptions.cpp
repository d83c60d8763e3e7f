// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/subscriptions.h"

#include <atomic>
#include <limits>
#include <utility>

namespace event {

namespace {

unsigned int newId() {
  // Shared by all consumers of the process. Stays at its end rather than start again.
  static std::atomic<unsigned int> last{0};
  unsigned int before = last;
  do {
    if (before == std::numeric_limits<unsigned int>::max()) {
      return 0;
    }
  } while (!last.compare_exchange_weak(before, before + 1));
  return before + 1;
}

}  // namespace

unsigned int Subscriptions::add(Subscription subscription) {
  const unsigned int id = newId();
  if (id != 0) {
    index_.add(id, subscription.matcher->topics);
    subscriptions_.emplace(id, std::move(subscription));
  }
  return id;
}

bool Subscriptions::remove(unsigned int id) {
  const auto known = subscriptions_.find(id);
  if (known == subscriptions_.end()) {
    return false;
  }
  index_.remove(id, known->second.matcher->topics);
  subscriptions_.erase(known);
  return true;
}

void Subscriptions::clear() {
  subscriptions_.clear();
  index_ = model::TopicIndex();
}

Subscription* Subscriptions::find(unsigned int id) {
  const auto known = subscriptions_.find(id);
  return known == subscriptions_.end() ? nullptr : &known->second;
}

}  // namespace event
