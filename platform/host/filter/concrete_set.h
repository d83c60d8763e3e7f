// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/model/topic.h"

namespace filter {

inline constexpr std::string_view kConcreteSetDialect =
    "http://www.onvif.org/ver10/tev/topicExpression/ConcreteSet";

/// So that one event never costs more than this many comparisons for one expression.
inline constexpr std::size_t kMaxAlternatives = 1'024;

/// What the prefixes in an expression stand for; an empty one stands for nothing.
struct TopicPrefixes {
  std::string onvif;
  std::string vendor;
};

/// Parses a topic expression of the ConcreteSet dialect into its alternatives (at least one).
/// Throws SyntaxError.
std::vector<model::TopicPattern> parseConcreteSet(std::string_view text,
                                                  const TopicPrefixes& prefixes);

}  // namespace filter
