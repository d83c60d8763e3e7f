// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace filter_check {

/// The line of `text` in which byte `offset` stands, and below it a caret under that place; each
/// indented by two spaces. Long lines are cut around the place. What a terminal would not print
/// in place (control characters, bytes that are no UTF-8) shows as a question mark.
std::string withCaret(std::string_view text, std::size_t offset);

/// `text` on one line, as withCaret() would print it.
std::string printable(std::string_view text);

}  // namespace filter_check
