// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "devkit/filter-check/checked_filter.h"

#include <algorithm>
#include <utility>

#include "devkit/filter-check/caret.h"
#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/item_filter.h"
#include "platform/host/filter/syntax_error.h"

namespace filter_check {
namespace {

/// Runs `parse` and reports on the text.
template <typename Parse>
bool check(const char* what, const std::string& text, std::ostream& out, Parse parse) {
  try {
    parse();
    out << what << ": usable\n";
    return true;
  } catch (const filter::SyntaxError& error) {
    out << what << ", " << filter::describe(text, error) << "\n" << withCaret(text, error.offset);
    return false;
  }
}

/// The tests by which an expression refuses a message: those that did not hold, and within not()
/// those that did. Tests that were not needed for the decision are not asked.
bool explain(const std::string& text, const model::ContentExpression& expression,
             const model::Message& message, std::ostream& out) {
  std::string reasons;
  const bool matches = expression.tests.decide([&](const model::ItemTest& test) {
    const bool holds = test.holdsFor(message);
    if (holds == test.negated) {
      const std::string part = text.substr(test.begin, test.end - test.begin);
      reasons += "    message content: " +
                 std::string(holds ? "holds, within not(): " : "does not hold: ") +
                 printable(part) + "\n";
    }
    return holds;
  });
  if (!matches) {
    out << reasons;
  }
  return matches;
}

}  // namespace

bool CheckedFilter::addTopic(const std::string& text, std::ostream& out) {
  return check("topic expression", text, out, [&] {
    const filter::TopicPrefixes prefixes{std::string(model::kOnvifPrefix),
                                         std::string(model::kVendorPrefix)};
    for (model::TopicPattern& pattern : filter::parseConcreteSet(text, prefixes)) {
      topics_.push_back(std::move(pattern));
    }
    topicTexts_.push_back(text);
  });
}

bool CheckedFilter::addContent(const std::string& text, std::ostream& out) {
  return check("message content", text, out, [&] {
    contents_.push_back({text, filter::parseItemFilter(text)});
  });
}

bool CheckedFilter::matches(const RecordedEvent& event, std::ostream& out) const {
  bool all = topicMatches(event, out);
  for (const Content& content : contents_) {
    // Every part has its say, so that one run tells all there is to change.
    all = explain(content.text, content.expression, *event.message, out) && all;
  }
  return all;
}

bool CheckedFilter::topicMatches(const RecordedEvent& event, std::ostream& out) const {
  const bool matches =
      topics_.empty() || std::any_of(topics_.begin(), topics_.end(), [&](const auto& pattern) {
        return pattern.matches(event.topic);
      });
  if (!matches) {
    for (const std::string& text : topicTexts_) {
      out << "    topic expression: does not name the topic: " << printable(text) << "\n";
    }
  }
  return matches;
}

}  // namespace filter_check
