// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace event {

/// Tells messages that come a second time. A broker that lost our acknowledgement with the
/// connection sends such a message again, under the packet id that it had, at the start of the
/// resumed session: so only what was in flight at the end of the last connection can come twice.
class DuplicateGuard {
 public:
  /// Unacknowledged messages that we allow the broker (MQTT's Receive Maximum).
  static constexpr std::size_t kMaxInFlight = 256;

  /// A connection has begun; `resumed` if the broker kept our session.
  void connected(bool resumed);
  /// True if this message, of QoS 1, was received before.
  bool isDuplicate(std::uint16_t packetId, std::string_view topic, std::string_view payload);

 private:
  struct Entry {
    std::uint16_t packetId = 0;  // 0 is no packet's id
    std::size_t hash = 0;
  };
  using Entries = std::array<Entry, kMaxInFlight>;

  /// The messages received last, a ring.
  Entries latest_{};
  std::size_t next_ = 0;
  /// Those of the connection before, and how many of this one may still be among them.
  Entries previous_{};
  std::size_t suspects_ = 0;
};

}  // namespace event
