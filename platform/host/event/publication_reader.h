// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/host/event/publication.h"
#include "platform/host/model/message_reader.h"

namespace event {

/// Checks and takes apart what the broker sends. Used by the network thread alone.
class PublicationReader {
 public:
  static constexpr std::size_t kMaxPayload = std::size_t{1024} * 1024;

  /// `topicPrefix` as configured: its number of levels tells where a topic's origin ends.
  explicit PublicationReader(const std::string& topicPrefix);

  /// Null with the reason in `error` if it cannot be an event.
  std::shared_ptr<Publication> read(const char* topic, std::string_view payload, bool retained,
                                    std::string& error);

 private:
  /// Topics recur: most messages find theirs here. Cleared when full, so that a publisher who
  /// never uses a topic twice costs time, not memory.
  static constexpr std::size_t kMaxSources = 4096;

  std::shared_ptr<const Source> source(const std::string& topic, std::string& error);

  std::size_t prefixLevels_;
  std::unordered_map<std::string, std::shared_ptr<const Source>> sources_;
  std::string topic_;
  model::MessageReader messages_;
};

}  // namespace event
