// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/state_sync.h"

namespace event {

void StateSync::begin(bool hasIdentifiers) {
  running_ = true;
  hasIdentifiers_ = hasIdentifiers;
  quiet_ = false;
  ++identifier_;
  seen_.clear();
}

bool StateSync::isStored(const std::string& key, bool retained, std::uint32_t identifier) {
  if (!running_) {
    return false;
  }
  const bool own = !hasIdentifiers_ || identifier == identifier_;
  // The broker keeps one state a topic: a second one was published after it.
  const bool stored = own && retained && seen_.insert(key).second;
  if (!own || stored) {
    quiet_ = false;
  }
  return stored;
}

bool StateSync::probeAnswered() {
  if (!running_ || !quiet_) {
    return false;
  }
  running_ = false;
  seen_.clear();
  return true;
}

}  // namespace event
