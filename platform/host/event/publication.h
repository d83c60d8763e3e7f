// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/host/model/message.h"
#include "platform/host/model/topic.h"

namespace event {

/// What an MQTT topic says about the events on it. Immutable.
struct Source {
  /// The MQTT topic as the publisher wrote it, and where in it the part after `/onvif-ej/` starts.
  std::string mqttTopic;
  std::size_t local;
  /// One for each property: the two ways to write the ONVIF namespace make one key.
  std::string key;
  model::Topic topic;
  /// The start of the event JSON: an open object with the topic and the origin.
  std::string jsonHead;
  /// Meant for the device's own programs only.
  bool internal = false;
};

/// A checked message from the broker. Immutable and shared between threads.
struct Publication {
  std::shared_ptr<const Source> source;
  /// Null if the payload was empty: the property is gone.
  std::shared_ptr<const model::Message> message;
  /// The state of a property, not a plain event.
  bool retained = false;
  /// The broker sent it because we subscribed, not because it was published just now.
  bool stored = false;

  /// What it costs to keep, roughly.
  std::size_t bytes() const { return message == nullptr ? 0 : message->payload().size(); }
};

using PublicationPtr = std::shared_ptr<const Publication>;

}  // namespace event
