// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <wsevent.h>

#include <string>

/// Turns one entry of a client's filter list into a subscription expression: construct, set both
/// filters, create the expression, destroy.
class EventFilter {
 public:
  EventFilter();
  ~EventFilter();
  EventFilter(const EventFilter&) = delete;
  EventFilter& operator=(const EventFilter&) = delete;

  /// A topic expression in ONVIF's ConcreteSet dialect. Null or empty text adds nothing; a text
  /// that cannot be used shows in createSubscribeExpression.
  void setTopicFilter(const char* topicFilter);
  /// A message content expression in ONVIF's ItemFilter dialect; otherwise as the topic filter.
  void setContentFilter(const char* contentFilter);
  /// Stores an expression that the caller owns and that outlives this object. Throws
  /// FilterException with the platform library's text.
  void createSubscribeExpression(SubscribeExpression** expression);

 private:
  const std::string topicExpressionDialect_;
  const std::string messageContentDialect_;
  const std::string vendorTopicPrefix_;
  const std::string onvifTopicPrefix_;
  WseFilter* wseFilter_ = nullptr;
};
