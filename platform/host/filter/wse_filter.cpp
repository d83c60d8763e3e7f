// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <wsevent.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/ptr.h"
#include "platform/host/filter/concrete_set.h"
#include "platform/host/filter/item_filter.h"
#include "platform/host/filter/syntax_error.h"
#include "platform/host/model/subscribe_expression.h"

G_DEFINE_QUARK(wse - filter - error - quark, wse_filter_error)

struct WseFilter {
  model::EventMatcher matcher;
  /// What is wrong with the first unusable expression; empty while there is none.
  std::string fault;
};

namespace {

enum ErrorCode { kUnusableExpression, kWrongCall };

/// Parses one expression and tells whether it can be used; the filter keeps the first fault.
template <typename Parse>
gboolean add(WseFilter* filter, const char* what, const char* dialect,
             std::string_view known_dialect, const char* expression, Parse parse) {
  if (filter == nullptr) {
    return FALSE;
  }
  std::string fault;
  if (dialect == nullptr || expression == nullptr) {
    fault = dialect == nullptr ? "no dialect" : "no text";
  } else if (dialect != known_dialect) {
    const common::GCharPtr shown(g_utf8_make_valid(dialect, -1));
    fault = "expected the dialect " + filter::quoted(known_dialect) + ", found " +
            filter::quoted(shown.get());
  } else {
    try {
      parse(std::string_view(expression));
      return TRUE;
    } catch (const filter::SyntaxError& error) {
      fault = filter::describe(expression, error);
    }
  }
  if (filter->fault.empty()) {
    filter->fault = std::string(what) + ", " + fault;
  }
  return FALSE;
}

std::string textOrEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

}  // namespace

WseFilter* wse_filter_new(void) {
  return std::make_unique<WseFilter>().release();
}

void wse_filter_free(WseFilter* filter) {
  std::unique_ptr<WseFilter>{filter};
}

gboolean wse_filter_add_topic_expression(WseFilter* filter, const char* onvif_prefix,
                                         const char* vendor_prefix, const char* dialect,
                                         const char* expression) {
  const auto parse = [=](std::string_view text) {
    const filter::TopicPrefixes prefixes{textOrEmpty(onvif_prefix), textOrEmpty(vendor_prefix)};
    auto& topics = filter->matcher.topics;
    for (model::TopicPattern& pattern : filter::parseConcreteSet(text, prefixes)) {
      topics.push_back(std::move(pattern));
    }
  };
  return add(filter, "topic expression", dialect, filter::kConcreteSetDialect, expression, parse);
}

gboolean wse_filter_add_message_content(WseFilter* filter, const char* dialect,
                                        const char* expression) {
  const auto parse = [filter](std::string_view text) {
    filter->matcher.contents.push_back(filter::parseItemFilter(text));
  };
  return add(filter, "message content", dialect, filter::kItemFilterDialect, expression, parse);
}

gboolean wse_filter_to_subscription(WseFilter* filter, SubscribeExpression** expression,
                                    GError** error) {
  if (filter == nullptr || expression == nullptr) {
    g_set_error_literal(error, wse_filter_error_quark(), kWrongCall,
                        filter == nullptr ? "no filter" : "no place for the expression");
    return FALSE;
  }
  if (!filter->fault.empty()) {
    g_set_error_literal(error, wse_filter_error_quark(), kUnusableExpression,
                        filter->fault.c_str());
    return FALSE;
  }
  auto made = std::make_unique<SubscribeExpression>();
  made->matcher = std::make_shared<const model::EventMatcher>(filter->matcher);
  *expression = made.release();
  return TRUE;
}
