// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/topic.h"

#include <algorithm>

namespace model {

bool Topic::isWithin(const Topic& root) const {
  return segments.size() >= root.segments.size() &&
         std::equal(root.segments.begin(), root.segments.end(), segments.begin());
}

bool TopicPattern::matches(const Topic& candidate) const {
  return subtree ? candidate.isWithin(topic) : candidate == topic;
}

std::string_view prefixOf(std::string_view segment) {
  const std::size_t colon = segment.find(':');
  return colon == std::string_view::npos ? std::string_view() : segment.substr(0, colon);
}

void appendSegment(Topic& topic, std::string_view segment) {
  const std::string_view prefix = prefixOf(segment);
  if (topic.segments.empty()) {
    topic.segments.push_back(topicText(segment));
  } else if (!prefix.empty() && prefix == prefixOf(topic.segments.front())) {
    topic.segments.emplace_back(segment.substr(prefix.size() + 1));
  } else {
    topic.segments.emplace_back(segment);
  }
}

Topic topicFromLocal(std::string_view local) {
  Topic topic;
  while (true) {
    const std::size_t slash = local.find('/');
    appendSegment(topic, local.substr(0, slash));
    if (slash == std::string_view::npos) {
      return topic;
    }
    local.remove_prefix(slash + 1);
  }
}

std::string topicText(std::string_view local) {
  std::string text;
  if (prefixOf(local.substr(0, local.find('/'))).empty()) {
    text.append(kOnvifPrefix).append(1, ':');
  }
  return text.append(local);
}

}  // namespace model
