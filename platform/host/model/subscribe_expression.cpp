// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/subscribe_expression.h"

#include <algorithm>

namespace model {

bool EventMatcher::matchesTopic(const Topic& topic) const {
  return topics.empty() ||
         std::any_of(topics.begin(), topics.end(),
                     [&topic](const TopicPattern& pattern) { return pattern.matches(topic); });
}

bool EventMatcher::matchesContent(const Message& message) const {
  return std::all_of(
      contents.begin(), contents.end(),
      [&message](const ContentExpression& content) { return content.matches(message); });
}

}  // namespace model
