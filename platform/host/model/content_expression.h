// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>

#include "platform/host/model/decision_graph.h"
#include "platform/host/model/message.h"

namespace model {

/// One `@Name="text"` or `@Value="text"`.
struct AttributeTest {
  enum class Attribute : unsigned char { Name, Value };

  Attribute attribute;
  std::string text;

  bool holdsFor(const Item& item) const {
    // An element item has no Value: its test is false, whatever the text.
    return attribute == Attribute::Name ? item.name == text : !item.isElement && item.value == text;
  }
};

/// One `boolean(//SimpleItem[…])` or `boolean(//ElementItem[…])`.
struct ItemTest {
  bool element = false;
  DecisionGraph<AttributeTest> bracket;
  /// True below an odd number of not(): the event is refused when this test holds.
  bool negated = false;
  /// Where the test stands in the expression's text, in bytes.
  std::size_t begin = 0;
  std::size_t end = 0;

  bool holdsFor(const Message& message) const;
};

/// A compiled message content expression. Immutable once made, and shareable between threads.
struct ContentExpression {
  DecisionGraph<ItemTest> tests;

  bool matches(const Message& message) const;
};

}  // namespace model
