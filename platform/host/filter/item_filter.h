// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>

#include "platform/host/model/content_expression.h"

namespace filter {

inline constexpr std::string_view kItemFilterDialect =
    "http://www.onvif.org/ver10/tev/messageContentFilter/ItemFilter";

/// The only prefix that an item may have: it customarily stands for the ONVIF schema namespace.
inline constexpr std::string_view kItemPrefix = "tt";

/// Brackets, round and square together, that may be open at once: the parser's recursion, and so
/// the stack that a client can make us use, ends there.
inline constexpr std::size_t kMaxOpenBrackets = 64;

/// Parses a message content expression of the ItemFilter dialect. Throws SyntaxError.
model::ContentExpression parseItemFilter(std::string_view text);

}  // namespace filter
