// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include <wsevent.h>

#include <memory>

#include "tests/doubles/recording_platform.h"

using doubles::Failure;
using doubles::RecordingPlatform;

// Handles are known by their addresses alone.
struct WseFilter {
  char unused;
};

struct SubscribeExpression {
  char unused;
};

namespace {

RecordingPlatform& platform() {
  return RecordingPlatform::instance();
}

/// An add call: recorded, TRUE unless it is to fail.
gboolean recordAdd(const char* function, const std::vector<std::string>& arguments) {
  Failure failure;
  const bool done = !platform().failureDue(function, arguments, failure);
  platform().record({function, arguments, done ? "TRUE" : "FALSE"});
  return done ? TRUE : FALSE;
}

}  // namespace

WseFilter* wse_filter_new(void) {
  Failure failure;
  if (platform().failureDue("wse_filter_new", {}, failure)) {
    platform().record({"wse_filter_new", {}, "null"});
    return nullptr;
  }
  auto filter = std::make_unique<WseFilter>();
  platform().record({"wse_filter_new", {}, platform().add("filter", filter.get())});
  return filter.release();
}

void wse_filter_free(WseFilter* filter) {
  platform().record({"wse_filter_free", {platform().name(filter)}, ""});
  platform().remove(filter);
  delete filter;
}

gboolean wse_filter_add_topic_expression(WseFilter* filter, const char* onvif_prefix,
                                         const char* vendor_prefix, const char* dialect,
                                         const char* expression) {
  return recordAdd("wse_filter_add_topic_expression",
                   {platform().name(filter), onvif_prefix, vendor_prefix, dialect, expression});
}

gboolean wse_filter_add_message_content(WseFilter* filter, const char* dialect,
                                        const char* expression) {
  return recordAdd("wse_filter_add_message_content",
                   {platform().name(filter), dialect, expression});
}

gboolean wse_filter_to_subscription(WseFilter* filter, SubscribeExpression** expression,
                                    GError** error) {
  const std::vector<std::string> arguments{platform().name(filter)};
  Failure failure;
  if (platform().failureDue("wse_filter_to_subscription", arguments, failure)) {
    platform().record({"wse_filter_to_subscription", arguments, "FALSE"});
    doubles::storeError(failure, error);
    return FALSE;
  }
  auto made = std::make_unique<SubscribeExpression>();
  platform().record(
      {"wse_filter_to_subscription", arguments, platform().add("expression", made.get())});
  *expression = made.release();
  return TRUE;
}

void subscribe_expression_free(SubscribeExpression* expression) {
  platform().record({"subscribe_expression_free", {platform().name(expression)}, ""});
  platform().remove(expression);
  delete expression;
}
