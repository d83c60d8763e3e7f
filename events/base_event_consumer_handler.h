// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <set>

struct QueuedEvent;
struct QueuedRequest;

/// What sessions, queued requests and queued events ask of whoever consumes events.
/// EventConsumerHandler implements it with the platform's event system; tests record. Called on
/// the main thread only. Arguments stay the caller's.
class BaseEventConsumerHandler {
 public:
  virtual ~BaseEventConsumerHandler() = default;

  /// Applies a configuration request and answers it.
  virtual void handleRequest(QueuedRequest* request) = 0;
  /// Cancels every subscription of the set, and leaves the set as it is.
  virtual void unsubscribe(std::set<unsigned int>& subscriptionIds) = 0;
  /// Sends an event as stream data.
  virtual void sendEventData(QueuedEvent* event) = 0;
};
