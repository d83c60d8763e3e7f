// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#include "events/event_filter.h"

#include "common/ptr.h"
#include "events/filter_exception.h"

EventFilter::EventFilter()
    // The dialects' URIs are those of the ONVIF Event Service.
    : topicExpressionDialect_("http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet"),
      messageContentDialect_("http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter"),
      vendorTopicPrefix_("tnsovra"),
      onvifTopicPrefix_("tns1"),
      wseFilter_(wse_filter_new()) {}

EventFilter::~EventFilter() {
  wse_filter_free(wseFilter_);
}

void EventFilter::setTopicFilter(const char* topicFilter) {
  if (topicFilter != nullptr && *topicFilter != '\0') {
    wse_filter_add_topic_expression(wseFilter_, onvifTopicPrefix_.c_str(),
                                    vendorTopicPrefix_.c_str(), topicExpressionDialect_.c_str(),
                                    topicFilter);
  }
}

void EventFilter::setContentFilter(const char* contentFilter) {
  if (contentFilter != nullptr && *contentFilter != '\0') {
    wse_filter_add_message_content(wseFilter_, messageContentDialect_.c_str(), contentFilter);
  }
}

void EventFilter::createSubscribeExpression(SubscribeExpression** expression) {
  common::GErrorPtr error;
  if (wse_filter_to_subscription(wseFilter_, expression, common::GErrorOut(error))) {
    return;
  }
  // A library that breaks its promise to say why must not take the service down.
  const bool explained = error != nullptr && error->message != nullptr && *error->message != '\0';
  throw FilterException(explained ? error->message : "The filter library gave no reason");
}
