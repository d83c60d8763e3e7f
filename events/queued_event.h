// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

#include "common/ptr.h"

class BaseEventConsumerHandler;

/// An event on its way to a session. On the heap, owned by the idle source that carries it.
struct QueuedEvent {
  BaseEventConsumerHandler* handler;
  std::string sessionId;
  common::MallocCharPtr eventJson;
};
