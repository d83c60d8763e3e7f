// SPDX-FileCopyrightText: 2026 the lumenfeed developers
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>

namespace filter {

struct Token {
  enum class Kind : unsigned char { Symbol, Name, String, End };

  Kind kind;
  /// As it stands in the expression: a string with its quotes, nothing at the end.
  std::string_view text;
};

/// The tokens of XPath 1.0, as far as ItemFilter has use for them: the longest token wins, and
/// white space may stand between any two.
class ItemFilterTokens {
 public:
  explicit ItemFilterTokens(std::string_view text) : text_(text) { advance(); }

  const Token& current() const { return current_; }
  std::size_t offset() const { return at_ - current_.text.size(); }
  /// Goes on to the next token; throws SyntaxError at a string without an end.
  void advance();

 private:
  Token string(std::size_t start) const;
  Token symbol(std::size_t start) const;

  std::string_view text_;
  std::size_t at_ = 0;
  Token current_{Token::Kind::End, {}};
};

}  // namespace filter
