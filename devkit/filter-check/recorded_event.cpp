// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/filter-check/recorded_event.h"

#include <simdjson.h>

namespace filter_check {
namespace {

namespace ondemand = simdjson::ondemand;

constexpr std::string_view kBrokerLevel = "/onvif-ej/";
constexpr std::string_view kSourceMark = "/&";
/// What mosquitto_sub prints for a message without a payload.
constexpr std::string_view kNothing = " (null)";
/// Places that are tried as the start of a payload: more braces than that are in no topic.
constexpr int kTries = 8;

/// The topic and the message's text of event JSON; false if one of them is missing.
bool eventParts(ondemand::object& object, std::string& topic, std::string& payload) {
  std::string_view text;
  if (object.find_field_unordered("topic").get_string().get(text) != simdjson::SUCCESS) {
    return false;
  }
  topic = text;
  ondemand::object message;
  if (object.find_field_unordered("message").get_object().get(message) != simdjson::SUCCESS ||
      message.raw_json().get(text) != simdjson::SUCCESS) {
    return false;
  }
  payload = text;
  return true;
}

}  // namespace

bool EventLineReader::read(std::string_view line, RecordedEvent& event, std::string& error) {
  const std::size_t start = line.find_first_not_of(" \t");
  const bool json = start != std::string_view::npos && line[start] == '{';
  return json ? readJson(line, event, error) : readPublished(line, event, error);
}

bool EventLineReader::readJson(std::string_view line, RecordedEvent& event, std::string& error) {
  // Checks the whole line; the reader below would not.
  if (!messages_.read(line, error)) {
    return false;
  }
  ondemand::parser parser;
  const simdjson::padded_string padded(line);
  ondemand::document document;
  ondemand::object root;
  std::string payload;
  if (parser.iterate(padded).get(document) != simdjson::SUCCESS ||
      document.get_object().get(root) != simdjson::SUCCESS) {
    error = "not a JSON object";
    return false;
  }
  ondemand::object notification;
  const bool wrapped = root.find_field_unordered("payload")
                           .find_field_unordered("notification")
                           .get_object()
                           .get(notification) == simdjson::SUCCESS;
  if (!eventParts(wrapped ? notification : root, event.topicText, payload)) {
    error = "a JSON object without a topic (a string) and a message (an object)";
    return false;
  }
  event.topic = model::topicFromLocal(event.topicText);
  return setMessage(payload, event, error);
}

bool EventLineReader::readPublished(std::string_view line, RecordedEvent& event,
                                    std::string& error) {
  const std::size_t level = line.find(kBrokerLevel);
  if (level == std::string_view::npos) {
    error = "neither event JSON nor PREFIX/onvif-ej/TOPIC PAYLOAD";
    return false;
  }
  const std::string_view rest = line.substr(level + kBrokerLevel.size());
  // Values of Source items may look like the start of a payload: take the first that is one.
  std::size_t gap = rest.find(" {");
  if (gap == std::string_view::npos) {
    const bool deleted =
        rest.size() > kNothing.size() && rest.substr(rest.size() - kNothing.size()) == kNothing;
    error = deleted ? "a property that was deleted: no message" : "no message after the topic";
    return false;
  }
  std::string other_error;
  bool read = setMessage(rest.substr(gap + 1), event, error);
  for (int tries = 1; !read && gap != std::string_view::npos && tries < kTries; ++tries) {
    gap = rest.find(" {", gap + 1);
    read = gap != std::string_view::npos && setMessage(rest.substr(gap + 1), event, other_error);
  }
  const std::string_view topic = rest.substr(0, gap);
  const std::string_view local = topic.substr(0, topic.find(kSourceMark));
  event.topic = model::topicFromLocal(local);
  event.topicText = model::topicText(local);
  return read;
}

bool EventLineReader::setMessage(std::string_view payload, RecordedEvent& event,
                                 std::string& error) {
  event.message = messages_.read(payload, error);
  if (!event.message) {
    error.insert(0, "the message, ");
  }
  return event.message != nullptr;
}

}  // namespace filter_check
