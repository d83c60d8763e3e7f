// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include "platform/host/event/publication.h"

namespace event {

/// What the network thread hands to the consumer's thread, in the order of the broker.
struct Arrival {
  enum class Kind : unsigned char {
    Publication,
    /// The broker has been asked for the states of all properties.
    StatesAsked,
    /// It has sent them: what was not among them is gone.
    StatesIn
  };

  Kind kind;
  PublicationPtr publication;  // null for the other two
};

}  // namespace event
