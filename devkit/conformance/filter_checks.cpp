// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "checks.h"
#include "probe.h"

namespace {

struct Conversion {
  ExpressionPtr expression;
  common::GErrorPtr error;
  bool done;
};

Conversion convert(WseFilter* filter) {
  Conversion result{};
  SubscribeExpression* expression = nullptr;
  result.done =
      wse_filter_to_subscription(filter, &expression, common::GErrorOut(result.error)) != FALSE;
  result.expression.reset(expression);
  return result;
}

Conversion convertTopic(const char* dialect, const char* expression) {
  const FilterPtr filter(wse_filter_new());
  wse_filter_add_topic_expression(filter.get(), "tns1", "tnsovra", dialect, expression);
  return convert(filter.get());
}

Conversion convertContent(const char* dialect, const char* expression) {
  const FilterPtr filter(wse_filter_new());
  wse_filter_add_message_content(filter.get(), dialect, expression);
  return convert(filter.get());
}

void checkTaken(Report& report, const Conversion& conversion, const std::string& what) {
  report.check(conversion.done && conversion.expression != nullptr && conversion.error == nullptr,
               what + " is taken",
               conversion.error != nullptr ? conversion.error->message : "no expression");
}

void checkRefused(Report& report, const Conversion& conversion, const std::string& what) {
  report.check(!conversion.done && conversion.expression == nullptr &&
                   conversion.error != nullptr && conversion.error->message != nullptr &&
                   *conversion.error->message != '\0',
               what + " is refused with an error that says why, and no expression",
               conversion.done ? "it was taken" : "there is no error, or it has no text");
}

}  // namespace

void checkFilters(Report& report) {
  checkTaken(report, convert(FilterPtr(wse_filter_new()).get()), "a filter with nothing added");
  checkTaken(report, convertTopic(kConcreteSet, "tns1:Device/Trigger/DigitalInput"), "a topic");
  checkTaken(report, convertTopic(kConcreteSet, "tns1:Device//.|tns1:Monitoring//."),
             "an alternative of topics with what is below them");
  checkTaken(
      report,
      convertContent(kItemFilter, "boolean(//tt:SimpleItem[@Name=\"State\" and @Value=\"1\"])"),
      "a condition on the content");
  checkRefused(report, convertTopic("http://example.com/no-such-dialect", "tns1:Device//."),
               "an unknown topic dialect");
  checkRefused(report, convertContent("http://example.com/no-such-dialect", "true()"),
               "an unknown content dialect");
  checkRefused(report, convertTopic(kConcreteSet, "nobody:Device//."), "an unknown topic prefix");
  checkRefused(report, convertTopic(kConcreteSet, "tns1:Device///|"),
               "a topic with a wrong syntax");
  checkRefused(report, convertContent(kItemFilter, "boolean(//tt:SimpleItem["),
               "a condition with a wrong syntax");

  const FilterPtr both(wse_filter_new());
  wse_filter_add_topic_expression(both.get(), "tns1", "tnsovra", kConcreteSet, "tns1:Device//.");
  wse_filter_add_message_content(both.get(), kItemFilter, "boolean(//tt:SimpleItem[");
  checkRefused(report, convert(both.get()), "a right topic with a wrong condition");

  const FilterPtr twice(wse_filter_new());
  wse_filter_add_topic_expression(twice.get(), "tns1", "tnsovra", kConcreteSet, "tns1:Device//.");
  const Conversion first = convert(twice.get());
  const Conversion second = convert(twice.get());
  report.check(first.done && second.done && first.expression != second.expression,
               "a conversion leaves the filter as it was: a second one gives a second expression");
}
