// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

#include "platform/host/event/publication.h"

namespace event {

/// What the network thread hands to the consumer's thread, in the order of the broker.
struct Arrival {
  enum class Kind : unsigned char {
    Publication,
    /// The broker has been asked for the states of all properties.
    StatesAsked,
    /// It has sent them.
    StatesIn,
    /// A property that was not among them, as it was known: the broker no longer has it.
    StateGone,
    /// The state of one that was not among them and is not what was known.
    StateFound
  };

  Kind kind;
  PublicationPtr publication;  // null for StatesAsked and StatesIn
  /// Of the last two: for which asking for the states; see PropertyStore.
  std::uint64_t asking = 0;
};

}  // namespace event
