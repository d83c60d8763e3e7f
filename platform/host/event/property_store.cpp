// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/property_store.h"

#include <memory>

namespace event {

PropertyStore::Change PropertyStore::apply(const PublicationPtr& publication) {
  const auto known = places_.find(publication->source->key);
  if (publication->message == nullptr) {
    return known == places_.end() ? Change() : remove(known);
  }
  Change change;
  if (known == places_.end()) {
    change.event.reset(new Event(publication, Operation::Initialized));
    if (hasRoomFor(*publication)) {
      put(publication);
    }
    return change;
  }
  const auto state = states_.find(known->second);
  change.before = state->second.publication;
  change.place = known->second;
  if (publication->stored && state->second.asking != asking_ &&
      publication->message->payload() == change.before->message->payload()) {
    // What we knew before the connection was lost.
    state->second.asking = asking_;
    return Change();
  }
  change.event.reset(new Event(publication, Operation::Changed));
  bytes_ -= cost(*change.before);
  states_.erase(state);
  places_.erase(known);
  if (hasRoomFor(*publication)) {
    put(publication);
  }
  return change;
}

std::vector<PublicationPtr> PropertyStore::unseen() const {
  std::vector<PublicationPtr> unseen;
  for (const auto& [place, state] : states_) {
    if (state.asking != asking_) {
      unseen.push_back(state.publication);
    }
  }
  return unseen;
}

bool PropertyStore::isUnseen(const std::string& key) const {
  const auto known = places_.find(key);
  return known != places_.end() && states_.find(known->second)->second.asking != asking_;
}

PropertyStore::Change PropertyStore::vanish(const std::string& key) {
  return isUnseen(key) ? remove(places_.find(key)) : Change();
}

PropertyStore::Change PropertyStore::find(const PublicationPtr& publication) {
  Change change;
  if (isUnseen(publication->source->key)) {
    change = apply(publication);
  }
  return change;
}

const PropertyStore::State* PropertyStore::next(Place& place) const {
  const auto state = states_.upper_bound(place);
  if (state == states_.end()) {
    return nullptr;
  }
  place = state->first;
  return &state->second;
}

std::size_t PropertyStore::cost(const Publication& publication) const {
  return publication.bytes() + publication.source->key.size();
}

bool PropertyStore::hasRoomFor(const Publication& publication) {
  if (places_.size() < kMaxStates && bytes_ + cost(publication) <= kMaxBytes) {
    return true;
  }
  if (!saidFull_) {
    saidFull_ = true;
    g_log(G_LOG_DOMAIN, G_LOG_LEVEL_WARNING,
          "The states of %zu properties (%zu bytes) are kept and no more fit: the rest is reported "
          "as Initialized each time, and not to new subscriptions",
          places_.size(), bytes_);
  }
  return false;
}

void PropertyStore::put(const PublicationPtr& publication) {
  ++last_;
  states_.emplace_hint(states_.end(), last_, State{publication, asking_});
  places_.emplace(publication->source->key, last_);
  bytes_ += cost(*publication);
}

PropertyStore::Change PropertyStore::remove(
    std::unordered_map<std::string, Place>::iterator known) {
  const auto state = states_.find(known->second);
  Change change;
  change.before = state->second.publication;
  change.place = known->second;
  change.event.reset(new Event(ending(change.before), Operation::Deleted));
  bytes_ -= cost(*change.before);
  states_.erase(state);
  places_.erase(known);
  return change;
}

/// The message of a property that has ended: of the last one, only what says which it was.
PublicationPtr PropertyStore::ending(const PublicationPtr& before) {
  const std::string_view source = before->message->source();
  const std::string text = source.empty() ? "{}" : R"({"Source":)" + std::string(source) + "}";
  auto publication = std::make_shared<Publication>(*before);
  std::string error;
  publication->message = reader_.read(text, error);
  return publication;
}

}  // namespace event
