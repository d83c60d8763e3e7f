// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace filter {

/// The longest expression that is taken, so that what a client makes us keep is bounded; those
/// that people and programs write are below a few hundred bytes.
inline constexpr std::size_t kMaxBytes = 65'536;

/// Thrown by the parsers: what is wrong with an expression, and where.
struct SyntaxError {
  /// Where in the text, in bytes; always the start of a character, or the end of the text.
  std::size_t offset;
  /// What was expected and what stands there.
  std::string reason;
};

/// `character N: reason`. Characters, not bytes, are counted, from 1; the end of the text is the
/// character after its last.
std::string describe(std::string_view text, const SyntaxError& error);

/// Throws if the text is too long or not valid UTF-8; every parser starts with it.
void checkText(std::string_view text);

/// Throws that `expected` was expected where `found` (a part of `text`; empty: the end) stands.
[[noreturn]] void throwUnexpected(std::string_view text, const std::string& expected,
                                  std::string_view found);

/// Bytes of the character that starts `text`, which is valid UTF-8 and not empty.
std::size_t characterSize(std::string_view text);

/// For messages: in quotes, shortened if it is long, and with nothing in it that does not print.
std::string quoted(std::string_view text);

}  // namespace filter
