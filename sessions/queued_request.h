// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

class BaseEventConsumerHandler;

/// An accepted configuration request on its way to the consumer handler. On the heap, owned by
/// the idle source that carries it. Names its session by id: the session may be gone, or another
/// one of that id may have come, when its turn comes.
struct QueuedRequest {
  BaseEventConsumerHandler* handler;
  std::string sessionId;
  std::string requestId;
  std::string paramsPayload;
};
