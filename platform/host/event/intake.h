// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/event/arrival.h"
#include "platform/host/event/bad_message_log.h"
#include "platform/host/event/duplicate_guard.h"
#include "platform/host/event/hand_over.h"
#include "platform/host/event/publication_reader.h"
#include "platform/host/event/state_check.h"
#include "platform/host/event/state_sync.h"
#include "platform/host/event/timing.h"

namespace event {

/// What becomes of the broker's messages on the network thread: duplicates and bad ones are
/// dropped, the rest is checked, taken apart and handed over in batches. Outlives connections.
class Intake {
 public:
  Intake(const std::string& topicPrefix, const Timing& timing, HandOver& handOver,
         StateCheck& check);
  Intake(const Intake&) = delete;
  Intake& operator=(const Intake&) = delete;

  /// A connection has begun; `resumed` if the broker kept our session.
  void connected(bool resumed) { duplicates_.connected(resumed); }
  /// The subscription is about to be asked for. Returns its identifier.
  std::uint32_t subscribing(bool hasIdentifiers);

  struct Received {
    std::uint16_t packetId;  // 0 with QoS 0
    const char* topic;
    std::string_view payload;
    bool retained;
    std::uint32_t subscription;  // 0 if the broker did not say
  };
  void received(const Received& message);
  /// Hands over what was received.
  void flush() { handOver_.push(batch_); }
  /// False while reading should wait; see HandOver.
  bool hasRoom() { return handOver_.hasRoom(); }

  /// Whether a round of question and answer is wanted: for StateSync, or for what StateCheck found,
  /// which waits here for everything that was published before it.
  bool wantsRound() { return sync_.running() || !found_.empty() || check_.hasAnswers(); }
  void probeSent();
  void probeAnswered();

  /// To be called once in a while.
  void tick() { badMessages_.tick(BadMessageLog::Clock::now()); }

 private:
  HandOver& handOver_;
  PublicationReader reader_;
  BadMessageLog badMessages_;
  DuplicateGuard duplicates_;
  StateSync sync_;
  StateCheck& check_;
  /// Known before the last probe was sent; and whether no message has come since.
  std::vector<Arrival> found_;
  bool quiet_ = false;
  std::vector<Arrival> batch_;
};

}  // namespace event
