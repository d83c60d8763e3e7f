// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "filter_support.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/item_filter.h"
#include "platform/host/model/message_reader.h"

namespace test {

Conversion convert(WseFilter* filter) {
  SubscribeExpression* made = nullptr;
  common::GErrorPtr error;
  const gboolean usable = wse_filter_to_subscription(filter, &made, common::GErrorOut(error));
  const std::unique_ptr<SubscribeExpression> expression(made);
  EXPECT_EQ(usable != FALSE, expression != nullptr);
  EXPECT_EQ(usable != FALSE, error == nullptr);
  if (error) {
    EXPECT_STRNE(error->message, "");
    EXPECT_TRUE(g_utf8_validate(error->message, -1, nullptr));
    return {nullptr, error->message};
  }
  return {expression->matcher, ""};
}

bool addTopic(WseFilter* filter, const std::string& expression) {
  return wse_filter_add_topic_expression(filter, "tns1", "tnsovra",
                                         filter::kConcreteSetDialect.data(),
                                         expression.c_str()) != FALSE;
}

bool addContent(WseFilter* filter, const std::string& expression) {
  return wse_filter_add_message_content(filter, filter::kItemFilterDialect.data(),
                                        expression.c_str()) != FALSE;
}

Conversion convertTopic(const std::string& expression) {
  const FilterPtr filter(wse_filter_new());
  const bool added = addTopic(filter.get(), expression);
  Conversion conversion = convert(filter.get());
  EXPECT_EQ(added, conversion.matcher != nullptr) << expression;
  return conversion;
}

Conversion convertContent(const std::string& expression) {
  const FilterPtr filter(wse_filter_new());
  const bool added = addContent(filter.get(), expression);
  Conversion conversion = convert(filter.get());
  EXPECT_EQ(added, conversion.matcher != nullptr) << expression;
  return conversion;
}

std::string topicVerdict(const std::string& expression, std::string_view local_topic) {
  const Conversion conversion = convertTopic(expression);
  if (!conversion.matcher) {
    return conversion.error;
  }
  return conversion.matcher->matchesTopic(model::topicFromLocal(local_topic)) ? "yes" : "no";
}

std::string contentVerdict(const std::string& expression, const std::string& payload) {
  const Conversion conversion = convertContent(expression);
  if (!conversion.matcher) {
    return conversion.error;
  }
  return conversion.matcher->matchesContent(*message(payload)) ? "yes" : "no";
}

std::shared_ptr<const model::Message> message(const std::string& payload) {
  model::MessageReader reader;
  std::string error;
  auto read = reader.read(payload, error);
  if (!read) {
    throw std::invalid_argument(payload + ": " + error);
  }
  return read;
}

}  // namespace test
