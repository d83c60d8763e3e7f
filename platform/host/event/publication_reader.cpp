// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/event/publication_reader.h"

#include <algorithm>

#include "platform/host/event/json_string.h"

namespace event {

namespace {

constexpr std::string_view kBrokerLevel = "/onvif-ej/";
constexpr std::string_view kSourceMark = "/&";
/// A shared subscription's filter starts with two levels that its topics do not have.
constexpr std::string_view kShared = "$share/";

std::size_t levelsOf(std::string_view prefix) {
  const auto levels = static_cast<std::size_t>(std::count(prefix.begin(), prefix.end(), '/')) + 1;
  return prefix.substr(0, kShared.size()) == kShared && levels > 2 ? levels - 2 : levels;
}

/// The first `levels` levels of a topic.
std::string_view origin(std::string_view topic, std::size_t levels) {
  std::size_t end = 0;
  for (std::size_t level = 0; level < levels && end != std::string_view::npos; ++level) {
    end = topic.find('/', level == 0 ? 0 : end + 1);
  }
  return topic.substr(0, end);
}

bool isInternal(const model::Topic& topic) {
  static const model::Topic root = model::topicFromLocal("tnsovra:Internal");
  return topic.isWithin(root);
}

}  // namespace

PublicationReader::PublicationReader(const std::string& topicPrefix)
    : prefixLevels_(levelsOf(topicPrefix)) {}

std::shared_ptr<Publication> PublicationReader::read(const char* topic, std::string_view payload,
                                                     bool retained, std::string& error) {
  if (payload.size() > kMaxPayload) {
    error = "longer than " + std::to_string(kMaxPayload) + " bytes";
    return nullptr;
  }
  topic_ = topic;
  auto publication = std::make_shared<Publication>();
  publication->retained = retained;
  publication->source = source(topic_, error);
  if (publication->source == nullptr) {
    return nullptr;
  }
  if (payload.empty() && retained) {
    return publication;
  }
  publication->message = messages_.read(payload, error);
  return publication->message == nullptr ? nullptr : publication;
}

std::shared_ptr<const Source> PublicationReader::source(const std::string& topic,
                                                        std::string& error) {
  if (const auto known = sources_.find(topic); known != sources_.end()) {
    return known->second;
  }
  const std::string_view whole = topic;
  const std::string_view prefix = origin(whole, prefixLevels_);
  std::string_view rest = whole.substr(prefix.size());
  if (rest.substr(0, kBrokerLevel.size()) != kBrokerLevel) {
    error = "no topic after /onvif-ej";
    return nullptr;
  }
  rest.remove_prefix(kBrokerLevel.size());
  const std::string_view local = rest.substr(0, rest.find(kSourceMark));
  if (local.empty() || local.front() == '&') {
    error = "no topic after /onvif-ej";
    return nullptr;
  }
  auto made = std::make_shared<Source>();
  made->mqttTopic = topic;
  made->local = topic.size() - rest.size();
  made->topic = model::topicFromLocal(local);
  made->internal = isInternal(made->topic);
  made->key.append(prefix);
  // No MQTT topic holds a NUL, so that the parts cannot run into each other.
  for (const std::string& segment : made->topic.segments) {
    made->key.append(1, '\0').append(segment);
  }
  made->key.append(1, '\0').append(rest.substr(local.size()));
  made->jsonHead =
      R"({"topic":)" + jsonString(model::topicText(local)) + R"(,"origin":)" + jsonString(prefix);
  if (sources_.size() >= kMaxSources) {
    sources_.clear();
  }
  sources_.emplace(topic, made);
  return made;
}

}  // namespace event
