// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "platform/host/event/arrival.h"

namespace event {

/// The way from the network thread to the consumer's thread. What waits on it is bounded: when it
/// is full the network thread stops reading, so that the broker holds the backlog, not we.
class HandOver {
 public:
  /// Some 10 MB of usual events, or 1 s of what a bus carries.
  static constexpr std::size_t kMaxMessages = 10'000;
  /// For events that are not usual: one message may have 1 MiB.
  static constexpr std::size_t kMaxBytes = std::size_t{64} * 1024 * 1024;

  /// `wakeConsumer` is called on the network thread, `wakeNetwork` on the consumer's, each without
  /// the lock and only when the other side waits. Both must return at once.
  HandOver(std::function<void()> wakeConsumer, std::function<void()> wakeNetwork);

  /// Network thread. False means to read no more until wakeNetwork() was called.
  bool hasRoom();
  /// Network thread. Never refuses: the last batch may go a little past the bounds.
  void push(std::vector<Arrival>& batch);

  /// Consumer's thread. Moves what waits to the end of `target`; if that leaves `target` empty,
  /// the next push() wakes the consumer. What was taken still counts until done() says otherwise.
  void take(std::deque<Arrival>& target);
  /// Consumer's thread: this arrival no longer waits.
  void done(const Arrival& arrival);

 private:
  bool full() const { return messages_ >= kMaxMessages || bytes_ >= kMaxBytes; }
  /// Reading starts again only when there is some room, or the two threads would take turns.
  bool hasRoomAgain() const {
    return messages_ < kMaxMessages / 10 * 9 && bytes_ < kMaxBytes / 10 * 9;
  }

  std::function<void()> wakeConsumer_;
  std::function<void()> wakeNetwork_;
  std::mutex mutex_;
  std::vector<Arrival> waiting_;
  std::size_t messages_ = 0;
  std::size_t bytes_ = 0;
  bool networkWaits_ = false;
  bool consumerWaits_ = true;
};

}  // namespace event
