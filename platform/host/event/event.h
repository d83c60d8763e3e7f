// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <atomic>

#include "platform/host/event/publication.h"

namespace event {

/// What a property event reports; None for an event that is no property.
enum class Operation : unsigned char { None, Initialized, Changed, Deleted };

}  // namespace event

/// The opaque type of event2.h: a publication as an event. Shared by the callbacks it is given to,
/// each of which holds one reference.
struct Event {
  Event(event::PublicationPtr what, event::Operation how);
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  const event::PublicationPtr publication;
  const event::Operation operation;
  // Atomic, because an owner may free its event on any thread.
  std::atomic<unsigned int> references{1};

  Event* ref();
  void unref();

 private:
  ~Event() = default;
};

namespace event {

struct EventUnref {
  void operator()(Event* event) const { event->unref(); }
};
using EventPtr = std::unique_ptr<Event, EventUnref>;

}  // namespace event
