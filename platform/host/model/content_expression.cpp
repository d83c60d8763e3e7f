// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "platform/host/model/content_expression.h"

#include <algorithm>

namespace model {

bool ItemTest::holdsFor(const Message& message) const {
  return std::any_of(message.items().begin(), message.items().end(), [this](const Item& item) {
    return item.isElement == element &&
           bracket.decide([&item](const AttributeTest& test) { return test.holdsFor(item); });
  });
}

bool ContentExpression::matches(const Message& message) const {
  return tests.decide([&message](const ItemTest& test) { return test.holdsFor(message); });
}

}  // namespace model
