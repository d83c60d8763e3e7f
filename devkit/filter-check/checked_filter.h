// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "devkit/filter-check/recorded_event.h"
#include "platform/host/model/content_expression.h"
#include "platform/host/model/topic.h"

namespace filter_check {

/// The expressions that were asked about, and what an event means to them.
class CheckedFilter {
 public:
  /// Whether the expression can be used; if not, `out` gets the reason and the place.
  bool addTopic(const std::string& text, std::ostream& out);
  bool addContent(const std::string& text, std::ostream& out);

  /// Whether the event matches; if not, `out` gets the parts that said no.
  bool matches(const RecordedEvent& event, std::ostream& out) const;

 private:
  struct Content {
    std::string text;
    model::ContentExpression expression;
  };

  bool topicMatches(const RecordedEvent& event, std::ostream& out) const;

  std::vector<std::string> topicTexts_;
  std::vector<model::TopicPattern> topics_;
  std::vector<Content> contents_;
};

}  // namespace filter_check
