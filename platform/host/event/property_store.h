// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/host/event/event.h"
#include "platform/host/event/publication.h"
#include "platform/host/model/message_reader.h"

namespace event {

/// The latest state of each property, in the order in which the states last changed: a place in
/// this order tells a new subscription how far it has got. Used by the consumer's thread alone.
class PropertyStore {
 public:
  /// A gateway in front of a hundred cameras sees some 10,000.
  static constexpr std::size_t kMaxStates = 100'000;
  static constexpr std::size_t kMaxBytes = std::size_t{64} * 1024 * 1024;

  /// A moment in the order of changes; 0 is before all of them.
  using Place = std::uint64_t;

  struct State {
    PublicationPtr publication;
    /// In which asking for the states it was last seen.
    std::uint64_t asking = 0;
  };

  /// What a publication of a property is to those who know its state.
  struct Change {
    /// Null if it is no event.
    EventPtr event;
    /// The state before and its place; null if none was known.
    PublicationPtr before;
    Place place = 0;
  };
  Change apply(const PublicationPtr& publication);

  /// The broker has been asked for all states.
  void statesAsked() { ++asking_; }
  /// Counts those askings.
  std::uint64_t asking() const { return asking_; }
  /// It has sent them: those that were not among them.
  std::vector<PublicationPtr> unseen() const;
  /// The property's end, or its state, if it has not been seen since the last asking.
  Change vanish(const std::string& key);
  Change find(const PublicationPtr& publication);

  /// The moment of now: every state is at or before it, every later change after it.
  Place now() const { return last_; }
  /// The first state after `place`, which is set to its place; null if there is none.
  const State* next(Place& place) const;
  std::size_t size() const { return places_.size(); }

 private:
  bool isUnseen(const std::string& key) const;
  std::size_t cost(const Publication& publication) const;
  bool hasRoomFor(const Publication& publication);
  void put(const PublicationPtr& publication);
  Change remove(std::unordered_map<std::string, Place>::iterator known);
  PublicationPtr ending(const PublicationPtr& before);

  std::map<Place, State> states_;
  std::unordered_map<std::string, Place> places_;
  std::size_t bytes_ = 0;
  Place last_ = 0;
  std::uint64_t asking_ = 0;
  bool saidFull_ = false;
  model::MessageReader reader_;
};

}  // namespace event
