// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <wsevent.h>

#include <memory>
#include <string>
#include <string_view>

#include "common/ptr.h"
#include "platform/host/model/message.h"
#include "platform/host/model/subscribe_expression.h"

namespace test {

using FilterPtr = common::Ptr<WseFilter, wse_filter_free>;

/// What became of a filter at its conversion: a matcher, or the error's text.
struct Conversion {
  std::shared_ptr<const model::EventMatcher> matcher;
  std::string error;
};

Conversion convert(WseFilter* filter);

/// Adds with the prefixes and dialects that the service passes.
bool addTopic(WseFilter* filter, const std::string& expression);
bool addContent(WseFilter* filter, const std::string& expression);

/// Each through a filter of its own, checking that the add call and the conversion agree.
Conversion convertTopic(const std::string& expression);
Conversion convertContent(const std::string& expression);

/// "yes", "no", or the error of the expression.
std::string topicVerdict(const std::string& expression, std::string_view local_topic);
std::string contentVerdict(const std::string& expression, const std::string& payload);

/// Reads a message that must be valid.
std::shared_ptr<const model::Message> message(const std::string& payload);

}  // namespace test
