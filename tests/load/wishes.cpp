// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "tests/load/wishes.h"

namespace load {

namespace {

constexpr std::size_t kFilters = 8;
constexpr std::size_t kTopics = 80;
constexpr std::size_t kGroups = kTopics / kFilters;

bool hasTopic(std::size_t session, std::size_t topic) {
  return topic % kGroups == session % kGroups;
}

/// Each session has one topic below this number.
bool isLimited(std::size_t topic) {
  return topic < kGroups;
}

}  // namespace

std::string sessionName(std::size_t session) {
  return kSessionPrefix + std::to_string(session);
}

std::string topicOf(std::size_t number) {
  return "T" + std::to_string(number % kTopics);
}

std::vector<std::string> filtersOf(std::size_t session) {
  std::vector<std::string> filters;
  for (std::size_t topic = 0; topic < kTopics; ++topic) {
    if (hasTopic(session, topic)) {
      filters.push_back(topicOf(topic) +
                        (isLimited(topic) ? " boolean(//tt:SimpleItem[@Name='Last' and @Value='" +
                                                std::to_string(session % 10) + "'])"
                                          : ""));
    }
  }
  return filters;
}

bool wants(std::size_t session, std::size_t number) {
  const std::size_t topic = number % kTopics;
  return hasTopic(session, topic) && (!isLimited(topic) || number % 10 == session % 10);
}

}  // namespace load
