// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>

class BaseEventConsumerHandler;

/// What the service knows of an open session.
struct SessionData {
  /// Serves the session; not owned.
  BaseEventConsumerHandler* consumerHandler = nullptr;
  /// The event system's ids of the session's live subscriptions.
  std::set<unsigned int> subscriptionIds;
};

/// Open sessions by session id, exactly as received. The nodes of a map never move: subscriptions
/// hold the address of the key inside the entry, so every subscription of a session is cancelled
/// before its entry is erased.
using SessionTable = std::map<std::string, SessionData>;

/// What a device can serve at a time.
constexpr std::size_t kMaxSessions = 32;
