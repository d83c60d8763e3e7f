// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/intake.h"

#include <iterator>
#include <memory>
#include <utility>

namespace event {

Intake::Intake(const std::string& topicPrefix, const Timing& timing, HandOver& handOver,
               StateCheck& check)
    : handOver_(handOver),
      reader_(topicPrefix),
      badMessages_(timing.badMessageLog),
      check_(check) {}

std::uint32_t Intake::subscribing(bool hasIdentifiers) {
  sync_.begin(hasIdentifiers);
  found_.clear();
  batch_.push_back({Arrival::Kind::StatesAsked, nullptr});
  return sync_.identifier();
}

void Intake::received(const Received& message) {
  quiet_ = false;
  if (message.packetId != 0 &&
      duplicates_.isDuplicate(message.packetId, message.topic, message.payload)) {
    return;
  }
  std::string error;
  const std::shared_ptr<Publication> publication =
      reader_.read(message.topic, message.payload, message.retained, error);
  if (publication == nullptr) {
    badMessages_.dropped(message.topic, error, BadMessageLog::Clock::now());
    return;
  }
  publication->stored =
      sync_.isStored(publication->source->key, message.retained, message.subscription);
  batch_.push_back({Arrival::Kind::Publication, publication});
}

void Intake::probeSent() {
  sync_.probeSent();
  check_.takeAnswers(found_);
  quiet_ = true;
}

void Intake::probeAnswered() {
  if (sync_.probeAnswered()) {
    batch_.push_back({Arrival::Kind::StatesIn, nullptr});
  }
  if (quiet_) {
    batch_.insert(batch_.end(), std::make_move_iterator(found_.begin()),
                  std::make_move_iterator(found_.end()));
    found_.clear();
  }
}

}  // namespace event
