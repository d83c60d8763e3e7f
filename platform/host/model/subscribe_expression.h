// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <event2.h>

#include <memory>
#include <vector>

#include "platform/host/model/content_expression.h"
#include "platform/host/model/message.h"
#include "platform/host/model/topic.h"

namespace model {

/// What a subscription matches: one of the topics (none: every topic), and all of the contents
/// (none: every message). Immutable, and shareable between threads.
struct EventMatcher {
  std::vector<TopicPattern> topics;
  std::vector<ContentExpression> contents;

  /// Compares with each topic in turn. For an event and many subscriptions, add `topics` to a
  /// TopicIndex and ask only those that it finds for matchesContent().
  bool matchesTopic(const Topic& topic) const;
  bool matchesContent(const Message& message) const;
};

}  // namespace model

/// The opaque type of event2.h. libwsevent makes it with `new`, subscribe_expression_free() deletes
/// it; a subscription keeps a reference to the matcher, which outlives both. Never null.
struct SubscribeExpression {
  std::shared_ptr<const model::EventMatcher> matcher;
};
