// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/intake.h"

#include <memory>
#include <utility>

namespace event {

Intake::Intake(const std::string& topicPrefix, const Timing& timing, HandOver& handOver)
    : handOver_(handOver), reader_(topicPrefix), badMessages_(timing.badMessageLog) {}

std::uint32_t Intake::subscribing(bool hasIdentifiers) {
  sync_.begin(hasIdentifiers);
  batch_.push_back({Arrival::Kind::StatesAsked, nullptr});
  return sync_.identifier();
}

void Intake::received(const Received& message) {
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

void Intake::probeAnswered() {
  if (sync_.probeAnswered()) {
    batch_.push_back({Arrival::Kind::StatesIn, nullptr});
  }
}

}  // namespace event
