// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/host/model/message.h"
#include "platform/host/model/message_reader.h"
#include "platform/host/model/topic.h"

namespace filter_check {

struct RecordedEvent {
  /// As event JSON has it.
  std::string topicText;
  model::Topic topic;
  std::shared_ptr<const model::Message> message;
};

/// Reads lines with one event each: event JSON, a notification that holds event JSON as its
/// payload, or a broker's `TOPIC PAYLOAD`.
class EventLineReader {
 public:
  /// False with the reason in `error` if the line is no event with a message.
  bool read(std::string_view line, RecordedEvent& event, std::string& error);

 private:
  bool readJson(std::string_view line, RecordedEvent& event, std::string& error);
  bool readPublished(std::string_view line, RecordedEvent& event, std::string& error);
  bool setMessage(std::string_view payload, RecordedEvent& event, std::string& error);

  model::MessageReader messages_;
};

}  // namespace filter_check
