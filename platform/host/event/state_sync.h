// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>

namespace event {

/// Finds out when the broker has sent the retained states that a subscription asks for, which MQTT
/// does not say.
///
/// A broker sends a session's messages in order: what was queued before we subscribed, then the
/// retained states, then what is published later. So we ask it something that it must answer (to
/// end a subscription that we do not have, which needs no right). All that we received before
/// asking is acknowledged, so if messages of the first two kinds were left, at least one of them
/// comes before the answer. A round without any means that the states are in. The kinds are told
/// apart by the subscription's identifier, a new one for each connection.
class StateSync {
 public:
  /// A subscription was asked for. Without identifiers, all messages look as if they were its own.
  void begin(bool hasIdentifiers);
  bool running() const { return running_; }
  std::uint32_t identifier() const { return identifier_; }

  /// True if the message is a retained state, rather than published after we subscribed.
  bool isStored(const std::string& key, bool retained, std::uint32_t identifier);

  void probeSent() { quiet_ = true; }
  /// True if the states are in; the sync has ended then.
  bool probeAnswered();

 private:
  bool running_ = false;
  bool hasIdentifiers_ = false;
  bool quiet_ = false;
  std::uint32_t identifier_ = 0;
  std::unordered_set<std::string> seen_;
};

}  // namespace event
