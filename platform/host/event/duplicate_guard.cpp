// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/duplicate_guard.h"

#include <algorithm>
#include <functional>

namespace event {

void DuplicateGuard::connected(bool resumed) {
  if (resumed) {
    previous_ = latest_;
    suspects_ = kMaxInFlight;
  } else {
    latest_ = {};
    suspects_ = 0;
  }
}

bool DuplicateGuard::isDuplicate(std::uint16_t packetId, std::string_view topic,
                                 std::string_view payload) {
  const std::hash<std::string_view> hash;
  const Entry entry{packetId, hash(topic) * 31 + hash(payload)};
  bool duplicate = false;
  if (suspects_ > 0) {
    --suspects_;
    duplicate = std::any_of(previous_.begin(), previous_.end(), [&entry](const Entry& known) {
      return known.packetId == entry.packetId && known.hash == entry.hash;
    });
  }
  latest_[next_] = entry;
  next_ = (next_ + 1) % kMaxInFlight;
  return duplicate;
}

}  // namespace event
